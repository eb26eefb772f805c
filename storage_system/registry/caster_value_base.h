// The base of values whose declared type differs from the native type they are stored as.
#pragma once

#include <cstdint>

#include "storage_system/storage_system.h"
#include "storage_system/registry/native_value.h"

namespace StorageSystem {

// The report names of BufferRealloc, per stored category.
template <class Stored>
inline constexpr const char* kBufferReallocName = nullptr;
template <>
inline constexpr const char* kBufferReallocName<std::uint32_t> =
    "StorageSystem::ACasterValueBase<unsigned long,class StorageSystem::Registry::CNativeValue>::BufferRealloc";
template <>
inline constexpr const char* kBufferReallocName<std::uint64_t> =
    "StorageSystem::ACasterValueBase<unsigned __int64,class StorageSystem::Registry::CNativeValue>::BufferRealloc";
template <>
inline constexpr const char* kBufferReallocName<char16_t*> =
    "StorageSystem::ACasterValueBase<unsigned short *,class StorageSystem::Registry::CNativeValue>::BufferRealloc";
template <>
inline constexpr const char* kBufferReallocName<void*> =
    "StorageSystem::ACasterValueBase<void *,class StorageSystem::Registry::CNativeValue>::BufferRealloc";

// A value stored as the native category `Stored` (std::uint32_t for "unsigned long",
// std::uint64_t for "unsigned __int64", char16_t* for text, void* for binary) on top of `Base`,
// which is Registry::CNativeValue. The client sees `declaredType`; Initialize of the base works on
// the native type.
template <class Stored, class Base>
class ACasterValueBase : public Base {
public:
  const ITypeDescription* GetDataType() override { return m_declaredType; }

protected:
  ACasterValueBase(IStore* store, const ITypeDescription* declaredType)
      : Base(store), m_declaredType(declaredType),
        m_allocator(store->GetStorageSystem()->GetProperties()->GetAllocator()) {}

  // Brings `*buffer` of `*capacity` bytes to room for `needed`: a block that is large enough and
  // not more than twice too large is kept; otherwise a new one replaces it. When no new block can
  // be had, a block that is large enough is kept; ErrorOutOfMemory otherwise.
  [[nodiscard]] ErrorCode BufferRealloc(void** buffer, std::uint32_t* capacity, std::uint32_t needed) {
    if (*buffer != nullptr && *capacity >= needed && needed >= *capacity / 2) return ErrorNone;
    void* block = m_allocator->Alloc(needed);
    if (block == nullptr) {
      if (*buffer == nullptr || *capacity < needed)
        return RaiseError(kBufferReallocName<Stored>, ErrorOutOfMemory, nullptr);
      return ErrorNone;
    }
    m_allocator->Free(*buffer);
    *buffer = block;
    *capacity = needed;
    return ErrorNone;
  }

  const ITypeDescription* const m_declaredType;
  IAllocator* const m_allocator;
};

}  // namespace StorageSystem
