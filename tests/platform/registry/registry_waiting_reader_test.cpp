// A thread that waits on the event of a registry watch reads the hive's announced changes itself,
// while the watcher thread of the Linux registry sleeps: a change made by another process wakes
// the waiting thread alone. These tests check that the waiting thread then serves every watch of
// its process, that the watcher thread takes the reading back when the wait ends, and that the
// watcher thread does sleep through the changes. Windows has no watcher thread to look at.
#include <gtest/gtest.h>

#if !defined(_WIN32)

#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/thread_pool.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tests/support/child_process.h"
#include "tests/support/registry_sandbox.h"

using namespace Platform;
using Testing::ChildProcess;

namespace {

constexpr DWORD kSignalWait = 5000;
constexpr int kChildWait = 60000;

// The voluntary context switches of thread `tid` of this process: each one a sleep.
long VoluntarySwitches(const std::string& tid) {
  std::ifstream status("/proc/self/task/" + tid + "/status");
  std::string line;
  const std::string field = "voluntary_ctxt_switches:";
  while (std::getline(status, line)) {
    if (line.rfind(field, 0) == 0) return std::stol(line.substr(field.size()));
  }
  return -1;
}

// The thread ids of this process's registry watcher threads.
std::vector<std::string> WatcherThreads() {
  std::vector<std::string> found;
  DIR* tasks = ::opendir("/proc/self/task");
  if (tasks == nullptr) return found;
  while (dirent* entry = ::readdir(tasks)) {
    std::string tid = entry->d_name;
    if (tid == "." || tid == "..") continue;
    std::string name;
    std::getline(std::ifstream("/proc/self/task/" + tid + "/comm"), name);
    if (name == "registry-watch") found.push_back(tid);
  }
  ::closedir(tasks);
  return found;
}

// Whether thread `tid` of this process is in system call `number` (the first field of its
// syscall file, "running" when it is not in one).
bool IsInSystemCall(const std::string& tid, long number) {
  std::string call;
  std::ifstream("/proc/self/task/" + tid + "/syscall") >> call;
  return call == std::to_string(number);
}

// Whether thread `tid` sleeps on two futex words: a waiting thread that reads the announcements,
// or a watcher thread that reads them (on the wake count and its own word).
bool SleepsOnTwoWords(const std::string& tid) { return IsInSystemCall(tid, SYS_futex_waitv); }

// Whether thread `tid` sleeps on one futex word: a watcher thread that leaves the reading to a
// waiting thread.
bool SleepsOnOneWord(const std::string& tid) { return IsInSystemCall(tid, SYS_futex); }

// Polls `condition` until it holds or a few seconds pass; returns whether it held.
template <class Condition>
bool Eventually(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kSignalWait);
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

long WatcherSwitches(const std::vector<std::string>& watchers) {
  long sum = 0;
  for (const std::string& tid : watchers) sum += VoluntarySwitches(tid);
  return sum;
}

class RegistryWaitingReaderTest : public ::testing::Test {
protected:
  void SetUp() override {
    if (!Testing::RegistrySandbox::HasRegistryFolder()) GTEST_SKIP() << "the watcher thread is the Linux registry's";
    ASSERT_TRUE(m_sandbox.Ready());
    ASSERT_NO_FATAL_FAILURE(CreateKey(u"Waited", m_waited));
    ASSERT_NO_FATAL_FAILURE(CreateKey(u"Other", m_other));
    ASSERT_NO_FATAL_FAILURE(CreateKey(u"Unwatched", m_unwatched));
    m_waitedEvent.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    m_otherEvent.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    m_otherFired.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ASSERT_TRUE(m_waitedEvent && m_otherEvent && m_otherFired);
  }

  void TearDown() override {
    if (m_registeredWait != nullptr) {
      EXPECT_TRUE(UnregisterWaitEx(m_registeredWait, INVALID_HANDLE_VALUE));
    }
  }

  void CreateKey(const char16_t* name, UniqueKey& key) {
    ASSERT_EQ(ERROR_SUCCESS,
              RegCreateKeyExW(m_sandbox.Root(), name, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(), nullptr));
  }

  static void Arm(HKEY key, HANDLE event) {
    ASSERT_EQ(ERROR_SUCCESS, RegNotifyChangeKeyValue(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET, event, TRUE));
  }

  // Arms a watch on the other key whose event no thread waits on: the thread pool sets
  // m_otherFired when it fires.
  void ArmOtherWatchForThePool() {
    Arm(m_other.Get(), m_otherEvent.Get());
    ASSERT_TRUE(RegisterWaitForSingleObject(
        &m_registeredWait, m_otherEvent.Get(),
        [](void* fired, BOOLEAN) { SetEvent(static_cast<HANDLE>(fired)); }, m_otherFired.Get(), INFINITE,
        WT_EXECUTEONLYONCE));
  }

  // Sets `count` values of `key` (under the sandbox) from another process.
  void WriteInAChild(const char16_t* key, int count) {
    ChildProcess writer;
    std::string path = Utf16ToUtf8(m_sandbox.RootPath()) + "\\" + Utf16ToUtf8(key);
    ASSERT_TRUE(writer.Start(HALCYRA_REGISTRY_CHILD, {"sequence", path, std::to_string(count)}));
    ChildProcess::Result result = writer.Finish(kChildWait);
    ASSERT_EQ(0, result.exitCode) << result.output;
  }

  // Arms the watch on the other key for an event that a registered wait already hears.
  void ArmOtherWatchHeardByThePool() {
    ASSERT_TRUE(RegisterWaitForSingleObject(
        &m_registeredWait, m_otherEvent.Get(),
        [](void* fired, BOOLEAN) { SetEvent(static_cast<HANDLE>(fired)); }, m_otherFired.Get(), INFINITE,
        WT_EXECUTEONLYONCE));
    Arm(m_other.Get(), m_otherEvent.Get());
  }

  // Waits on the waited key's event for `wait` milliseconds in a thread of its own, and returns
  // once that thread sleeps: on two words when it reads the announcements (`reads`), else on one.
  void StartWaiting(DWORD wait = kSignalWait, bool reads = true) {
    m_waiter = std::thread([this, wait] {
      m_waiterTid = ::gettid();
      m_waitResult = WaitForSingleObject(m_waitedEvent.Get(), wait);
    });
    while (m_waiterTid == 0) std::this_thread::yield();
    m_waiterName = std::to_string(m_waiterTid);
    EXPECT_TRUE(Eventually([this, reads] {
      return reads ? SleepsOnTwoWords(m_waiterName) : SleepsOnOneWord(m_waiterName);
    }));
  }

  // Ends the waiting thread by changing the waited key in this process, and returns its result.
  DWORD StopWaiting() {
    DWORD value = 1;
    EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(m_waited.Get(), u"V", 0, REG_DWORD, reinterpret_cast<BYTE*>(&value), 4));
    m_waiter.join();
    return m_waitResult;
  }

  Testing::RegistrySandbox m_sandbox;
  UniqueKey m_waited, m_other, m_unwatched;
  UniqueKernelHandle m_waitedEvent, m_otherEvent, m_otherFired;
  HANDLE m_registeredWait = nullptr;
  std::thread m_waiter;
  std::atomic<pid_t> m_waiterTid{0};
  std::string m_waiterName;  // its thread id as text
  std::atomic<DWORD> m_waitResult{WAIT_FAILED};
};

TEST_F(RegistryWaitingReaderTest, WaitingThreadSignalsAnotherWatchOfItsProcessThatNoThreadWaitsOn) {
  ArmOtherWatchForThePool();
  Arm(m_waited.Get(), m_waitedEvent.Get());
  StartWaiting();
  ASSERT_NO_FATAL_FAILURE(WriteInAChild(u"Other", 1));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_otherFired.Get(), kSignalWait));
  EXPECT_EQ(WAIT_OBJECT_0, StopWaiting());
}

TEST_F(RegistryWaitingReaderTest, WatcherThreadReadsAgainForAWatchLeftWhenTheWaitTimesOut) {
  Arm(m_waited.Get(), m_waitedEvent.Get());
  StartWaiting(50);
  m_waiter.join();
  ASSERT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), m_waitResult.load());
  ArmOtherWatchForThePool();
  ASSERT_NO_FATAL_FAILURE(WriteInAChild(u"Other", 1));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_otherFired.Get(), kSignalWait));
  // The waited key's watch is still armed after the timeout.
  ASSERT_NO_FATAL_FAILURE(WriteInAChild(u"Waited", 1));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_waitedEvent.Get(), kSignalWait));
}

TEST_F(RegistryWaitingReaderTest, WatchArmedAfterTheWaitEndedIsSignalledWithoutAWaitingThread) {
  Arm(m_waited.Get(), m_waitedEvent.Get());
  StartWaiting();
  ASSERT_NO_FATAL_FAILURE(WriteInAChild(u"Waited", 1));
  m_waiter.join();
  ASSERT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), m_waitResult.load());
  ArmOtherWatchForThePool();
  ASSERT_NO_FATAL_FAILURE(WriteInAChild(u"Other", 1));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_otherFired.Get(), kSignalWait));
}

TEST_F(RegistryWaitingReaderTest, WatcherThreadSleepsThroughChangesThatTheWaitingThreadReads) {
  Arm(m_waited.Get(), m_waitedEvent.Get());
  StartWaiting(60000);
  std::vector<std::string> watchers;
  ASSERT_TRUE(Eventually([&] { return !(watchers = WatcherThreads()).empty(); }));
  const long watcherBefore = WatcherSwitches(watchers);
  ASSERT_TRUE(SleepsOnTwoWords(m_waiterName));
  const long waiterBefore = VoluntarySwitches(m_waiterName);
  const auto began = std::chrono::steady_clock::now();
  constexpr int kWrites = 300;
  ASSERT_NO_FATAL_FAILURE(WriteInAChild(u"Unwatched", kWrites));
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - began).count();
  const long watcherWakes = WatcherSwitches(watchers) - watcherBefore;
  const long waiterWakes = VoluntarySwitches(m_waiterName) - waiterBefore;
  // The watcher still wakes every 100 ms to look for a writer that died before its announcement.
  EXPECT_LE(watcherWakes, elapsed / 100 + 2) << "in " << elapsed << " ms";
  EXPECT_GE(waiterWakes, 1);
  EXPECT_EQ(WAIT_OBJECT_0, StopWaiting());
}

TEST_F(RegistryWaitingReaderTest, WatcherThreadLeavesTheWakeCountWhileAThreadWaitsAndTakesItBackAfter) {
  ArmOtherWatchForThePool();
  std::vector<std::string> watchers;
  ASSERT_TRUE(Eventually([&] { return !(watchers = WatcherThreads()).empty(); }));
  // Watchers of other hives (from earlier tests of this process) keep reading throughout.
  auto allRead = [&] { return std::all_of(watchers.begin(), watchers.end(), SleepsOnTwoWords); };
  EXPECT_TRUE(Eventually(allRead));
  Arm(m_waited.Get(), m_waitedEvent.Get());
  StartWaiting();
  EXPECT_TRUE(Eventually([&] { return std::any_of(watchers.begin(), watchers.end(), SleepsOnOneWord); }));
  EXPECT_EQ(WAIT_OBJECT_0, StopWaiting());
  // The other key's watch is left, so the watcher reads again.
  EXPECT_TRUE(Eventually(allRead));
}

TEST_F(RegistryWaitingReaderTest, WatcherKeepsReadingWhileAWatchsEventIsHeardByARegisteredWait) {
  ASSERT_NO_FATAL_FAILURE(ArmOtherWatchHeardByThePool());
  Arm(m_waited.Get(), m_waitedEvent.Get());
  StartWaiting(kSignalWait, false);
  std::vector<std::string> watchers;
  ASSERT_TRUE(Eventually([&] { return !(watchers = WatcherThreads()).empty(); }));
  EXPECT_TRUE(Eventually([&] { return std::all_of(watchers.begin(), watchers.end(), SleepsOnTwoWords); }));
  ASSERT_NO_FATAL_FAILURE(WriteInAChild(u"Other", 1));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(m_otherFired.Get(), kSignalWait));
  EXPECT_EQ(WAIT_OBJECT_0, StopWaiting());
}

TEST_F(RegistryWaitingReaderTest, WaitOnAWatchedEventTimesOutWhenNothingChanges) {
  Arm(m_waited.Get(), m_waitedEvent.Get());
  const auto began = std::chrono::steady_clock::now();
  EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(m_waitedEvent.Get(), 50));
  EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(50));
}

}  // namespace

#endif  // !defined(_WIN32)
