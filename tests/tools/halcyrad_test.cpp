// halcyrad as a person runs it: a separate process whose output is read back from a file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "platform/module.h"
#include "platform/utf.h"

namespace {

std::string ProgramFolder() {
  char16_t path[4096];
  std::u16string program(path, Platform::GetModuleFileNameW(nullptr, path, 4096));
  return Platform::Utf16ToUtf8(program.substr(0, program.find_last_of(u"/\\") + 1));
}

struct RunResult {
  int status;
  std::string output;
};

// Runs halcyrad with `arguments`, standard output and error together into a file.
RunResult RunHalcyrad(const std::string& arguments) {
  const std::string outputPath = ::testing::TempDir() + "halcyrad_test_output.txt";
  const std::string command =
      "\"" + ProgramFolder() + "halcyrad\" " + arguments + " > \"" + outputPath + "\" 2>&1";
  RunResult result;
  result.status = std::system(command.c_str());
  std::ifstream file(outputPath);
  std::stringstream text;
  text << file.rdbuf();
  result.output = text.str();
  std::remove(outputPath.c_str());
  return result;
}

TEST(HalcyradTest, ShortRunAtTraceLevelPrintsTheFourRequestTracesAndExitsZero) {
  RunResult run = RunHalcyrad("--for 1 --log-level 4");
  EXPECT_EQ(run.status, 0) << run.output;
  for (const char* request : {"Init", "Start", "Stop", "Uninit"}) {
    std::regex trace(std::string("halcyrad: ") + request +
                     " request on module Halcyra \\(0x[0-9A-F]{16}\\) from daemon manager \\(0x[0-9A-F]{16}\\)");
    EXPECT_TRUE(std::regex_search(run.output, trace)) << request << " missing in:\n" << run.output;
  }
  EXPECT_LT(run.output.find("Init request"), run.output.find("Start request"));
  EXPECT_LT(run.output.find("Stop request"), run.output.find("Uninit request"));
}

TEST(HalcyradTest, DefaultLevelHidesTheTraces) {
  RunResult run = RunHalcyrad("--for 0");
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(run.output.find("request on module"), std::string::npos) << run.output;
}

TEST(HalcyradTest, MissingLibraryGivesAClearMessageAndNonZeroStatus) {
  RunResult run = RunHalcyrad("--for 0 --library no-such-library.bin");
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.output.find("halcyrad: cannot load the module library no-such-library.bin"), std::string::npos)
      << run.output;
}

TEST(HalcyradTest, LibraryWithoutAModuleGivesAClearMessageAndNonZeroStatus) {
  RunResult run = RunHalcyrad("--for 0 --library \"" + ProgramFolder() + HALCYRA_EMPTY_MODULE_LIBRARY_NAME + "\"");
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.output.find("halcyrad: the module library has no module"), std::string::npos) << run.output;
}

TEST(HalcyradTest, BadArgumentsAreRefused) {
  EXPECT_NE(RunHalcyrad("--log-level 9").status, 0);
  EXPECT_NE(RunHalcyrad("--for soon").status, 0);
  EXPECT_NE(RunHalcyrad("--frobnicate").status, 0);
}

}  // namespace
