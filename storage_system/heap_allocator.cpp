#include "storage_system/heap_allocator.h"

#include "foundation/heap_block.h"

namespace StorageSystem {

void* CAlignedHeapAllocator::Alloc(std::size_t size) { return AllocAlignedBlock(size, kAlignment); }

void CAlignedHeapAllocator::Free(void* block) { FreeAlignedBlock(block); }

IAllocator* GetProcessAllocator() {
  static CAlignedHeapAllocator allocator;
  return &allocator;
}

}  // namespace StorageSystem
