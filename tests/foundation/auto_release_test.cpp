#include "foundation/auto_release.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

TEST(AutoReleaseTest, AllocGivesABlockThatTheOwnerFrees) {
  CAutoReleaseT<char16_t> buffer;
  EXPECT_EQ(buffer.Get(), nullptr);
  ASSERT_EQ(buffer.Alloc(16), ErrorNone);
  ASSERT_NE(buffer.Get(), nullptr);
  for (int i = 0; i < 16; ++i) buffer.Get()[i] = u'a';
}

TEST(AutoReleaseTest, SecondAllocReplacesTheBlock) {
  CAutoReleaseT<char16_t> buffer;
  ASSERT_EQ(buffer.Alloc(4), ErrorNone);
  ASSERT_EQ(buffer.Alloc(8), ErrorNone);
  EXPECT_NE(buffer.Get(), nullptr);
}

TEST(AutoReleaseTest, DetachHandsOwnershipToTheCaller) {
  CAutoReleaseT<char16_t> buffer;
  ASSERT_EQ(buffer.Alloc(4), ErrorNone);
  char16_t* block = buffer.Detach();
  EXPECT_EQ(buffer.Get(), nullptr);
  FreeBlock(block);
}

}  // namespace
