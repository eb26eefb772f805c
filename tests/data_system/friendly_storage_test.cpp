// The process-wide switch of friendly storage names.
#include "data_system/friendly_storage.h"

#include <gtest/gtest.h>

#include "data_system/flags.h"
#include "platform/environment.h"
#include "tests/support/debug_channel_capture.h"

namespace Testing {
namespace {

using namespace DataSystem;

class FriendlyStorageTest : public ::testing::Test {
protected:
  // The switch is read at the first use in the process: make that happen with the variable unset.
  FriendlyStorageTest() { static_cast<void>(ApplyFriendlyStorage(0)); }
  ~FriendlyStorageTest() override { Platform::SetEnvironmentVariableW(u"FriendlyDataSystemStorage", nullptr); }
  static void Set(const char16_t* value) { Platform::SetEnvironmentVariableW(u"FriendlyDataSystemStorage", value); }
  DebugChannelCapture capture;
};

TEST_F(FriendlyStorageTest, TrueInAnyCaseAndOneTurnTheSwitchOn) {
  for (const char16_t* value : {u"TRUE", u"true", u"TrUe", u"1"}) {
    Set(value);
    EXPECT_TRUE(ReadFriendlyStorageSwitch());
  }
}

TEST_F(FriendlyStorageTest, YesAMissingVariableAndAValueTooLongLeaveItOff) {
  for (const char16_t* value : {u"yes", u"0", u"", u"true-and-much-more"}) {
    Set(value);
    EXPECT_FALSE(ReadFriendlyStorageSwitch());
  }
  Set(nullptr);
  EXPECT_FALSE(ReadFriendlyStorageSwitch());
}

TEST_F(FriendlyStorageTest, FlagsWithStoreByNameAloneAndTheSwitchOffAreClearedWithAWarning) {
  // This process never set the variable before its first use.
  EXPECT_EQ(ApplyFriendlyStorage(DS_STORE_BY_NAME | DS_LOCAL_ON), static_cast<std::uint32_t>(DS_LOCAL_ON));
  EXPECT_NE(capture.Text().find("WARNING: friendly storage flags modified: 0x200 replaced by 0x0"), std::string::npos)
      << capture.Text();
}

TEST_F(FriendlyStorageTest, FlagsThatAgreeWithTheSwitchPassUnchangedAndSilently) {
  EXPECT_EQ(ApplyFriendlyStorage(DS_READ_ONLY | DS_REUSE_INDEXES),
            static_cast<std::uint32_t>(DS_READ_ONLY | DS_REUSE_INDEXES));
  EXPECT_EQ(capture.Text().find("friendly storage"), std::string::npos);
}

}  // namespace
}  // namespace Testing
