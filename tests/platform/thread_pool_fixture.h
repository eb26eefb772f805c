// What the thread pool tests share: a probe that a callback under test reports to and is held by,
// the callbacks that end their own wait or timer, and the bounds of the waits.
#pragma once

#include <gtest/gtest.h>

#include <atomic>

#include "platform/synchronization.h"
#include "platform/system_error.h"
#include "platform/thread_pool.h"
#include "platform/unique_handle.h"

namespace Platform::PoolTesting {

// Bound for waits that should end promptly; generous so that a loaded machine does not fail.
inline constexpr DWORD kLongWait = 10000;
// How long a test watches for something that must not happen.
inline constexpr DWORD kQuietTime = 200;

inline UniqueKernelHandle MakeEvent(bool manualReset) {
  UniqueKernelHandle event(CreateEventW(nullptr, manualReset ? TRUE : FALSE, FALSE, nullptr));
  EXPECT_TRUE(event);
  return event;
}

// What a callback under test reports, and what lets it go on. The callback signals `entered`, waits
// for `release` if `block` is set, counts itself and signals `left`.
struct Probe {
  UniqueKernelHandle entered = MakeEvent(false);
  UniqueKernelHandle release = MakeEvent(true);
  UniqueKernelHandle left = MakeEvent(false);
  bool block = false;
  std::atomic<int> calls{0};
  std::atomic<int> inside{0};
  std::atomic<int> firedTrue{0};
  std::atomic<int> firedFalse{0};
  // The pool object under test, for callbacks that end their own wait or timer.
  std::atomic<HANDLE> self{nullptr};
  HANDLE selfCompletion = nullptr;
  std::atomic<BOOL> selfResult{TRUE};
  std::atomic<DWORD> selfError{ERROR_SUCCESS};
};

inline void ProbeCallback(void* context, BOOLEAN timerOrWaitFired) {
  auto* probe = static_cast<Probe*>(context);
  ++probe->inside;
  ++(timerOrWaitFired ? probe->firedTrue : probe->firedFalse);
  SetEvent(probe->entered.Get());
  if (probe->block) WaitForSingleObject(probe->release.Get(), INFINITE);
  ++probe->calls;
  --probe->inside;
  SetEvent(probe->left.Get());
}

inline void UnregisterSelfCallback(void* context, BOOLEAN) {
  auto* probe = static_cast<Probe*>(context);
  ++probe->calls;
  SetLastError(ERROR_SUCCESS);
  probe->selfResult = UnregisterWaitEx(probe->self.load(), probe->selfCompletion);
  probe->selfError = GetLastError();
  SetEvent(probe->left.Get());
}

inline void DeleteSelfCallback(void* context, BOOLEAN) {
  auto* probe = static_cast<Probe*>(context);
  ++probe->calls;
  SetLastError(ERROR_SUCCESS);
  probe->selfResult = DeleteTimerQueueTimer(nullptr, probe->self.load(), probe->selfCompletion);
  probe->selfError = GetLastError();
  SetEvent(probe->left.Get());
}

class ThreadPoolTest : public ::testing::Test {
protected:
  // Waits until `handle` is signalled, failing the test after the long bound.
  static void AwaitSignal(HANDLE handle) { ASSERT_EQ(WaitForSingleObject(handle, kLongWait), WAIT_OBJECT_0); }
  // Checks that `handle` stays unsignalled for the quiet time.
  static void ExpectNoSignal(HANDLE handle) { EXPECT_EQ(WaitForSingleObject(handle, kQuietTime), WAIT_TIMEOUT); }
};

}  // namespace Platform::PoolTesting
