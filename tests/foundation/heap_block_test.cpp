#include "foundation/heap_block.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

TEST(HeapBlockTest, AlignedBlocksMeetTheirAlignmentAndFreeCleanly) {
  for (std::size_t alignment : {1u, 8u, 16u, 32u, 64u, 4096u}) {
    void* block = AllocAlignedBlock(100, alignment);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u) << alignment;
    std::memset(block, 0xAB, 100);
    FreeAlignedBlock(block);
  }
}

TEST(HeapBlockTest, HeapPointerIsKeptJustBelowTheAlignedBlock) {
  void* block = AllocAlignedBlock(10, 32);
  void* raw = nullptr;
  std::memcpy(&raw, static_cast<char*>(block) - 8, sizeof(raw));
  EXPECT_LE(static_cast<char*>(raw) + 8, static_cast<char*>(block));
  EXPECT_LT(static_cast<char*>(block), static_cast<char*>(raw) + 8 + 32);
  FreeAlignedBlock(block);
}

TEST(HeapBlockTest, FreeingNullDoesNothing) {
  FreeAlignedBlock(nullptr);
  FreeBlock(nullptr);
  SUCCEED();
}

TEST(HeapBlockTest, PlainBlockIsWritable) {
  auto* block = static_cast<char*>(AllocBlock(64));
  ASSERT_NE(block, nullptr);
  std::memset(block, 1, 64);
  FreeBlock(block);
}

}  // namespace
