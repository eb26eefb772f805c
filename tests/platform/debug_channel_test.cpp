#include "platform/debug_channel.h"

#include <gtest/gtest.h>

#include "tests/support/debug_channel_capture.h"

namespace {

TEST(DebugChannelTest, HookReceivesWideAndNarrowTextAsUtf8) {
  Testing::DebugChannelCapture capture;
  Platform::OutputDebugStringW(u"wide \u00e9\n");
  Platform::OutputDebugStringA("narrow\n");
  auto writes = capture.Writes();
  ASSERT_EQ(writes.size(), 2u);
  EXPECT_EQ(writes[0], "wide \xC3\xA9\n");
  EXPECT_EQ(writes[1], "narrow\n");
}

TEST(DebugChannelTest, NullTextIsIgnored) {
  Testing::DebugChannelCapture capture;
  Platform::OutputDebugStringW(nullptr);
  Platform::OutputDebugStringA(nullptr);
  EXPECT_TRUE(capture.Writes().empty());
}

TEST(DebugChannelTest, NoDebuggerWatchesTheTests) { EXPECT_EQ(Platform::IsDebuggerPresent(), Platform::FALSE); }

}  // namespace
