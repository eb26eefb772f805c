// Registry values of a type that the registry stores as such.
#pragma once

#include <cstdint>

#include "storage_system/interface_ids.h"
#include "storage_system/storage_item_base.h"
#include "storage_system/store.h"
#include "storage_system/registry/native_type_table.h"
#include "storage_system/registry/registry_value.h"
#include "storage_system/registry/type_io_handler.h"

namespace StorageSystem::Registry {

// A registry value stored in one of the five native types. Initialize reconciles the type the
// client declared with what the registry holds and writes the default of a created value; reads
// and writes go through the handler of the type's row, straight to the registry. It holds a
// reference on its store for its whole life. The casters and compound values derive from it.
// Used on the client's threads without locks; the registry serialises.
class CNativeValue : public CStorageItemT<IRegistryValue> {
public:
  // Adds a reference on `store`.
  explicit CNativeValue(IStore* store);
  ~CNativeValue() override;

  IStorageSystem* GetStorageSystem() override { return m_store->GetStorageSystem(); }
  IStore* GetParent() override { return m_store; }
  std::uint32_t GetFlags() override { return m_flags; }

  const ITypeDescription* GetDataType() override { return GetNativeType(); }
  bool MatchType(const ITypeDescription* type) override;
  const ITypeDescription* GetNativeType() override { return m_nativeType != nullptr ? m_nativeType->type : nullptr; }
  // ErrorCannotRead without SF_READ, else the handler's result.
  [[nodiscard]] ErrorCode Read(void* destination, std::uint32_t capacity) override;
  [[nodiscard]] ErrorCode ReadRealloc(void** buffer, std::uint32_t* capacity, std::uint32_t* size) override;
  // ErrorCannotWrite without SF_WRITE, else the handler's result.
  [[nodiscard]] ErrorCode Write(const void* data, std::uint32_t size) override;
  // PrepareAccessMask, the type reconciliation, the name and path, the location, and the default
  // of a created value. ErrorNotFound for a missing value without SF_CREATE or SF_OPEN_ALWAYS,
  // ErrorCannotOpen for a type that cannot be deduced or reconciled, ErrorNotSupported for a
  // registry type without a row, or the failure of the default's write.
  [[nodiscard]] ErrorCode Initialize(const ValueParameters* parameters, std::uint32_t flags) override;
  void Uninitialize() override;

protected:
  // The allocator of the storage system, for the blocks handed to callers.
  IAllocator* Allocator() { return m_location.allocator; }

private:
  // The registry type the value holds now, 0 when it is missing or is to be replaced.
  [[nodiscard]] ErrorCode RegTestValue(const ValueParameters& parameters, std::uint32_t flags, Platform::DWORD* id);

  IStore* const m_store;
  ValueLocation m_location = {};
  std::uint32_t m_flags = 0;
  const NativeTypeInfo* m_nativeType = nullptr;
};

// Makes a native value on `store` (adding a reference on it); its effective type is `type`
// itself. ErrorOutOfMemory.
[[nodiscard]] ErrorCode CreateNativeValue(const ITypeDescription* type, IStore* store, IRegistryValue** value,
                                          const ITypeDescription** effectiveType);

}  // namespace StorageSystem::Registry
