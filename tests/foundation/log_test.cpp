#include "foundation/log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "platform/utf.h"
#include "tests/support/debug_channel_capture.h"

namespace {

class RecordingSink final : public ILogSink {
public:
  void WriteLine(const char16_t* line, const char* tag) override {
    lines.push_back(Platform::Utf16ToUtf8(line));
    tags.push_back(tag);
  }
  void WriteLineA(const char* line, const char* tag) override {
    lines.push_back(line);
    tags.push_back(tag);
  }
  std::vector<std::string> lines;
  std::vector<std::string> tags;
};

// The log is process-wide: every test puts level, sink and file back as they were.
class LogTest : public ::testing::Test {
protected:
  void TearDown() override {
    LogSetSink(nullptr);
    LogShutdown();
    LogSetLevel(2);
    if (!filePath.empty()) std::remove(filePath.c_str());
  }

  std::string OpenLogFile() {
    filePath = ::testing::TempDir() + "halcyra_log_test.log";
    std::remove(filePath.c_str());
    LogSetFile(std::fopen(filePath.c_str(), "w"));
    return filePath;
  }

  static std::vector<std::string> ReadLines(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }

  Testing::DebugChannelCapture capture;
  RecordingSink sink;
  std::string filePath;
};

TEST_F(LogTest, DefaultLevelPassesWarningsAndHidesInfo) {
  LogWrite(LogLevelInfo, kLogTag, u"hidden");
  EXPECT_TRUE(capture.Writes().empty());
  LogWrite(LogLevelWarning, kLogTag, u"Warning: %d", 7);
  ASSERT_EQ(capture.Writes().size(), 1u);
  EXPECT_EQ(capture.Writes()[0], "Warning: 7\n");
}

TEST_F(LogTest, LevelZeroReachesOnlyTheSink) {
  LogSetSink(&sink);
  OpenLogFile();
  LogSetLevel(0);
  LogWrite(0, kLogTag, u"only the sink");
  EXPECT_TRUE(capture.Writes().empty());
  ASSERT_EQ(sink.lines.size(), 1u);
  EXPECT_EQ(sink.lines[0], "only the sink");
  EXPECT_EQ(sink.tags[0], "Quillon");
  LogShutdown();
  auto lines = ReadLines(filePath);
  ASSERT_EQ(lines.size(), 2u);  // the separator and "Log stopped", no log line
  EXPECT_EQ(lines[0], std::string(80, '-'));
}

TEST_F(LogTest, FileLinesAreNumberedFromZeroAcrossNarrowAndWideCalls) {
  const std::string path = OpenLogFile();
  LogWrite(LogLevelError, kLogTag, u"first");
  LogWriteA(LogLevelError, kLogTag, "second %s", "narrow");
  LogShutdown();
  auto lines = ReadLines(path);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_TRUE(std::regex_match(lines[0], std::regex("[0-9]{8}\t[0-9]{2}:[0-9]{2}:[0-9]{2}\tfirst"))) << lines[0];
  EXPECT_TRUE(std::regex_match(lines[1], std::regex("[0-9]{8}\t[0-9]{2}:[0-9]{2}:[0-9]{2}\tsecond narrow")))
      << lines[1];
  const int firstNumber = std::stoi(lines[0].substr(0, 8));
  EXPECT_EQ(std::stoi(lines[1].substr(0, 8)), firstNumber + 1);
  EXPECT_EQ(lines[2], std::string(80, '-'));
  EXPECT_TRUE(std::regex_match(lines[3], std::regex("Log stopped [A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]{2} "
                                                    "[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}")))
      << lines[3];
}

// The counter starts with the process: a fresh child process writes the first line, numbered 0.
TEST(LogCounterTest, FirstLineOfAProcessCarriesNumberZero) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::string path = ::testing::TempDir() + "halcyra_log_first_line.log";
  std::remove(path.c_str());
  EXPECT_EXIT(
      {
        LogSetFile(std::fopen(path.c_str(), "w"));
        LogWrite(LogLevelError, kLogTag, u"first");
        LogShutdown();
        std::ifstream file(path);
        std::string line;
        std::getline(file, line);
        std::exit(line.rfind("00000000\t", 0) == 0 ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  std::remove(path.c_str());
}

TEST_F(LogTest, CounterCountsOnlyFileLines) {
  // Lines that reach no file (no file open) leave the counter alone: numbers stay consecutive.
  std::string path = OpenLogFile();
  LogWrite(LogLevelError, kLogTag, u"a");
  LogShutdown();
  const int before = std::stoi(ReadLines(path)[0].substr(0, 8));
  LogWrite(LogLevelError, kLogTag, u"no file");
  path = OpenLogFile();
  LogWrite(LogLevelError, kLogTag, u"b");
  LogShutdown();
  EXPECT_EQ(std::stoi(ReadLines(path)[0].substr(0, 8)), before + 1);
}

TEST_F(LogTest, LongMessageIsCutAndKeepsItsTerminator) {
  std::u16string longText(5000, u'x');
  LogWrite(LogLevelError, kLogTag, u"%s", longText.c_str());
  ASSERT_EQ(capture.Writes().size(), 1u);
  // 2047 characters of message, and the line feed no longer fits the 2048-character line.
  EXPECT_EQ(capture.Writes()[0], std::string(2047, 'x'));
}

TEST_F(LogTest, NullFormatWritesNothing) {
  LogSetSink(&sink);
  LogWrite(LogLevelError, kLogTag, nullptr);
  LogWriteA(LogLevelError, kLogTag, nullptr);
  EXPECT_TRUE(capture.Writes().empty());
  EXPECT_TRUE(sink.lines.empty());
}

TEST_F(LogTest, SinkReceivesNarrowLinesThroughItsNarrowEntry) {
  LogSetSink(&sink);
  LogWriteA(LogLevelError, kLogTag, "%s=%d", "n", 3);
  ASSERT_EQ(sink.lines.size(), 1u);
  EXPECT_EQ(sink.lines[0], "n=3");
  EXPECT_EQ(capture.Writes()[0], "n=3\n");
}

TEST_F(LogTest, ProcessBaseNameHasNoFolderAndNoExtension) {
  EXPECT_EQ(Platform::Utf16ToUtf8(GetProcessBaseName()), "foundation_tests");
}

}  // namespace
