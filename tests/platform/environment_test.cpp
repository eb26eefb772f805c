#include "platform/environment.h"
#include "platform/system_error.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(EnvironmentTest, ValueRoundTripsAndSizesFollowWindows) {
  ASSERT_TRUE(Platform::SetEnvironmentVariableW(u"HALCYRA_ENV_TEST", u"value"));
  char16_t buffer[16];
  EXPECT_EQ(Platform::GetEnvironmentVariableW(u"HALCYRA_ENV_TEST", buffer, 16), 5u);
  EXPECT_EQ(std::u16string(buffer), u"value");
  // Too small: the size needed with the terminator, nothing written.
  buffer[0] = u'#';
  EXPECT_EQ(Platform::GetEnvironmentVariableW(u"HALCYRA_ENV_TEST", buffer, 5), 6u);
  EXPECT_EQ(buffer[0], u'#');
  ASSERT_TRUE(Platform::SetEnvironmentVariableW(u"HALCYRA_ENV_TEST", nullptr));
}

TEST(EnvironmentTest, MissingVariableGivesZeroAndEnvvarNotFound) {
  char16_t buffer[16];
  EXPECT_EQ(Platform::GetEnvironmentVariableW(u"HALCYRA_SURELY_NOT_SET", buffer, 16), 0u);
  EXPECT_EQ(Platform::GetLastError(), static_cast<Platform::DWORD>(Platform::ERROR_ENVVAR_NOT_FOUND));
}

}  // namespace
