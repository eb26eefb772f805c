#include "foundation/windows_version.h"

#include <gtest/gtest.h>

#include "platform/environment.h"
#include "tests/support/platform_kind.h"

namespace {

TEST(WindowsVersionTest, CurrentSystemIsAtLeastSixTwo) {
  EXPECT_TRUE(IsWindowsVersionOrGreater6(1));
  EXPECT_TRUE(IsWindowsVersionOrGreater6(2));
}

TEST(WindowsVersionTest, SixOneSystemMeetsSixOneButNotSixTwo) {
  if (Testing::kRunningOnWindows) GTEST_SKIP() << "the reported version of Windows cannot be changed per process";
  ASSERT_TRUE(Platform::SetEnvironmentVariableW(u"HALCYRA_WINDOWS_VERSION", u"6.1.7601"));
  EXPECT_TRUE(IsWindowsVersionOrGreater6(0));
  EXPECT_TRUE(IsWindowsVersionOrGreater6(1));
  EXPECT_FALSE(IsWindowsVersionOrGreater6(2));
  ASSERT_TRUE(Platform::SetEnvironmentVariableW(u"HALCYRA_WINDOWS_VERSION", nullptr));
  EXPECT_TRUE(IsWindowsVersionOrGreater6(2));
}

}  // namespace
