// The task memory allocator on Linux: the C library's heap, which every binary of the process
// shares, so that a block allocated by one library may be freed by another.
#include <cstdlib>

#include "platform/com.h"

namespace Platform {

void* CoTaskMemAlloc(SIZE_T bytes) { return std::malloc(bytes == 0 ? 1 : bytes); }

void CoTaskMemFree(void* block) { std::free(block); }

}  // namespace Platform
