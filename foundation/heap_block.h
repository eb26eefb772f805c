// Blocks of the process heap, plain and aligned. None of these reports: the caller does.
#pragma once

#include <cstddef>

// A block of `size` bytes from the process heap, or null. Any thread.
void* AllocBlock(std::size_t size);
// Frees a block of AllocBlock; null is accepted.
void FreeBlock(void* block);

// A block of `size` bytes whose address is a multiple of `alignment`, or null. The heap's own
// pointer is kept in the 8 bytes just below the result. Any thread.
void* AllocAlignedBlock(std::size_t size, std::size_t alignment);
// Frees a block of AllocAlignedBlock; null is accepted.
void FreeAlignedBlock(void* block);
