// A storage system: the root store of a tree, with the properties of its backend.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/type_description.h"
#include "storage_system/enum_target.h"
#include "storage_system/properties.h"
#include "storage_system/storage_item.h"
#include "storage_system/store.h"
#include "storage_system/store_monitor.h"

namespace StorageSystem {

// The root of a storage tree. It offers the operations of IStore (the same object also answers for
// IStore through GetInterface), then its properties. Its name is "/", its path null, its parent
// null. The order of the virtual operations is part of the contract.
class IStorageSystem : public IStorageItem {
public:
  [[nodiscard]] virtual ErrorCode EnumStores(IEnumTarget* target) = 0;
  [[nodiscard]] virtual ErrorCode OpenStore(const char16_t* path, IStore** result, std::uint32_t flags) = 0;
  [[nodiscard]] virtual ErrorCode DeleteStore(const char16_t* path) = 0;
  [[nodiscard]] virtual ErrorCode EnumValues(IEnumTarget* target) = 0;
  [[nodiscard]] virtual ErrorCode OpenValue(const char16_t* path, Registry::IRegistryValue** result,
                                            std::uint32_t flags, const ITypeDescription* type, const void* defaultData,
                                            std::uint32_t defaultSize) = 0;
  [[nodiscard]] virtual ErrorCode DeleteValue(const char16_t* path) = 0;
  virtual bool IsEmpty() = 0;
  [[nodiscard]] virtual ErrorCode RegisterMonitor(IStoreMonitor* monitor) = 0;
  [[nodiscard]] virtual ErrorCode UnregisterMonitor(IStoreMonitor* monitor) = 0;
  // The properties of the backend; valid as long as the storage system. Borrowed.
  virtual IProperties* GetProperties() = 0;
  // Opens the storage system on the backend's open parameters.
  [[nodiscard]] virtual ErrorCode Open(const void* parameters, std::uint32_t flags) = 0;
  // Closes the root store; the object stays alive and may be opened again.
  virtual void Close() = 0;
};

}  // namespace StorageSystem

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::IStorageSystem> =
    "Common::CExtensible<class StorageSystem::IStorageSystem>::RegisterInterfaceBase";
