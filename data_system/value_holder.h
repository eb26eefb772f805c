// What a value holds of storage: the open storage value and the cache.
#pragma once

#include <cstdint>
#include <type_traits>

#include "data_system/value.h"
#include "storage_system/allocator.h"
#include "storage_system/registry/registry_value.h"

namespace DataSystem {

// How a fixed-size value keeps its data: a bool as its byte, so that any byte that storage or a
// client hands in can be compared and copied without being taken for a C++ bool.
template <class T>
using CacheType = std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>;

// The open storage value of a fixed-size value and its cache. `cached` is small enough to be
// written as a whole, so Get, Set and Refresh share it without a lock.
template <class T>
class CValueHolderT {
public:
  CValueHolderT() = default;
  virtual ~CValueHolderT() { ResetHandle(); }
  CValueHolderT(const CValueHolderT&) = delete;
  CValueHolderT& operator=(const CValueHolderT&) = delete;

  // Releases the storage value.
  virtual void ResetHandle() {
    if (storageValue != nullptr) storageValue->Release();
    storageValue = nullptr;
  }

  // A counted reference from Init to Uninit.
  StorageSystem::Registry::IRegistryValue* storageValue = nullptr;
  std::uint32_t cacheMode = CACHE_LAZY | CACHE_ON_WRITE;
  CacheType<T> cached{};
  unsigned char cacheValid = 0;
};

// The open storage value of a wide string and the cached characters, kept in a block of the storage
// system's allocator.
template <>
class CValueHolderT<WideString> {
public:
  CValueHolderT() = default;
  virtual ~CValueHolderT() {
    if (buffer != nullptr) allocator->Free(buffer);
    ResetHandle();
  }
  CValueHolderT(const CValueHolderT&) = delete;
  CValueHolderT& operator=(const CValueHolderT&) = delete;

  virtual void ResetHandle() {
    if (storageValue != nullptr) storageValue->Release();
    storageValue = nullptr;
  }

  StorageSystem::Registry::IRegistryValue* storageValue = nullptr;
  std::uint32_t cacheMode = CACHE_LAZY | CACHE_ON_WRITE;
  // The storage system's, fetched at first need; not owned.
  StorageSystem::IAllocator* allocator = nullptr;
  char16_t* buffer = nullptr;
  std::uint64_t capacity = 0;
  // The recorded byte length, terminator included.
  std::uint64_t length = 0;
};

}  // namespace DataSystem
