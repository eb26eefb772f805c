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

// The open storage value of a value and its cache mode, which both kinds of holder share.
class CValueHandleHolder {
public:
  CValueHandleHolder() = default;
  virtual ~CValueHandleHolder() { ResetHandle(); }
  CValueHandleHolder(const CValueHandleHolder&) = delete;
  CValueHandleHolder& operator=(const CValueHandleHolder&) = delete;

  // Releases the storage value.
  virtual void ResetHandle() {
    if (storageValue != nullptr) storageValue->Release();
    storageValue = nullptr;
  }

  // A counted reference from Init to Uninit.
  StorageSystem::Registry::IRegistryValue* storageValue = nullptr;
  std::uint32_t cacheMode = CACHE_LAZY | CACHE_ON_WRITE;
};

// The open storage value of a fixed-size value and its cache.
template <class T>
class CValueHolderT : public CValueHandleHolder {
public:
  CacheType<T> cached{};
  unsigned char cacheValid = 0;
};

// The open storage value of a wide string and the cached characters, kept in a block of the storage
// system's allocator.
template <>
class CValueHolderT<WideString> : public CValueHandleHolder {
public:
  ~CValueHolderT() override {
    if (buffer != nullptr) allocator->Free(buffer);
  }

  // The storage system's, fetched at first need; not owned.
  StorageSystem::IAllocator* allocator = nullptr;
  char16_t* buffer = nullptr;
  std::uint64_t capacity = 0;
  // The recorded byte length, terminator included.
  std::uint64_t length = 0;
};

}  // namespace DataSystem
