#include "platform/heap.h"

#include <gtest/gtest.h>

namespace {

TEST(HeapTest, ZeroedBlocksAreZeroAndEmptyRequestsGiveABlock) {
  auto* block =
      static_cast<unsigned char*>(Platform::HeapAlloc(Platform::GetProcessHeap(), Platform::HEAP_ZERO_MEMORY, 64));
  ASSERT_NE(block, nullptr);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(block[i], 0);
  EXPECT_TRUE(Platform::HeapFree(Platform::GetProcessHeap(), 0, block));
  void* empty = Platform::HeapAlloc(Platform::GetProcessHeap(), 0, 0);
  EXPECT_NE(empty, nullptr);
  EXPECT_TRUE(Platform::HeapFree(Platform::GetProcessHeap(), 0, empty));
}

}  // namespace
