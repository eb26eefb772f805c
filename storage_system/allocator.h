// The block allocator of a storage system.
#pragma once

#include <cstddef>

namespace StorageSystem {

// Every buffer that a storage interface hands to a caller comes from the allocator of its storage
// system and goes back to it. Thread-safe. The order of the virtual operations is part of the
// contract.
class IAllocator {
public:
  virtual ~IAllocator() = default;
  // A block of `size` bytes, or null on failure (not reported: the caller reports).
  virtual void* Alloc(std::size_t size) = 0;
  // Gives back a block of Alloc; null is accepted.
  virtual void Free(void* block) = 0;
};

}  // namespace StorageSystem
