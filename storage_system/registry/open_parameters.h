// What opens a registry storage system and its stores.
#pragma once

#include <cstdint>

#include "platform/registry.h"
#include "storage_system/allocator.h"

namespace StorageSystem::Registry {

// The open parameters of OpenStorageSystem. Borrowed for the call; the security attributes and
// the allocator must outlive the storage system.
struct StorageSystemParameters {
  // A predefined key (HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, ...).
  Platform::HKEY key;
  // The path of the root store under `key`, with "\" separators.
  const char16_t* path;
  // ORed into the access mask of every key: KEY_WOW64_64KEY (256).
  Platform::REGSAM accessMask;
  // For created keys, or null for the platform's default.
  const Platform::SECURITY_ATTRIBUTES* securityAttributes;
  IAllocator* allocator;
  // kOptionFloatAsString and further option bits.
  std::uint32_t optionFlags;
};

// The open parameters of a store, given by its parent's OpenStore.
struct StoreParameters {
  // The key of the parent store.
  Platform::HKEY parentKey;
  // The path under the parent's key, with native separators.
  const char16_t* subKey;
  // The path as the client gave it.
  const char16_t* path;
};

}  // namespace StorageSystem::Registry
