// The process-wide block allocator of the registry storage systems.
#pragma once

#include "storage_system/allocator.h"

namespace StorageSystem {

// Blocks of the process heap aligned to 32 bytes. One static object for the process; any thread.
class CAlignedHeapAllocator : public IAllocator {
public:
  static constexpr std::size_t kAlignment = 32;

  void* Alloc(std::size_t size) override;
  void Free(void* block) override;
};

// The one allocator object of the process, built on first use.
IAllocator* GetProcessAllocator();

}  // namespace StorageSystem
