// The properties of a storage system.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/extensible.h"
#include "storage_system/allocator.h"
#include "storage_system/enum_target.h"
#include "storage_system/lock.h"

namespace StorageSystem {

// What a backend can do and the shared services of one storage system: its allocator and its lock.
// Pure queries, safe from any thread while the storage system is open. The order of the virtual
// operations is part of the contract.
class IProperties : public Common::IExtensible {
public:
  // StorageCapabilities bits; the registry gives 13.
  virtual std::uint32_t GetCapabilities() = 0;
  virtual IAllocator* GetAllocator() = 0;
  // The one lock of the storage system.
  virtual ILock* GetLock() = 0;
  // Offers an ITypeEnumItem for every type that the backend can store.
  [[nodiscard]] virtual ErrorCode EnumTypes(IEnumTarget* target) = 0;
  // The TypeMatchFlags under which declared types are matched; the registry gives 125.
  virtual std::uint32_t GetTypeMatchFlags() = 0;
  // The native path separator; the registry gives "\".
  virtual char16_t GetSeparator() = 0;
};

}  // namespace StorageSystem
