#include "foundation/error.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/log.h"
#include "platform/system_error.h"
#include "tests/support/debug_channel_capture.h"
#include "tests/support/system_text.h"

namespace {

// Without a debugger every report reaches the channel twice: once directly, once through the log.
class ErrorTest : public ::testing::Test {
protected:
  Testing::DebugChannelCapture capture;
};

TEST_F(ErrorTest, TableCodeWithoutMessageGivesTheTableText) {
  EXPECT_EQ(RaiseError("F", ErrorNotFound, nullptr), ErrorNotFound);
  auto writes = capture.Writes();
  ASSERT_EQ(writes.size(), 2u);
  EXPECT_EQ(writes[0], "Error 14 (resource or object not found) in function F\n");
  EXPECT_EQ(writes[1], writes[0]);
}

TEST_F(ErrorTest, MessageReplacesTheTableText) {
  EXPECT_EQ(RaiseError("F", ErrorNotFound, u"Store '%s' was not found", u"x"), ErrorNotFound);
  ASSERT_FALSE(capture.Writes().empty());
  EXPECT_EQ(capture.Writes()[0], "Error 14 in function F: Store 'x' was not found\n");
}

TEST_F(ErrorTest, SystemCodeWithoutMessageReportsTheThreadsLastError) {
  Platform::SetLastError(Platform::ERROR_ACCESS_DENIED);
  EXPECT_EQ(RaiseError("F", ErrorSystem, nullptr), ErrorSystem);
  ASSERT_FALSE(capture.Writes().empty());
  EXPECT_EQ(capture.Writes()[0], "Error 2 in function F: System error 5: " + Testing::SystemText(5) + "\n");
}

TEST_F(ErrorTest, UnknownCodesGiveTheUnknownTextAndComeBackUnchanged) {
  EXPECT_EQ(RaiseError("F", 999, nullptr), 999);
  EXPECT_EQ(RaiseError("F", -1, nullptr), -1);
  auto writes = capture.Writes();
  ASSERT_EQ(writes.size(), 4u);
  EXPECT_EQ(writes[0], "Error 999 (deprecated or unknown error code) in function F\n");
  EXPECT_EQ(writes[2], "Error -1 (deprecated or unknown error code) in function F\n");
}

TEST_F(ErrorTest, UndescribedSystemErrorGivesUnknownSystemError) {
  EXPECT_EQ(RaiseSystemError("F", 0x7FFF0001u, nullptr), ErrorSystem);
  ASSERT_FALSE(capture.Writes().empty());
  EXPECT_EQ(capture.Writes()[0], "Error 2 in function F: System error 2147418113: Unknown system error\n");
}

TEST_F(ErrorTest, SystemErrorNamesTheFailingApi) {
  EXPECT_EQ(RaiseSystemError("X", Platform::ERROR_ACCESS_DENIED, "RegOpenKeyExW"), ErrorSystem);
  ASSERT_FALSE(capture.Writes().empty());
  EXPECT_EQ(capture.Writes()[0],
            "Error 2 in function X: RegOpenKeyExW raised error 5: " + Testing::SystemText(5) + "\n");
}

TEST_F(ErrorTest, MessageIsCutAt255CharactersAndTheLineAt511) {
  std::u16string longText(600, u'a');
  static_cast<void>(RaiseError("F", ErrorGeneric, u"%s", longText.c_str()));
  std::string line = capture.Writes().at(0);
  EXPECT_EQ(line, "Error 22 in function F: " + std::string(255, 'a') + "\n");

  capture.Clear();
  std::string longName(600, 'n');
  static_cast<void>(RaiseError(longName.c_str(), ErrorGeneric, u"m"));
  line = capture.Writes().at(0);
  EXPECT_EQ(line.size(), 511u + 1u);
  EXPECT_EQ(line.back(), '\n');
}

TEST_F(ErrorTest, StlExceptionIsFoldedWithItsText) {
  EXPECT_EQ(RaiseStlException("F", "bad_alloc"), ErrorStlException);
  EXPECT_EQ(capture.Writes().at(0), "Error 4 in function F: STL exception: bad_alloc\n");
}

TEST_F(ErrorTest, ReportPassesAtEveryLevelButZero) {
  const int previous = LogGetLevel();
  LogSetLevel(1);
  static_cast<void>(RaiseError("F", ErrorGeneric, nullptr));
  EXPECT_EQ(capture.Writes().size(), 2u);
  capture.Clear();
  LogSetLevel(0);
  static_cast<void>(RaiseError("F", ErrorGeneric, nullptr));
  EXPECT_EQ(capture.Writes().size(), 1u);
  LogSetLevel(previous);
}

}  // namespace
