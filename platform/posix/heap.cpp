// The process heap on Linux: the C library's allocator.
#include "platform/heap.h"

#include <cstdlib>
#include <cstring>

namespace Platform {
namespace {
// Any distinct non-null value serves: there is one heap.
int processHeapTag;
}  // namespace

HANDLE GetProcessHeap() { return &processHeapTag; }

void* HeapAlloc(HANDLE heap, DWORD flags, SIZE_T bytes) {
  if (heap == nullptr) return nullptr;
  // Windows hands out a valid block for a request of 0 bytes.
  void* block = std::malloc(bytes == 0 ? 1 : bytes);
  if (block != nullptr && (flags & HEAP_ZERO_MEMORY) != 0) std::memset(block, 0, bytes);
  return block;
}

BOOL HeapFree(HANDLE heap, DWORD flags, void* block) {
  if (heap == nullptr) return FALSE;
  std::free(block);
  return TRUE;
}

}  // namespace Platform
