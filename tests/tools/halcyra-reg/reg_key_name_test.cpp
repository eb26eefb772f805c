// Key names as halcyra-reg reads them from a command line.
#include "tools/halcyra-reg/reg_key_name.h"

#include <gtest/gtest.h>

namespace {

using namespace RegTool;

TEST(RegKeyNameTest, ReadsShortAndLongRootsInAnyCase) {
  KeyName name;
  ASSERT_TRUE(ParseKeyName("hkcu\\Software\\x", name));
  EXPECT_EQ(Platform::HKEY_CURRENT_USER, name.root);
  EXPECT_EQ("HKEY_CURRENT_USER\\Software\\x", name.Full());
  ASSERT_TRUE(ParseKeyName("Hkey_Local_Machine", name));
  EXPECT_EQ(Platform::HKEY_LOCAL_MACHINE, name.root);
  EXPECT_EQ("", name.path);
  EXPECT_EQ("HKEY_LOCAL_MACHINE", name.Full());
}

TEST(RegKeyNameTest, DropsOneBackslashAtTheEnd) {
  KeyName name;
  ASSERT_TRUE(ParseKeyName("HKCU\\Software\\", name));
  EXPECT_EQ("Software", name.path);
  EXPECT_FALSE(ParseKeyName("HKCU\\Software\\\\", name));
}

TEST(RegKeyNameTest, RefusesARootFollowedByABackslashAlone) {
  KeyName name;
  EXPECT_FALSE(ParseKeyName("HKCU\\", name));
  EXPECT_FALSE(ParseKeyName("HKCU\\\\Software", name));
}

TEST(RegKeyNameTest, RefusesUnknownRootsAndRemoteNames) {
  KeyName name;
  EXPECT_FALSE(ParseKeyName("HKXX\\Software", name));
  EXPECT_FALSE(ParseKeyName("\\\\machine\\HKLM\\Software", name));
  EXPECT_FALSE(ParseKeyName("\\HKCU\\Software", name));
  EXPECT_FALSE(ParseKeyName("", name));
  // Only ASCII letters fold: a dotless capital I is no 'i'.
  EXPECT_FALSE(
      ParseKeyName("HKEY_CURRENT_US\xC4\xB0"
                   "ER",
                   name));
}

}  // namespace
