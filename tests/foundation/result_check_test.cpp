#include "foundation/result_check.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/debug_channel.h"
#include "platform/utf.h"
#include "tests/support/debug_channel_capture.h"
#include "tests/support/system_text.h"

namespace {

using Platform::HRESULT;

constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057u);

class ResultCheckTest : public ::testing::Test {
protected:
  Testing::DebugChannelCapture capture;
};

TEST_F(ResultCheckTest, ThrowingCheckPassesSuccessCodes) {
  EXPECT_NO_THROW(wil::ThrowIfFailed(Platform::S_OK, "extinfissuepatcher", 214));
  EXPECT_NO_THROW(wil::ThrowIfFailed(Platform::S_FALSE, "extinfissuepatcher", 214));
}

TEST_F(ResultCheckTest, ThrowingCheckThrowsTheFailureWithSourceAndLine) {
  try {
    wil::ThrowIfFailed(kInvalidArgument, "extinfissuepatcher", 214);
    FAIL() << "no exception";
  } catch (const wil::ResultException& failure) {
    EXPECT_EQ(failure.GetErrorCode(), kInvalidArgument);
    EXPECT_STREQ(failure.GetSource(), "extinfissuepatcher");
    EXPECT_EQ(failure.GetLine(), 214);
    EXPECT_STREQ(failure.what(), "extinfissuepatcher(214) 80070057");
  }
}

TEST_F(ResultCheckTest, ReturningCheckGivesTheResultAsItStands) {
  EXPECT_EQ(wil::ReturnIfFailed(Platform::S_FALSE, "vadstatesynchronizer", 10), Platform::S_FALSE);
  EXPECT_EQ(wil::ReturnIfFailed(Platform::E_FAIL, "vadstatesynchronizer", 10), Platform::E_FAIL);
}

TEST_F(ResultCheckTest, WithoutADebuggerNothingReachesTheDebugChannel) {
  if (Platform::IsDebuggerPresent()) GTEST_SKIP() << "a debugger is attached to the test";
  EXPECT_THROW(wil::ThrowIfFailed(Platform::E_FAIL, "extinfissuepatcher", 152), wil::ResultException);
  static_cast<void>(wil::ReturnIfFailed(Platform::E_FAIL, "vadstatesynchronizer", 20));
  EXPECT_EQ(capture.Text(), "");
}

TEST_F(ResultCheckTest, RecordNamesSourceLineThreadResultAndItsText) {
  char16_t record[256];
  ASSERT_GT(wil::FormatFailureRecord(record, 256, kInvalidArgument, "extinfissuepatcher", 154, 0x1a2b), 0);
  EXPECT_EQ(Platform::Utf16ToUtf8(record), "extinfissuepatcher(154) tid(1a2b) 80070057 " +
                                               Testing::SystemText(Platform::ERROR_INVALID_PARAMETER) + "\n");
}

TEST_F(ResultCheckTest, RecordOfAResultWithoutTextEndsAfterTheNumber) {
  char16_t record[256];
  ASSERT_GT(wil::FormatFailureRecord(record, 256, static_cast<HRESULT>(0xA0001234u), "x", 1, 7), 0);
  std::string text = Platform::Utf16ToUtf8(record);
  EXPECT_EQ(text.rfind("x(1) tid(7) A0001234 ", 0), 0u) << text;
  EXPECT_EQ(text.back(), '\n');
}

TEST_F(ResultCheckTest, RecordIsCutToItsBuffer) {
  char16_t record[16];
  EXPECT_EQ(wil::FormatFailureRecord(record, 16, kInvalidArgument, "extinfissuepatcher", 154, 1), -1);
  EXPECT_EQ(Platform::Utf16ToUtf8(record), "extinfissuepatc");
}

}  // namespace
