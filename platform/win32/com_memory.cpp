// The task memory allocator: forwarded to the system's, which every module of the process shares.
#include "platform/com.h"
#include "platform/win32/windows_api.h"

namespace Platform {

void* CoTaskMemAlloc(SIZE_T bytes) { return ::CoTaskMemAlloc(bytes); }

void CoTaskMemFree(void* block) { ::CoTaskMemFree(block); }

}  // namespace Platform
