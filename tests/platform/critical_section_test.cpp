#include "platform/critical_section.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(CriticalSectionTest, OwnerEntersAgainAndOthersCannotWhileHeld) {
  Platform::CRITICAL_SECTION section;
  ASSERT_TRUE(Platform::InitializeCriticalSectionAndSpinCount(&section, 0));
  Platform::EnterCriticalSection(&section);
  EXPECT_TRUE(Platform::TryEnterCriticalSection(&section));
  bool otherGotIt = true;
  std::thread([&] { otherGotIt = Platform::TryEnterCriticalSection(&section) != Platform::FALSE; }).join();
  EXPECT_FALSE(otherGotIt);
  Platform::LeaveCriticalSection(&section);
  Platform::LeaveCriticalSection(&section);
  std::thread([&] {
    otherGotIt = Platform::TryEnterCriticalSection(&section) != Platform::FALSE;
    if (otherGotIt) Platform::LeaveCriticalSection(&section);
  }).join();
  EXPECT_TRUE(otherGotIt);
  Platform::DeleteCriticalSection(&section);
}

}  // namespace
