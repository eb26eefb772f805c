#include "platform/process.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/module.h"
#include "platform/synchronization.h"
#include "platform/system_error.h"
#include "platform/unique_handle.h"

namespace Platform {
namespace {

// A bound for waits that should end at once; generous so that a loaded machine does not fail.
constexpr DWORD kLongWait = 10000;

// The children are this test program itself, started with Google Test's own options.
class ProcessTest : public ::testing::Test {
protected:
  static std::u16string SelfPath() {
    char16_t path[1024];
    DWORD length = GetModuleFileNameW(nullptr, path, 1024);
    return std::u16string(path, length);
  }

  // Starts this program with `options`, its standard output into a pipe whose read end lands in
  // `output`.
  static bool StartSelf(const std::u16string& options, UniqueKernelHandle& process, UniqueKernelHandle& output) {
    UniqueKernelHandle write;
    if (!CreatePipe(output.Put(), write.Put(), nullptr, 0)) return false;
    if (!SetHandleInformation(write.Get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT)) return false;
    const std::u16string self = SelfPath();
    std::u16string commandLine = u"\"" + self + u"\" " + options;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = write.Get();
    startup.hStdError = write.Get();
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(self.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &started)) {
      return false;
    }
    UniqueKernelHandle thread(started.hThread);
    process.Reset(started.hProcess);
    return started.dwProcessId != 0;
  }

  // Everything the pipe gives until its write ends close.
  static std::string ReadToEnd(HANDLE pipe) {
    std::string text;
    char buffer[512];
    DWORD length = 0;
    while (ReadFile(pipe, buffer, sizeof(buffer), &length, nullptr)) text.append(buffer, length);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BROKEN_PIPE));
    return text;
  }
};

// The child of ChildKilledByTerminateProcessHasTheGivenExitCode: waits long enough to be killed.
TEST_F(ProcessTest, DISABLED_ChildThatWaitsToBeKilled) { Sleep(60000); }

TEST_F(ProcessTest, ReadOfAPipeWhoseWriteEndClosedEndsWithBrokenPipe) {
  UniqueKernelHandle read, write;
  ASSERT_TRUE(CreatePipe(read.Put(), write.Put(), nullptr, 0));
  write.Reset();
  char buffer[4];
  DWORD length = 7;
  EXPECT_FALSE(ReadFile(read.Get(), buffer, sizeof(buffer), &length, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BROKEN_PIPE));
  EXPECT_EQ(length, 0u);
}

TEST_F(ProcessTest, ChildOutputArrivesThroughThePipeAndTheEndedChildSignalsItsHandle) {
  UniqueKernelHandle process, output;
  ASSERT_TRUE(StartSelf(u"--gtest_list_tests \"--gtest_filter=ProcessTest.ReadOf*\"", process, output));
  std::string text = ReadToEnd(output.Get());
  EXPECT_NE(text.find("ReadOfAPipeWhoseWriteEndClosed"), std::string::npos) << text;
  EXPECT_EQ(text.find("ChildOutputArrives"), std::string::npos) << text;
  ASSERT_EQ(WaitForSingleObject(process.Get(), kLongWait), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(process.Get(), 0), WAIT_OBJECT_0) << "an ended process stays signalled";
  DWORD exitCode = STILL_ACTIVE;
  ASSERT_TRUE(GetExitCodeProcess(process.Get(), &exitCode));
  EXPECT_EQ(exitCode, 0u);
  EXPECT_TRUE(CloseHandle(process.Detach()));
}

TEST_F(ProcessTest, ChildKilledByTerminateProcessHasTheGivenExitCode) {
  UniqueKernelHandle process, output;
  ASSERT_TRUE(StartSelf(u"--gtest_also_run_disabled_tests --gtest_filter=ProcessTest.DISABLED_ChildThatWaitsToBeKilled",
                        process, output));
  EXPECT_EQ(WaitForSingleObject(process.Get(), 50), WAIT_TIMEOUT);
  DWORD exitCode = 0;
  ASSERT_TRUE(GetExitCodeProcess(process.Get(), &exitCode));
  EXPECT_EQ(exitCode, STILL_ACTIVE);
  ASSERT_TRUE(TerminateProcess(process.Get(), 37));
  ASSERT_EQ(WaitForSingleObject(process.Get(), kLongWait), WAIT_OBJECT_0);
  ASSERT_TRUE(GetExitCodeProcess(process.Get(), &exitCode));
  EXPECT_EQ(exitCode, 37u);
  ReadToEnd(output.Get());
}

TEST_F(ProcessTest, MissingProgramIsNotStarted) {
  std::u16string missing = SelfPath() + u".missing";
  std::u16string commandLine = u"\"" + missing + u"\"";
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION started{};
  EXPECT_FALSE(CreateProcessW(missing.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                              &startup, &started));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

}  // namespace
}  // namespace Platform
