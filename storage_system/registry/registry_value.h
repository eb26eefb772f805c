// A value of a registry store.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/type_description.h"
#include "platform/registry.h"
#include "storage_system/storage_item.h"

namespace StorageSystem::Registry {

// What OpenValue hands to IRegistryValue::Initialize.
struct ValueParameters {
  // The key of the store.
  Platform::HKEY key;
  // The path of the value's key under `key`, with native separators, or null.
  const char16_t* subKey;
  const char16_t* valueName;
  // The path as the client gave it.
  const char16_t* path;
  // The type to store: the native type that CreateValue chose, or null.
  const ITypeDescription* type;
  // The data of a created value, or null for the native default.
  const void* defaultData;
  std::uint32_t defaultSize;
};

// A registry value. It holds no copy of the data: each Read goes to the registry and each Write is
// done at once, so another process's change is seen by the next read. Values are used on the
// client's threads without locks. The order of the virtual operations is part of the contract.
class IRegistryValue : public IStorageItem {
public:
  // The type as declared; for a plain native value the native type.
  virtual const ITypeDescription* GetDataType() = 0;
  // GetDataType against `type` under the storage system's match flags.
  virtual bool MatchType(const ITypeDescription* type) = 0;
  // The type of the stored form.
  virtual const ITypeDescription* GetNativeType() = 0;
  // Reads into `destination` of `capacity` bytes.
  [[nodiscard]] virtual ErrorCode Read(void* destination, std::uint32_t capacity) = 0;
  // Reads into `*buffer` of `*capacity` bytes, replacing it by a larger block of the storage
  // system's allocator when needed (the caller owns the block either way); `*size` (when not
  // null) receives the length of the data.
  [[nodiscard]] virtual ErrorCode ReadRealloc(void** buffer, std::uint32_t* capacity, std::uint32_t* size) = 0;
  // Writes `size` bytes of `data`.
  [[nodiscard]] virtual ErrorCode Write(const void* data, std::uint32_t size) = 0;
  // Sets the value up; called once by OpenValue.
  [[nodiscard]] virtual ErrorCode Initialize(const ValueParameters* parameters, std::uint32_t flags) = 0;
  // Releases names and key; the object stays.
  virtual void Uninitialize() = 0;
};

}  // namespace StorageSystem::Registry

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::Registry::IRegistryValue> =
    "Common::CExtensible<class StorageSystem::Registry::IRegistryValue>::RegisterInterfaceBase";
