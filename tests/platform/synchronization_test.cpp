#include "platform/synchronization.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/system_error.h"
#include "platform/unique_handle.h"
#include "tests/support/platform_kind.h"

namespace Platform {
namespace {

using Clock = std::chrono::steady_clock;

// A bound for waits that should end at once; generous so that a loaded machine does not fail.
constexpr DWORD kLongWait = 10000;

class SynchronizationTest : public ::testing::Test {
protected:
  static UniqueKernelHandle MakeEvent(bool manualReset, bool initialState) {
    UniqueKernelHandle event(CreateEventW(nullptr, manualReset ? TRUE : FALSE, initialState ? TRUE : FALSE, nullptr));
    EXPECT_TRUE(event);
    return event;
  }
};

TEST_F(SynchronizationTest, ManualResetEventStaysSignalledUntilReset) {
  UniqueKernelHandle event = MakeEvent(true, false);
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);
  ASSERT_TRUE(SetEvent(event.Get()));
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
  ASSERT_TRUE(ResetEvent(event.Get()));
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);
}

TEST_F(SynchronizationTest, AutoResetEventReleasesOneWaitPerSignal) {
  UniqueKernelHandle event = MakeEvent(false, true);
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);
  ASSERT_TRUE(SetEvent(event.Get()));
  ASSERT_TRUE(SetEvent(event.Get()));
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);
}

TEST_F(SynchronizationTest, ResetEventClearsAPendingAutoResetSignal) {
  UniqueKernelHandle event = MakeEvent(false, true);
  ASSERT_TRUE(ResetEvent(event.Get()));
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);
}

TEST_F(SynchronizationTest, WaitTimesOutAfterTheGivenTime) {
  UniqueKernelHandle event = MakeEvent(true, false);
  const auto start = Clock::now();
  EXPECT_EQ(WaitForSingleObject(event.Get(), 50), WAIT_TIMEOUT);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(SynchronizationTest, SetEventWakesAWaiterOnAnotherThread) {
  UniqueKernelHandle event = MakeEvent(false, false);
  UniqueKernelHandle started = MakeEvent(true, false);
  std::atomic<DWORD> result{WAIT_FAILED};
  std::thread waiter([&] {
    SetEvent(started.Get());
    result = WaitForSingleObject(event.Get(), kLongWait);
  });
  ASSERT_EQ(WaitForSingleObject(started.Get(), kLongWait), WAIT_OBJECT_0);
  ASSERT_TRUE(SetEvent(event.Get()));
  waiter.join();
  EXPECT_EQ(result.load(), WAIT_OBJECT_0);
}

TEST_F(SynchronizationTest, AutoResetEventWakesOneOfManyWaitersPerSignal) {
  constexpr int kWaiters = 4;
  UniqueKernelHandle event = MakeEvent(false, false);
  std::atomic<int> woken{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < kWaiters; ++i) {
    waiters.emplace_back([&] {
      if (WaitForSingleObject(event.Get(), kLongWait) == WAIT_OBJECT_0) ++woken;
    });
  }
  for (int i = 0; i < kWaiters; ++i) {
    // Each signal is taken by exactly one waiter before the next is given.
    ASSERT_TRUE(SetEvent(event.Get()));
    const auto deadline = Clock::now() + std::chrono::milliseconds(kLongWait);
    while (woken.load() < i + 1 && Clock::now() < deadline) std::this_thread::yield();
    ASSERT_EQ(woken.load(), i + 1);
  }
  for (std::thread& waiter : waiters) waiter.join();
  EXPECT_EQ(woken.load(), kWaiters);
}

TEST_F(SynchronizationTest, ManualResetEventReleasesEveryWaiter) {
  constexpr int kWaiters = 4;
  UniqueKernelHandle event = MakeEvent(true, false);
  std::atomic<int> woken{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < kWaiters; ++i) {
    waiters.emplace_back([&] {
      if (WaitForSingleObject(event.Get(), kLongWait) == WAIT_OBJECT_0) ++woken;
    });
  }
  ASSERT_TRUE(SetEvent(event.Get()));
  for (std::thread& waiter : waiters) waiter.join();
  EXPECT_EQ(woken.load(), kWaiters);
}

TEST_F(SynchronizationTest, CloseHandleFailsWithInvalidHandleForAClosedHandle) {
  HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ASSERT_NE(event, nullptr);
  ASSERT_TRUE(CloseHandle(event));
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(CloseHandle(event));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(SynchronizationTest, CallsOnABadHandleFailWithInvalidHandle) {
  // INVALID_HANDLE_VALUE is not among them: on Windows it is the pseudo-handle of the current process.
  int notAHandle = 0;
  for (HANDLE bad : {static_cast<HANDLE>(nullptr), static_cast<HANDLE>(&notAHandle)}) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(CloseHandle(bad));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(SetEvent(bad));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(ResetEvent(bad));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(WaitForSingleObject(bad, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  }
}

TEST_F(SynchronizationTest, NamedEventsAreRefused) {
  if (Testing::kRunningOnWindows) GTEST_SKIP() << "Windows has named events; only the Linux replacement refuses them";
  SetLastError(ERROR_SUCCESS);
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, u"Global\\Halcyra"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(SynchronizationTest, ClosingAnEventWhileAnotherThreadWaitsOnItIsSafe) {
  HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  ASSERT_NE(event, nullptr);
  UniqueKernelHandle started = MakeEvent(true, false);
  std::atomic<DWORD> result{WAIT_FAILED};
  std::thread waiter([&] {
    SetEvent(started.Get());
    result = WaitForSingleObject(event, 100);
  });
  ASSERT_EQ(WaitForSingleObject(started.Get(), kLongWait), WAIT_OBJECT_0);
  EXPECT_TRUE(CloseHandle(event));
  waiter.join();
  // The waiter either had not looked the handle up yet or kept the object alive until its wait ended.
  EXPECT_TRUE(result.load() == WAIT_TIMEOUT || result.load() == WAIT_FAILED);
}

TEST_F(SynchronizationTest, LastErrorBelongsToEachThread) {
  // The threads meet through atomics only: on Windows any system call, creating and joining a
  // thread among them, may overwrite the caller's last error.
  std::atomic<int> stage{0};
  DWORD seenByOtherThread = 1;
  std::thread other([&] {
    while (stage.load() != 1) std::this_thread::yield();
    seenByOtherThread = GetLastError();
    SetLastError(ERROR_ACCESS_DENIED);
    stage = 2;
  });
  SetLastError(ERROR_FILE_NOT_FOUND);
  stage = 1;
  while (stage.load() != 2) std::this_thread::yield();
  const DWORD mine = GetLastError();
  other.join();
  EXPECT_EQ(seenByOtherThread, static_cast<DWORD>(ERROR_SUCCESS));
  EXPECT_EQ(mine, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST_F(SynchronizationTest, SleepWaitsAtLeastTheGivenTime) {
  const auto start = Clock::now();
  Sleep(20);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(20));
}

TEST_F(SynchronizationTest, ThreadIdsDifferBetweenThreads) {
  const DWORD mine = GetCurrentThreadId();
  EXPECT_NE(mine, 0u);
  EXPECT_EQ(GetCurrentThreadId(), mine);
  DWORD other = mine;
  std::thread thread([&] { other = GetCurrentThreadId(); });
  thread.join();
  EXPECT_NE(other, mine);
}

}  // namespace
}  // namespace Platform
