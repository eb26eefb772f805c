// The system thread pool's work items, and callbacks that block.
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

struct WorkContext {
  UniqueKernelHandle done = MakeEvent(true);
  std::atomic<DWORD> threadId{0};
};

DWORD RecordThread(void* context) {
  auto* work = static_cast<WorkContext*>(context);
  work->threadId = GetCurrentThreadId();
  SetEvent(work->done.Get());
  return 0;
}

TEST_F(ThreadPoolTest, QueueUserWorkItemRunsTheFunctionOnAPoolThread) {
  WorkContext work;
  ASSERT_TRUE(QueueUserWorkItem(RecordThread, &work, 0));
  AwaitSignal(work.done.Get());
  EXPECT_NE(work.threadId.load(), 0u);
  EXPECT_NE(work.threadId.load(), GetCurrentThreadId());
}

TEST_F(ThreadPoolTest, QueueUserWorkItemAcceptsThePersistentThreadFlag) {
  WorkContext work;
  ASSERT_TRUE(QueueUserWorkItem(RecordThread, &work, WT_EXECUTEINPERSISTENTTHREAD));
  AwaitSignal(work.done.Get());
}

TEST_F(ThreadPoolTest, QueueUserWorkItemRejectsANullFunction) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "the system pool does not check the function: it queues a null one, which then faults on a "
                    "pool thread";
  }
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(QueueUserWorkItem(nullptr, nullptr, 0));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

// Each item waits until all of them run at once, so the pool must grow to that many workers.
struct Gathering {
  static constexpr int kCount = 8;
  std::atomic<int> arrived{0};
  UniqueKernelHandle allThere = MakeEvent(true);
  UniqueKernelHandle finished = MakeEvent(false);
  std::atomic<int> done{0};
};

DWORD Gather(void* context) {
  auto* gathering = static_cast<Gathering*>(context);
  if (++gathering->arrived == Gathering::kCount) SetEvent(gathering->allThere.Get());
  const DWORD result = WaitForSingleObject(gathering->allThere.Get(), kLongWait);
  if (result == WAIT_OBJECT_0 && ++gathering->done == Gathering::kCount) SetEvent(gathering->finished.Get());
  return 0;
}

TEST_F(ThreadPoolTest, BlockedWorkItemsDoNotHoldUpOtherWorkItems) {
  Gathering gathering;
  for (int i = 0; i < Gathering::kCount; ++i) ASSERT_TRUE(QueueUserWorkItem(Gather, &gathering, 0));
  AwaitSignal(gathering.finished.Get());
  EXPECT_EQ(gathering.done.load(), Gathering::kCount);
}

DWORD BlockOnProbe(void* context) {
  auto* probe = static_cast<Probe*>(context);
  SetEvent(probe->entered.Get());
  WaitForSingleObject(probe->release.Get(), INFINITE);
  SetEvent(probe->left.Get());
  return 0;
}

TEST_F(ThreadPoolTest, BlockedCallbackDoesNotDelayTimersOrWaits) {
  Probe blocker;
  ASSERT_TRUE(QueueUserWorkItem(BlockOnProbe, &blocker, 0));
  AwaitSignal(blocker.entered.Get());

  Probe timerProbe;
  UniqueTimer timer;
  ASSERT_TRUE(CreateTimerQueueTimer(timer.Put(), nullptr, ProbeCallback, &timerProbe, 10, 0, 0));
  AwaitSignal(timerProbe.left.Get());

  Probe waitProbe;
  UniqueKernelHandle event = MakeEvent(false);
  UniqueWait wait;
  ASSERT_TRUE(RegisterWaitForSingleObject(wait.Put(), event.Get(), ProbeCallback, &waitProbe, INFINITE, 0));
  ASSERT_TRUE(SetEvent(event.Get()));
  AwaitSignal(waitProbe.left.Get());

  SetEvent(blocker.release.Get());
  AwaitSignal(blocker.left.Get());
}

}  // namespace
}  // namespace Platform
