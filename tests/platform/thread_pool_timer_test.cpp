// The system thread pool's timer-queue timers: firing, changing and deleting.
#include "platform/thread_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/synchronization.h"
#include "platform/system_error.h"
#include "platform/unique_handle.h"
#include "tests/platform/thread_pool_fixture.h"
#include "tests/support/platform_kind.h"

namespace Platform {
namespace {

using namespace PoolTesting;
using Clock = std::chrono::steady_clock;

TEST_F(ThreadPoolTest, OneShotTimerFiresOnceAfterItsDueTime) {
  Probe probe;
  UniqueTimer timer;
  const auto start = Clock::now();
  ASSERT_TRUE(CreateTimerQueueTimer(timer.Put(), nullptr, ProbeCallback, &probe, 50, 0, 0));
  AwaitSignal(probe.entered.Get());
  // Windows measures due times on a coarser clock than std::chrono's, so a timer may fire up to a
  // clock tick before 50 ms have passed on the test's clock; it must not fire anywhere near at once.
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(40));
  AwaitSignal(probe.left.Get());
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 1);
  EXPECT_EQ(probe.firedTrue.load(), 1);
}

TEST_F(ThreadPoolTest, PeriodicTimerFiresEveryPeriod) {
  Probe probe;
  UniqueTimer timer;
  ASSERT_TRUE(CreateTimerQueueTimer(timer.Put(), nullptr, ProbeCallback, &probe, 0, 10, 0));
  for (int i = 0; i < 5; ++i) AwaitSignal(probe.left.Get());
  timer.Reset();
  const int calls = probe.calls.load();
  EXPECT_GE(calls, 5);
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), calls);
}

TEST_F(ThreadPoolTest, CreateTimerQueueTimerRejectsBadArguments) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "Windows takes a period with WT_EXECUTEONLYONCE and any queue handle without checking them";
  }
  Probe probe;
  HANDLE timer = nullptr;
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(CreateTimerQueueTimer(&timer, nullptr, ProbeCallback, &probe, 10, 10, WT_EXECUTEONLYONCE));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  UniqueKernelHandle notAQueue = MakeEvent(false);
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(CreateTimerQueueTimer(&timer, notAQueue.Get(), ProbeCallback, &probe, 10, 0, 0));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(ThreadPoolTest, ChangeTimerQueueTimerBringsAPendingTimerForward) {
  Probe probe;
  UniqueTimer timer;
  ASSERT_TRUE(CreateTimerQueueTimer(timer.Put(), nullptr, ProbeCallback, &probe, 3600000, 0, 0));
  ASSERT_TRUE(ChangeTimerQueueTimer(nullptr, timer.Get(), 10, 0));
  AwaitSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 1);
}

TEST_F(ThreadPoolTest, ChangeTimerQueueTimerPostponesAPendingTimer) {
  Probe probe;
  UniqueTimer timer;
  ASSERT_TRUE(CreateTimerQueueTimer(timer.Put(), nullptr, ProbeCallback, &probe, 30, 0, 0));
  ASSERT_TRUE(ChangeTimerQueueTimer(nullptr, timer.Get(), 3600000, 0));
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 0);
}

TEST_F(ThreadPoolTest, ChangeTimerQueueTimerLeavesAOneShotTimerThatFired) {
  Probe probe;
  UniqueTimer timer;
  ASSERT_TRUE(CreateTimerQueueTimer(timer.Put(), nullptr, ProbeCallback, &probe, 0, 0, 0));
  AwaitSignal(probe.left.Get());
  EXPECT_TRUE(ChangeTimerQueueTimer(nullptr, timer.Get(), 10, 0));
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 1);
}

TEST_F(ThreadPoolTest, ChangeTimerQueueTimerToPeriodZeroStopsAPeriodicTimerAfterOneMoreCall) {
  Probe probe;
  UniqueTimer timer;
  ASSERT_TRUE(CreateTimerQueueTimer(timer.Put(), nullptr, ProbeCallback, &probe, 0, 10, 0));
  AwaitSignal(probe.left.Get());
  ASSERT_TRUE(ChangeTimerQueueTimer(nullptr, timer.Get(), 20, 0));
  AwaitSignal(probe.left.Get());
  // A call of the old period may have been under way when the timer changed; then one more comes.
  WaitForSingleObject(probe.left.Get(), kQuietTime);
  const int calls = probe.calls.load();
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), calls);
}

TEST_F(ThreadPoolTest, DeletedTimerDoesNotFire) {
  Probe probe;
  HANDLE timer = nullptr;
  ASSERT_TRUE(CreateTimerQueueTimer(&timer, nullptr, ProbeCallback, &probe, 30, 0, 0));
  // Windows before Vista, and Wine, answer every delete without an event with ERROR_IO_PENDING;
  // either answer means that the timer is gone.
  SetLastError(ERROR_SUCCESS);
  const BOOL deleted = DeleteTimerQueueTimer(nullptr, timer, nullptr);
  EXPECT_TRUE(deleted || GetLastError() == static_cast<DWORD>(ERROR_IO_PENDING));
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 0);
}

TEST_F(ThreadPoolTest, TimerFunctionsRefuseADeletedTimer) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "on Windows a timer handle points into the pool and is freed once the timer is deleted";
  }
  Probe probe;
  HANDLE timer = nullptr;
  ASSERT_TRUE(CreateTimerQueueTimer(&timer, nullptr, ProbeCallback, &probe, 3600000, 0, 0));
  ASSERT_TRUE(DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE));
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(DeleteTimerQueueTimer(nullptr, timer, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(ChangeTimerQueueTimer(nullptr, timer, 10, 0));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(ThreadPoolTest, DeleteTimerQueueTimerReportsIoPendingWhileItsCallbackRuns) {
  Probe probe;
  probe.block = true;
  HANDLE timer = nullptr;
  ASSERT_TRUE(CreateTimerQueueTimer(&timer, nullptr, ProbeCallback, &probe, 0, 0, 0));
  AwaitSignal(probe.entered.Get());
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(DeleteTimerQueueTimer(nullptr, timer, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
  SetEvent(probe.release.Get());
  AwaitSignal(probe.left.Get());
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 1);
}

TEST_F(ThreadPoolTest, DeleteTimerQueueTimerWithInvalidHandleValueWaitsForTheRunningCallback) {
  Probe probe;
  probe.block = true;
  HANDLE timer = nullptr;
  ASSERT_TRUE(CreateTimerQueueTimer(&timer, nullptr, ProbeCallback, &probe, 0, 0, 0));
  AwaitSignal(probe.entered.Get());

  UniqueKernelHandle returned = MakeEvent(true);
  std::atomic<BOOL> result{FALSE};
  std::atomic<int> callsSeenAtReturn{-1};
  std::thread deleting([&] {
    result = DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE);
    callsSeenAtReturn = probe.calls.load();
    SetEvent(returned.Get());
  });
  ExpectNoSignal(returned.Get());
  SetEvent(probe.release.Get());
  AwaitSignal(returned.Get());
  deleting.join();
  EXPECT_TRUE(result.load());
  EXPECT_EQ(callsSeenAtReturn.load(), 1);
  ExpectNoSignal(probe.entered.Get());
}

TEST_F(ThreadPoolTest, DeleteTimerQueueTimerWithAnEventReportsPendingAndSignalsItWhenTheRunningCallbackEnds) {
  Probe probe;
  probe.block = true;
  UniqueKernelHandle completion = MakeEvent(true);
  HANDLE timer = nullptr;
  ASSERT_TRUE(CreateTimerQueueTimer(&timer, nullptr, ProbeCallback, &probe, 0, 0, 0));
  AwaitSignal(probe.entered.Get());
  EXPECT_FALSE(DeleteTimerQueueTimer(nullptr, timer, completion.Get()));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
  ExpectNoSignal(completion.Get());
  SetEvent(probe.release.Get());
  AwaitSignal(completion.Get());
  EXPECT_EQ(probe.calls.load(), 1);
  EXPECT_EQ(probe.inside.load(), 0);
}

// A timer's callback deletes its own timer with `completion`: the call reports ERROR_IO_PENDING
// and the timer fires no more.
void ExpectDeleteFromOwnCallbackReportsIoPending(HANDLE completion) {
  Probe probe;
  probe.selfCompletion = completion;
  HANDLE timer = nullptr;
  // The callback finds its own handle in the probe; the timer is due only after it is stored.
  ASSERT_TRUE(CreateTimerQueueTimer(&timer, nullptr, DeleteSelfCallback, &probe, 3600000, 0, 0));
  probe.self = timer;
  ASSERT_TRUE(ChangeTimerQueueTimer(nullptr, timer, 0, 0));
  ASSERT_EQ(WaitForSingleObject(probe.left.Get(), kLongWait), WAIT_OBJECT_0);
  EXPECT_FALSE(probe.selfResult.load());
  EXPECT_EQ(probe.selfError.load(), static_cast<DWORD>(ERROR_IO_PENDING));
  EXPECT_EQ(WaitForSingleObject(probe.left.Get(), kQuietTime), WAIT_TIMEOUT);
  EXPECT_EQ(probe.calls.load(), 1);
}

TEST_F(ThreadPoolTest, DeleteTimerQueueTimerWithNullFromItsOwnCallbackReportsIoPending) {
  ExpectDeleteFromOwnCallbackReportsIoPending(nullptr);
}

TEST_F(ThreadPoolTest, DeleteTimerQueueTimerFromItsOwnCallbackReportsIoPending) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "Windows forbids a blocking delete from the timer's own callback: it never returns";
  }
  ExpectDeleteFromOwnCallbackReportsIoPending(INVALID_HANDLE_VALUE);
}

TEST_F(ThreadPoolTest, DeleteTimerQueueTimerRejectsACompletionThatIsNotAnEvent) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "Windows takes any completion handle and only fails to signal it later";
  }
  Probe probe;
  UniqueTimer timer;
  ASSERT_TRUE(CreateTimerQueueTimer(timer.Put(), nullptr, ProbeCallback, &probe, 3600000, 0, 0));
  int notAHandle = 0;
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(DeleteTimerQueueTimer(nullptr, timer.Get(), &notAHandle));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  // The timer is still there.
  EXPECT_TRUE(ChangeTimerQueueTimer(nullptr, timer.Get(), 3600000, 0));
}

}  // namespace
}  // namespace Platform
