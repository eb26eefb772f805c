// A store: a named node of the storage tree, holding stores and values.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/type_description.h"
#include "storage_system/enum_target.h"
#include "storage_system/storage_item.h"
#include "storage_system/store_monitor.h"

namespace StorageSystem {

namespace Registry {
class IRegistryValue;
}  // namespace Registry

// A store. Paths are canonical ("/" separates, a store's path may end in "/") and relative to this
// store. Opens, deletions and enumerations run on the caller's thread and go straight to the
// backend; nothing is cached. Every operation that returns an ErrorCode has reported its failure
// already. The order of the virtual operations is part of the contract.
class IStore : public IStorageItem {
public:
  // Offers an IStoreEnumItem for every direct sub-store to `target`.
  [[nodiscard]] virtual ErrorCode EnumStores(IEnumTarget* target) = 0;
  // Opens (with SF_CREATE: creates) the store at `path` under `flags` (StorageFlags); `*result`
  // receives it with one reference, which the caller owns.
  [[nodiscard]] virtual ErrorCode OpenStore(const char16_t* path, IStore** result, std::uint32_t flags) = 0;
  // Deletes the store at `path` with everything under it. ErrorNotFound when it is missing.
  [[nodiscard]] virtual ErrorCode DeleteStore(const char16_t* path) = 0;
  // Offers an IValueEnumItem (and Registry::IRegistryValueEnumItem) for every value to `target`.
  [[nodiscard]] virtual ErrorCode EnumValues(IEnumTarget* target) = 0;
  // Opens the value at `path` declared as `type` (may be null for read access only); a created
  // value starts with `defaultData` of `defaultSize` bytes, or the native default when null.
  // `*result` receives it with one reference, which the caller owns.
  [[nodiscard]] virtual ErrorCode OpenValue(const char16_t* path, Registry::IRegistryValue** result,
                                            std::uint32_t flags, const ITypeDescription* type, const void* defaultData,
                                            std::uint32_t defaultSize) = 0;
  // Deletes the value at `path`. ErrorNotFound when it is missing.
  [[nodiscard]] virtual ErrorCode DeleteValue(const char16_t* path) = 0;
  // True when the store holds neither values nor stores (values are looked at first).
  virtual bool IsEmpty() = 0;
  // Adds `monitor` (borrowed; kept alive by the caller until UnregisterMonitor returned).
  // ErrorAlreadyExists when it is registered already. Any thread.
  [[nodiscard]] virtual ErrorCode RegisterMonitor(IStoreMonitor* monitor) = 0;
  // Removes `monitor`; when it was the last one, waits for running notification handlers, so that
  // no call reaches it after this returns. ErrorNotFound when it is not registered. Any thread
  // other than a monitor callback of this storage system.
  [[nodiscard]] virtual ErrorCode UnregisterMonitor(IStoreMonitor* monitor) = 0;
  // Opens the store on the backend's open parameters; called once by the parent's OpenStore.
  [[nodiscard]] virtual ErrorCode Open(const void* parameters, std::uint32_t flags) = 0;
  virtual void Close() = 0;
};

}  // namespace StorageSystem

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::IStore> =
    "Common::CExtensible<class StorageSystem::IStore>::RegisterInterfaceBase";
