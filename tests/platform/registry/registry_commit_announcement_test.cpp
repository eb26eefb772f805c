// A change is announced to the watchers of other processes once it is committed, even when its
// writer is killed between its commit and its announcement. The writer is a child program that a
// hook of the Linux registry kills at exactly that point; Windows has no such point to reach.
#include <gtest/gtest.h>

#include <string>

#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tests/support/child_process.h"
#include "tests/support/registry_sandbox.h"

using namespace Platform;
using Testing::ChildProcess;

namespace {

constexpr DWORD kSignalWait = 5000;
constexpr int kRounds = 5;

class RegistryCommitAnnouncementTest : public ::testing::Test {
protected:
  void SetUp() override {
    if (!Testing::RegistrySandbox::HasRegistryFolder()) GTEST_SKIP() << "the kill point belongs to the Linux registry";
    ASSERT_TRUE(m_sandbox.Ready());
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_sandbox.Root(), u"Watched", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                             m_watched.Put(), nullptr));
    m_event.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    ASSERT_TRUE(m_event);
  }

  Testing::RegistrySandbox m_sandbox;
  UniqueKey m_watched;
  UniqueKernelHandle m_event;
};

TEST_F(RegistryCommitAnnouncementTest, WriterKilledRightAfterItsCommitStillSignalsTheWatchersOfOtherProcesses) {
  const std::string key = Platform::Utf16ToUtf8(m_sandbox.RootPath()) + "\\Watched";
  for (DWORD round = 1; round <= kRounds; ++round) {
    ASSERT_EQ(ERROR_SUCCESS,
              RegNotifyChangeKeyValue(m_watched.Get(), TRUE, REG_NOTIFY_CHANGE_LAST_SET, m_event.Get(), TRUE));
    ChildProcess::Result writer = ChildProcess::Run(HALCYRA_DYING_WRITER, {key, std::to_string(round)});
    ASSERT_EQ(ChildProcess::kKilledExitCode, writer.exitCode) << "round " << round << ": " << writer.error;
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_event.Get(), kSignalWait)) << "round " << round;
    // The write itself was committed before the kill.
    DWORD value = 0, size = 4;
    ASSERT_EQ(ERROR_SUCCESS,
              RegGetValueW(m_watched.Get(), nullptr, u"Value", RRF_RT_REG_DWORD, nullptr, &value, &size));
    EXPECT_EQ(round, value);
  }
}

}  // namespace
