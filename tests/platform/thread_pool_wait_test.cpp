// The system thread pool's registered waits: firing, time-outs and unregistering.
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

TEST_F(ThreadPoolTest, RepeatedWaitOnAnAutoResetEventFiresOncePerSignal) {
  Probe probe;
  UniqueKernelHandle event = MakeEvent(false);
  UniqueWait wait;
  ASSERT_TRUE(RegisterWaitForSingleObject(wait.Put(), event.Get(), ProbeCallback, &probe, INFINITE, 0));
  constexpr int kSignals = 5;
  for (int i = 0; i < kSignals; ++i) {
    ASSERT_TRUE(SetEvent(event.Get()));
    AwaitSignal(probe.left.Get());
  }
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), kSignals);
  EXPECT_EQ(probe.firedFalse.load(), kSignals);
  EXPECT_EQ(probe.firedTrue.load(), 0);
  // The wait took each signal: the event is reset.
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_TIMEOUT);
}

TEST_F(ThreadPoolTest, ExecuteOnlyOnceWaitFiresOnce) {
  Probe probe;
  UniqueKernelHandle event = MakeEvent(false);
  UniqueWait wait;
  ASSERT_TRUE(
      RegisterWaitForSingleObject(wait.Put(), event.Get(), ProbeCallback, &probe, INFINITE, WT_EXECUTEONLYONCE));
  ASSERT_TRUE(SetEvent(event.Get()));
  AwaitSignal(probe.left.Get());
  ASSERT_TRUE(SetEvent(event.Get()));
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 1);
  // Nobody took the second signal.
  EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
}

TEST_F(ThreadPoolTest, ExecuteOnlyOnceWaitOnAManualResetEventFiresOnce) {
  Probe probe;
  UniqueKernelHandle event = MakeEvent(true);
  UniqueWait wait;
  ASSERT_TRUE(
      RegisterWaitForSingleObject(wait.Put(), event.Get(), ProbeCallback, &probe, INFINITE, WT_EXECUTEONLYONCE));
  ASSERT_TRUE(SetEvent(event.Get()));
  AwaitSignal(probe.left.Get());
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 1);
}

TEST_F(ThreadPoolTest, WaitThatTimesOutFiresWithTimerOrWaitFiredTrue) {
  Probe probe;
  UniqueKernelHandle event = MakeEvent(false);
  UniqueWait wait;
  const auto start = Clock::now();
  ASSERT_TRUE(RegisterWaitForSingleObject(wait.Put(), event.Get(), ProbeCallback, &probe, 50, WT_EXECUTEONLYONCE));
  AwaitSignal(probe.entered.Get());
  // Windows measures due times on a coarser clock than std::chrono's, so a timer may fire up to a
  // clock tick before 50 ms have passed on the test's clock; it must not fire anywhere near at once.
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(40));
  AwaitSignal(probe.left.Get());
  EXPECT_EQ(probe.firedTrue.load(), 1);
  EXPECT_EQ(probe.firedFalse.load(), 0);
}

TEST_F(ThreadPoolTest, RepeatedWaitTimesOutAgainAfterEachTimeOut) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "Wine's pool times a repeated wait out once only; Windows starts the interval again";
  }
  Probe probe;
  UniqueKernelHandle event = MakeEvent(false);
  UniqueWait wait;
  ASSERT_TRUE(RegisterWaitForSingleObject(wait.Put(), event.Get(), ProbeCallback, &probe, 10, 0));
  for (int i = 0; i < 3; ++i) AwaitSignal(probe.left.Get());
  wait.Reset();
  EXPECT_GE(probe.firedTrue.load(), 3);
  EXPECT_EQ(probe.firedFalse.load(), 0);
}

TEST_F(ThreadPoolTest, RegisterWaitRejectsAHandleThatIsNotOpen) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "the system registers a wait on any handle value; a bad one fails later, in the pool's wait thread";
  }
  Probe probe;
  HANDLE wait = nullptr;
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(RegisterWaitForSingleObject(&wait, nullptr, ProbeCallback, &probe, INFINITE, 0));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(ThreadPoolTest, WaitOutlivesTheClosingOfItsEventHandle) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "Windows leaves undefined what a pending wait does when its handle is closed";
  }
  Probe probe;
  HANDLE event = CreateEventW(nullptr, FALSE, TRUE, nullptr);
  ASSERT_NE(event, nullptr);
  UniqueWait wait;
  ASSERT_TRUE(RegisterWaitForSingleObject(wait.Put(), event, ProbeCallback, &probe, INFINITE, 0));
  ASSERT_TRUE(CloseHandle(event));
  AwaitSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 1);
}

TEST_F(ThreadPoolTest, CloseHandleRefusesAWaitHandle) {
  Probe probe;
  UniqueKernelHandle event = MakeEvent(false);
  UniqueWait wait;
  ASSERT_TRUE(RegisterWaitForSingleObject(wait.Put(), event.Get(), ProbeCallback, &probe, INFINITE, 0));
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(CloseHandle(wait.Get()));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  ASSERT_TRUE(SetEvent(event.Get()));
  AwaitSignal(probe.left.Get());
}

TEST_F(ThreadPoolTest, UnregisterWaitExWithNullReportsIoPendingWhileACallbackRuns) {
  Probe probe;
  probe.block = true;
  UniqueKernelHandle event = MakeEvent(false);
  HANDLE wait = nullptr;
  ASSERT_TRUE(RegisterWaitForSingleObject(&wait, event.Get(), ProbeCallback, &probe, INFINITE, 0));
  ASSERT_TRUE(SetEvent(event.Get()));
  AwaitSignal(probe.entered.Get());

  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(UnregisterWaitEx(wait, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
  // The wait is gone all the same: a new signal starts nothing, and the handle is closed.
  ASSERT_TRUE(SetEvent(event.Get()));
  SetEvent(probe.release.Get());
  AwaitSignal(probe.left.Get());
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 1);
}

TEST_F(ThreadPoolTest, UnregisterWaitExRefusesAWaitThatIsAlreadyEnded) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "on Windows a wait handle points into the pool and is freed once the wait ends";
  }
  Probe probe;
  UniqueKernelHandle event = MakeEvent(false);
  HANDLE wait = nullptr;
  ASSERT_TRUE(RegisterWaitForSingleObject(&wait, event.Get(), ProbeCallback, &probe, INFINITE, 0));
  ASSERT_TRUE(UnregisterWaitEx(wait, INVALID_HANDLE_VALUE));
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(UnregisterWaitEx(wait, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(ThreadPoolTest, UnregisterWaitExWithNullSucceedsWhenNoCallbackRuns) {
  Probe probe;
  UniqueKernelHandle event = MakeEvent(false);
  HANDLE wait = nullptr;
  ASSERT_TRUE(RegisterWaitForSingleObject(&wait, event.Get(), ProbeCallback, &probe, INFINITE, 0));
  EXPECT_TRUE(UnregisterWaitEx(wait, nullptr));
  ASSERT_TRUE(SetEvent(event.Get()));
  ExpectNoSignal(probe.left.Get());
  EXPECT_EQ(probe.calls.load(), 0);
}

TEST_F(ThreadPoolTest, UnregisterWaitExWithInvalidHandleValueWaitsForTheRunningCallback) {
  Probe probe;
  probe.block = true;
  UniqueKernelHandle event = MakeEvent(false);
  HANDLE wait = nullptr;
  ASSERT_TRUE(RegisterWaitForSingleObject(&wait, event.Get(), ProbeCallback, &probe, INFINITE, 0));
  ASSERT_TRUE(SetEvent(event.Get()));
  AwaitSignal(probe.entered.Get());

  UniqueKernelHandle returned = MakeEvent(true);
  std::atomic<BOOL> result{FALSE};
  std::atomic<int> callsSeenAtReturn{-1};
  std::thread unregistering([&] {
    result = UnregisterWaitEx(wait, INVALID_HANDLE_VALUE);
    callsSeenAtReturn = probe.calls.load();
    SetEvent(returned.Get());
  });
  ExpectNoSignal(returned.Get());
  SetEvent(probe.release.Get());
  AwaitSignal(returned.Get());
  unregistering.join();
  EXPECT_TRUE(result.load());
  EXPECT_EQ(callsSeenAtReturn.load(), 1);
  EXPECT_EQ(probe.inside.load(), 0);
}

TEST_F(ThreadPoolTest, UnregisterWaitExWithAnEventReportsPendingAndSignalsItWhenTheRunningCallbackEnds) {
  Probe probe;
  probe.block = true;
  UniqueKernelHandle event = MakeEvent(false);
  UniqueKernelHandle completion = MakeEvent(true);
  HANDLE wait = nullptr;
  ASSERT_TRUE(RegisterWaitForSingleObject(&wait, event.Get(), ProbeCallback, &probe, INFINITE, 0));
  ASSERT_TRUE(SetEvent(event.Get()));
  AwaitSignal(probe.entered.Get());

  EXPECT_FALSE(UnregisterWaitEx(wait, completion.Get()));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
  ExpectNoSignal(completion.Get());
  SetEvent(probe.release.Get());
  AwaitSignal(completion.Get());
  EXPECT_EQ(probe.calls.load(), 1);
  EXPECT_EQ(probe.inside.load(), 0);
}

TEST_F(ThreadPoolTest, UnregisterWaitExWithAnEventSignalsItAtOnceWhenNoCallbackRuns) {
  Probe probe;
  UniqueKernelHandle event = MakeEvent(false);
  UniqueKernelHandle completion = MakeEvent(true);
  HANDLE wait = nullptr;
  ASSERT_TRUE(RegisterWaitForSingleObject(&wait, event.Get(), ProbeCallback, &probe, INFINITE, 0));
  EXPECT_TRUE(UnregisterWaitEx(wait, completion.Get()));
  EXPECT_EQ(WaitForSingleObject(completion.Get(), 0), WAIT_OBJECT_0);
}

TEST_F(ThreadPoolTest, UnregisterWaitExRejectsAHandleThatIsNotOpen) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "on Windows a wait handle points into the pool; any other value is undefined there";
  }
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(UnregisterWaitEx(nullptr, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  UniqueKernelHandle event = MakeEvent(false);
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(UnregisterWaitEx(event.Get(), INVALID_HANDLE_VALUE));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

// A wait's callback ends its own wait with `completion`: the call reports ERROR_IO_PENDING and
// the wait fires no more.
void ExpectUnregisterFromOwnCallbackReportsIoPending(HANDLE completion) {
  Probe probe;
  probe.selfCompletion = completion;
  UniqueKernelHandle event = MakeEvent(false);
  HANDLE wait = nullptr;
  ASSERT_TRUE(RegisterWaitForSingleObject(&wait, event.Get(), UnregisterSelfCallback, &probe, INFINITE, 0));
  probe.self = wait;
  ASSERT_TRUE(SetEvent(event.Get()));
  ASSERT_EQ(WaitForSingleObject(probe.left.Get(), kLongWait), WAIT_OBJECT_0);
  EXPECT_FALSE(probe.selfResult.load());
  EXPECT_EQ(probe.selfError.load(), static_cast<DWORD>(ERROR_IO_PENDING));
  ASSERT_TRUE(SetEvent(event.Get()));
  EXPECT_EQ(WaitForSingleObject(probe.left.Get(), kQuietTime), WAIT_TIMEOUT);
  EXPECT_EQ(probe.calls.load(), 1);
}

TEST_F(ThreadPoolTest, UnregisterWaitExWithNullFromItsOwnCallbackReportsIoPending) {
  ExpectUnregisterFromOwnCallbackReportsIoPending(nullptr);
}

TEST_F(ThreadPoolTest, UnregisterWaitExFromItsOwnCallbackDoesNotWaitForItself) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "Windows forbids a blocking unregister from the wait's own callback: it never returns";
  }
  ExpectUnregisterFromOwnCallbackReportsIoPending(INVALID_HANDLE_VALUE);
}

// Callbacks overlap while a signaller keeps the event busy; after the blocking unregister returns,
// none is running and none starts.
struct Storm {
  UniqueKernelHandle event = MakeEvent(false);
  std::atomic<int> started{0};
  std::atomic<int> running{0};
  UniqueKernelHandle fewStarted = MakeEvent(true);
};

void StormCallback(void* context, BOOLEAN) {
  auto* storm = static_cast<Storm*>(context);
  ++storm->running;
  if (++storm->started == 20) SetEvent(storm->fewStarted.Get());
  std::this_thread::yield();
  --storm->running;
}

TEST_F(ThreadPoolTest, NoCallbackRunsAfterABlockingUnregisterReturns) {
  Storm storm;
  HANDLE wait = nullptr;
  ASSERT_TRUE(RegisterWaitForSingleObject(&wait, storm.event.Get(), StormCallback, &storm, INFINITE, 0));
  std::atomic<bool> stop{false};
  std::thread signaller([&] {
    while (!stop) SetEvent(storm.event.Get());
  });
  AwaitSignal(storm.fewStarted.Get());
  ASSERT_TRUE(UnregisterWaitEx(wait, INVALID_HANDLE_VALUE));
  const int startedAtReturn = storm.started.load();
  EXPECT_EQ(storm.running.load(), 0);
  // Let the signaller go on for a while; nothing may start.
  UniqueKernelHandle never = MakeEvent(true);
  ExpectNoSignal(never.Get());
  stop = true;
  signaller.join();
  EXPECT_EQ(storm.started.load(), startedAtReturn);
}

}  // namespace
}  // namespace Platform
