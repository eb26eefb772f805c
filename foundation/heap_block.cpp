#include "foundation/heap_block.h"

#include <cstdint>
#include <cstring>

#include "platform/heap.h"

void* AllocBlock(std::size_t size) { return Platform::HeapAlloc(Platform::GetProcessHeap(), 0, size); }

void FreeBlock(void* block) { Platform::HeapFree(Platform::GetProcessHeap(), 0, block); }

void* AllocAlignedBlock(std::size_t size, std::size_t alignment) {
  void* raw = AllocBlock(size + alignment + 7);
  if (raw == nullptr) return nullptr;
  std::uintptr_t address = reinterpret_cast<std::uintptr_t>(raw) + 8;
  if (alignment > 1) address = (address + alignment - 1) / alignment * alignment;
  void* aligned = reinterpret_cast<void*>(address);
  std::memcpy(static_cast<char*>(aligned) - 8, &raw, sizeof(raw));
  return aligned;
}

void FreeAlignedBlock(void* block) {
  if (block == nullptr) return;
  void* raw = nullptr;
  std::memcpy(&raw, static_cast<char*>(block) - 8, sizeof(raw));
  FreeBlock(raw);
}
