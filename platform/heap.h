// The process heap.
#pragma once

#include "platform/types.h"

namespace Platform {

// The heap of the process; valid for the process's life, never closed.
HANDLE GetProcessHeap();

// Allocates `bytes` from `heap`; null on failure. The block is uninitialized unless
// HEAP_ZERO_MEMORY is given. Thread-safe.
constexpr DWORD HEAP_ZERO_MEMORY = 0x00000008;
void* HeapAlloc(HANDLE heap, DWORD flags, SIZE_T bytes);

// Frees a block of `heap`; null is accepted. Returns TRUE on success.
BOOL HeapFree(HANDLE heap, DWORD flags, void* block);

}  // namespace Platform
