// The process heap: forwarded to the system.
#include "platform/heap.h"

#include "platform/win32/windows_api.h"

namespace Platform {

HANDLE GetProcessHeap() { return ::GetProcessHeap(); }

void* HeapAlloc(HANDLE heap, DWORD flags, SIZE_T bytes) { return ::HeapAlloc(heap, flags, bytes); }

BOOL HeapFree(HANDLE heap, DWORD flags, void* block) { return ::HeapFree(heap, flags, block); }

}  // namespace Platform
