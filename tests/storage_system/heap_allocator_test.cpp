// The process allocator of the registry storage systems.
#include "storage_system/heap_allocator.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

TEST(AlignedHeapAllocatorTest, BlocksAreAlignedTo32Bytes) {
  StorageSystem::IAllocator* allocator = StorageSystem::GetProcessAllocator();
  for (std::size_t size : {1u, 7u, 32u, 100u, 4096u}) {
    void* block = allocator->Alloc(size);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0u);
    std::memset(block, 0xAB, size);
    allocator->Free(block);
  }
  allocator->Free(nullptr);
}

TEST(AlignedHeapAllocatorTest, IsOneObjectForTheProcess) {
  EXPECT_EQ(StorageSystem::GetProcessAllocator(), StorageSystem::GetProcessAllocator());
}

}  // namespace
