// CAutoReleaseT<T>: owns one process-heap block of elements of T and frees it when destroyed.
#pragma once

#include <cstddef>
#include <utility>

#include "foundation/error.h"
#include "foundation/heap_block.h"

// The name under which CAutoReleaseT<T>::Alloc reports, per element type.
template <class T>
inline constexpr const char* kAutoReleaseAllocName = nullptr;
template <>
inline constexpr const char* kAutoReleaseAllocName<char16_t> = "CAutoReleaseT<unsigned short>::Alloc";

template <class T>
class CAutoReleaseT {
public:
  CAutoReleaseT() = default;
  CAutoReleaseT(const CAutoReleaseT&) = delete;
  CAutoReleaseT& operator=(const CAutoReleaseT&) = delete;
  ~CAutoReleaseT() { FreeBlock(m_block); }

  // Replaces the held block by a new one of `count` elements (uninitialized). Returns ErrorNone, or
  // ErrorOutOfMemory (reported) with no block held. Not thread-safe.
  [[nodiscard]] ErrorCode Alloc(std::size_t count) {
    static_assert(kAutoReleaseAllocName<T> != nullptr, "declare the report name of this element type");
    FreeBlock(std::exchange(m_block, nullptr));
    m_block = static_cast<T*>(AllocBlock(count * sizeof(T)));
    if (m_block == nullptr) return RaiseError(kAutoReleaseAllocName<T>, ErrorOutOfMemory, nullptr);
    return ErrorNone;
  }

  T* Get() const { return m_block; }
  // Gives up ownership; the caller frees the block with FreeBlock.
  T* Detach() { return std::exchange(m_block, nullptr); }

private:
  T* m_block = nullptr;
};
