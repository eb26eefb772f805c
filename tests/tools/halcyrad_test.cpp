// halcyrad as a person runs it: a separate process whose output is read back.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/platform_kind.h"
#include "tests/support/program_folder.h"
#include "tests/support/temporary_registry_folder.h"

namespace {

using Testing::ProgramFolder;

struct RunResult {
  int status;
  std::string output;
};

// Runs a program beside this one with `arguments`; its standard output, then its standard error.
RunResult RunProgram(const std::string& program, const std::vector<std::string>& arguments) {
  Testing::ChildProcess::Result result = Testing::ChildProcess::Run(program, arguments);
  return RunResult{result.exitCode, result.output + result.error};
}

RunResult RunHalcyrad(const std::vector<std::string>& arguments) { return RunProgram(HALCYRA_DAEMON, arguments); }

// Where the tests keep the simulated endpoints: Core Audio's own place on Linux, where each test
// has a registry folder of its own; a test key on Windows, where the registry is the machine's.
const std::string kWindowsTestAudioRoot = "HKCU\\Software\\HalcyraTests\\Halcyrad\\Audio";
std::string AudioRoot() {
  return Testing::kRunningOnWindows ? kWindowsTestAudioRoot
                                    : "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\MMDevices\\Audio";
}
// `arguments` and those that make halcyrad simulate the audio system there.
std::vector<std::string> Simulated(std::vector<std::string> arguments) {
  arguments.push_back("--simulate");
  if (Testing::kRunningOnWindows) {
    arguments.push_back("--simulated-audio-root");
    arguments.push_back(kWindowsTestAudioRoot);
  }
  return arguments;
}

// Each test starts halcyrad on a machine of its own: a fresh registry folder on Linux; on Windows
// the keys that halcyrad writes are removed before and after.
class HalcyradTest : public ::testing::Test {
protected:
  HalcyradTest() { RemoveWrittenKeys(); }
  ~HalcyradTest() override { RemoveWrittenKeys(); }

  static void RemoveWrittenKeys() {
    if (!Testing::kRunningOnWindows) return;
    RunProgram(HALCYRA_REG_TOOL, {"delete", "HKLM\\SOFTWARE\\Velorin", "/f"});
    RunProgram(HALCYRA_REG_TOOL, {"delete", kWindowsTestAudioRoot, "/f"});
  }

  Testing::TemporaryRegistryFolder registry;
};

TEST_F(HalcyradTest, ShortRunAtTraceLevelPrintsTheFourRequestTracesAndExitsZero) {
  RunResult run = RunHalcyrad(Simulated({"--for", "1", "--log-level", "4"}));
  EXPECT_EQ(run.status, 0) << run.output;
  for (const char* request : {"Init", "Start", "Stop", "Uninit"}) {
    std::regex trace(std::string("halcyrad: ") + request +
                     " request on module Halcyra \\(0x[0-9A-F]{16}\\) from daemon manager \\(0x[0-9A-F]{16}\\)");
    EXPECT_TRUE(std::regex_search(run.output, trace)) << request << " missing in:\n" << run.output;
  }
  EXPECT_LT(run.output.find("Init request"), run.output.find("Start request"));
  EXPECT_LT(run.output.find("Stop request"), run.output.find("Uninit request"));
}

TEST_F(HalcyradTest, DefaultLevelHidesTheTraces) {
  RunResult run = RunHalcyrad(Simulated({"--for", "0"}));
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_EQ(run.output.find("request on module"), std::string::npos) << run.output;
}

TEST_F(HalcyradTest, MissingLibraryGivesAClearMessageAndNonZeroStatus) {
  RunResult run = RunHalcyrad({"--for", "0", "--library", "no-such-library.bin"});
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.output.find("halcyrad: cannot load the module library no-such-library.bin"), std::string::npos)
      << run.output;
}

TEST_F(HalcyradTest, LibraryWithoutAModuleGivesAClearMessageAndNonZeroStatus) {
  RunResult run = RunHalcyrad({"--for", "0", "--library", ProgramFolder() + HALCYRA_EMPTY_MODULE_LIBRARY_NAME});
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.output.find("halcyrad: the module library has no module"), std::string::npos) << run.output;
}

TEST_F(HalcyradTest, BadArgumentsAreRefused) {
  EXPECT_NE(RunHalcyrad({"--log-level", "9"}).status, 0);
  EXPECT_NE(RunHalcyrad({"--for", "soon"}).status, 0);
  EXPECT_NE(RunHalcyrad({"--frobnicate"}).status, 0);
  EXPECT_NE(RunHalcyrad({"--simulated-audio-root", "HKXX\\Audio"}).status, 0);
}

TEST_F(HalcyradTest, LogLevelZeroIsRefusedWithTheRangeThatTheHelpNames) {
  RunResult run = RunHalcyrad({"--log-level", "0"});
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.output.find("halcyrad: --log-level takes a level from 1 to 5"), std::string::npos) << run.output;
  EXPECT_NE(RunHalcyrad({"--help"}).output.find("(1 errors ... 5 type matching"), std::string::npos);
}

constexpr const char* kPatchedLine =
    "ExtInfIssuePatcher::PatchSupportedDevices() : The Ext INF did not set the properties correctly, I have fixed it.";
constexpr const char* kHeadsetProperties = "\\Render\\{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D05}\\Properties";

TEST_F(HalcyradTest, FirstRunOnAFreshMachineRepairsTheSeededEndpointAndWritesTheSettings) {
  RunResult run = RunHalcyrad(Simulated({"--for", "2", "--log-level", "3"}));
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("halcyrad: seeded the product's registry keys"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("halcyrad: seeded the default simulated endpoints"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find(kPatchedLine), std::string::npos) << run.output;

  RunResult markers = RunProgram(HALCYRA_REG_TOOL, {"query", AudioRoot() + kHeadsetProperties});
  ASSERT_EQ(markers.status, 0) << markers.output;
  EXPECT_TRUE(std::regex_search(
      markers.output, std::regex("\\{F363DF17-A750-4AC3-B7B5-2BBEFFA9085F\\},11 +REG_SZ +Quillon\\.Halcyra3")))
      << markers.output;
  EXPECT_TRUE(std::regex_search(
      markers.output, std::regex("\\{9B8844FE-1650-40E5-A5EA-11B8C83821A1\\},12 +REG_SZ +Quillon\\.Halcyra3")))
      << markers.output;
  EXPECT_TRUE(
      std::regex_search(markers.output, std::regex("\\{8A80F57F-E31A-40BB-BB7B-B1F6F5AA9369\\},0 +REG_DWORD +0x1")))
      << markers.output;

  RunResult settings = RunProgram(HALCYRA_REG_TOOL, {"query", "HKLM\\SOFTWARE\\Velorin\\VelorinV3", "/s"});
  ASSERT_EQ(settings.status, 0) << settings.output;
  EXPECT_TRUE(std::regex_search(settings.output, std::regex("APOBypass +REG_DWORD +0x0"))) << settings.output;
  EXPECT_TRUE(std::regex_search(settings.output, std::regex("ProcessSystemSounds +REG_DWORD +0x1"))) << settings.output;
  // The default machine has the noise-reduction hardware: both parameters of the simulated service
  // are on, and the default is recorded as applied.
  EXPECT_TRUE(std::regex_search(settings.output, std::regex("DefaultNoiseReduction +REG_DWORD +0x1")))
      << settings.output;
  RunResult parameters = RunProgram(HALCYRA_REG_TOOL, {"query", AudioRoot() + "\\AudioProcessing"});
  ASSERT_EQ(parameters.status, 0) << parameters.output;
  EXPECT_TRUE(std::regex_search(parameters.output, std::regex("11 +REG_DWORD +0xffffffff", std::regex::icase)))
      << parameters.output;
  EXPECT_TRUE(std::regex_search(parameters.output, std::regex("106 +REG_DWORD +0xffffffff", std::regex::icase)))
      << parameters.output;

  RunResult second = RunHalcyrad(Simulated({"--for", "0", "--log-level", "3"}));
  EXPECT_EQ(second.status, 0) << second.output;
  EXPECT_EQ(second.output.find(kPatchedLine), std::string::npos) << second.output;
  EXPECT_EQ(second.output.find("halcyrad: seeded"), std::string::npos) << second.output;
}

TEST_F(HalcyradTest, ListEndpointsShowsIdFlowStateBssModeNameHardwareIdAndMarkers) {
  RunResult run = RunHalcyrad(Simulated({"--list-endpoints"}));
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_TRUE(std::regex_search(
      run.output,
      std::regex("\\{0\\.0\\.0\\.00000000\\}\\.\\{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D05\\} +render +active +0 +"
                 "\"Headset Earphone \\(USB Audio\\)\" +"
                 "\"USB\\\\VID_1B3F&PID_2008&MI_00\\\\7&1F2E3D4C&0&0000\" +markers: \"Quillon\\.Halcyra3\" - -")))
      << run.output;
  EXPECT_TRUE(std::regex_search(run.output, std::regex("\\{0\\.0\\.1\\.00000000\\}\\.\\{0B5C3C8E-6A0B-4B52-9D3E-"
                                                       "1F8A5A0C7D02\\} +capture +disabled +0 +"
                                                       "\"Halcyra Virtual Microphone\" +\"ROOT\\\\QuillonHL3Vad")))
      << run.output;
  std::size_t lines = 0;
  for (char c : run.output) lines += c == '\n';
  EXPECT_EQ(lines, 2u + 1u + 5u) << run.output;  // two seeding lines, the heading, five endpoints
}

TEST_F(HalcyradTest, ListEndpointsShowsTheBssModeThatAnotherProcessSet) {
  ASSERT_EQ(RunHalcyrad(Simulated({"--list-endpoints"})).status, 0);
  RunResult set =
      RunProgram(HALCYRA_REG_TOOL, {"add", AudioRoot() + "\\Capture\\{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D03}", "/v",
                                    "RtkBssMode", "/t", "REG_DWORD", "/d", "3", "/f"});
  ASSERT_EQ(set.status, 0) << set.output;
  RunResult run = RunHalcyrad(Simulated({"--list-endpoints"}));
  EXPECT_TRUE(
      std::regex_search(run.output, std::regex("\\{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D03\\} +capture +active +3 +"
                                               "\"Microphone Array \\(Realtek\\(R\\) Audio\\)\"")))
      << run.output;
}

// The VAD synchronizer does not look at the creation of its enumerator and calls through the null
// pointer in the next step: without any audio system the daemon process faults in Start.
TEST_F(HalcyradTest, WithoutTheSimulatorLinuxHasNoAudioSystemAndTheSynchronizerFaultsInStart) {
  if (Testing::kRunningOnWindows) GTEST_SKIP() << "Windows has a system audio system to fall back on";
  RunResult run = RunHalcyrad({"--for", "0", "--no-simulate"});
  EXPECT_NE(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("ExtInfIssuePatcher::PatchSupportedDevices() : thrown exception"), std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("RtkGen3AECHelper::Start Failed to create the MMDeviceEnumerator"), std::string::npos)
      << run.output;
}

}  // namespace
