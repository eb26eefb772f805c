// Reading and writing registry values of one native type.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "platform/registry.h"
#include "storage_system/allocator.h"

namespace StorageSystem::Registry {

// Where a value lives.
struct ValueLocation {
  // The key of the parent store.
  Platform::HKEY rootKey;
  // A key of the value's own, or null.
  Platform::HKEY ownKey;
  // The value's key under rootKey, or null.
  const char16_t* subKey;
  const char16_t* valueName;
  IAllocator* allocator;
};

// The handler of one native type. Handlers have no state and are shared by all values; any thread.
// Every operation borrows its arguments for the call and returns ErrorNone, ErrorSystem for a
// failed registry call (its status in the report), or ErrorOutOfMemory. The order of the virtual
// operations is part of the contract.
class ITypeIOHandler {
public:
  virtual ~ITypeIOHandler() = default;
  // Reads the value into `destination` of `capacity` bytes; ErrorThirdParty when the registry
  // hands over another type than the handler's.
  [[nodiscard]] virtual ErrorCode Read(const ValueLocation& location, void* destination, std::uint32_t capacity) = 0;
  // Reads into `*buffer` of `*capacity` bytes, replacing it by a larger block of the location's
  // allocator when needed; `*size` (when not null) receives the length.
  [[nodiscard]] virtual ErrorCode ReadRealloc(const ValueLocation& location, void** buffer, std::uint32_t* capacity,
                                              std::uint32_t* size) = 0;
  [[nodiscard]] virtual ErrorCode Write(const ValueLocation& location, const void* data, std::uint32_t size) = 0;
};

// RegSetKeyValueW, which also creates a missing subkey; under a volatile parent, where that fails
// with ERROR_CHILD_MUST_BE_VOLATILE, the subkey is created volatile and the value set on it.
// Returns the status of the set.
Platform::LSTATUS RegSetKeyValueHelper(Platform::HKEY key, const char16_t* subKey, const char16_t* name,
                                       Platform::DWORD type, const void* data, std::uint32_t size);

}  // namespace StorageSystem::Registry
