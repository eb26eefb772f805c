// The futex sleeps of the Linux platform layer: on one word, on two, across processes, with a
// deadline. Windows has no such layer.
#include <gtest/gtest.h>

#if !defined(_WIN32)

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/posix/futex.h"

using namespace Platform::Posix;

namespace {

constexpr unsigned kLongWait = 10000;

TEST(FutexTest, SleepReturnsAtOnceWhenTheWordNoLongerHoldsTheValue) {
  std::uint32_t word = 2;
  timespec deadline = FutexDeadline(kLongWait);
  EXPECT_EQ(FutexWaitResult::Woken, FutexSleep({&word, 1, false}, &deadline));
}

TEST(FutexTest, SleepTimesOutNoEarlierThanItsDeadline) {
  std::uint32_t word = 1;
  const auto began = std::chrono::steady_clock::now();
  timespec deadline = FutexDeadline(30);
  EXPECT_EQ(FutexWaitResult::TimedOut, FutexSleep({&word, 1, false}, &deadline));
  EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(30));
}

TEST(FutexTest, SleepOnTwoWordsEndsWhenTheSecondIsChangedAndWoken) {
  if (!FutexCanSleepOnSeveral()) GTEST_SKIP() << "this kernel cannot sleep on two words";
  std::uint32_t first = 0, second = 0;
  std::atomic<bool> sleeping{false};
  std::thread waker([&] {
    while (!sleeping) std::this_thread::yield();
    std::atomic_ref(second).store(1);
    FutexWakeAll(&second, false);
  });
  const FutexWait waits[] = {{&first, 0, false}, {&second, 0, false}};
  timespec deadline = FutexDeadline(kLongWait);
  sleeping = true;
  FutexWaitResult result = FutexWaitResult::Woken;
  // A wake-up may come before the change is seen; sleep again until it is.
  while (std::atomic_ref(second).load() == 0 && result == FutexWaitResult::Woken) {
    result = FutexSleepOnAny(waits, &deadline);
  }
  waker.join();
  EXPECT_EQ(FutexWaitResult::Woken, result);
  EXPECT_EQ(0u, first);
}

TEST(FutexTest, SleepOnTwoWordsTimesOutWhenNeitherChanges) {
  if (!FutexCanSleepOnSeveral()) GTEST_SKIP() << "this kernel cannot sleep on two words";
  std::uint32_t first = 0, second = 0;
  const FutexWait waits[] = {{&first, 0, false}, {&second, 0, true}};
  timespec deadline = FutexDeadline(20);
  EXPECT_EQ(FutexWaitResult::TimedOut, FutexSleepOnAny(waits, &deadline));
}

TEST(FutexTest, SharedWordIsWokenByAnotherProcess) {
  if (!FutexCanSleepOnSeveral()) GTEST_SKIP() << "this kernel cannot sleep on two words";
  void* memory = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, memory);
  auto* shared = static_cast<std::uint32_t*>(memory);
  std::uint32_t own = 0;
  pid_t child = ::fork();
  ASSERT_NE(-1, child);
  if (child == 0) {
    ::usleep(20000);
    std::atomic_ref(*shared).store(1);
    FutexWakeAll(shared, true);
    ::_exit(0);
  }
  const FutexWait waits[] = {{shared, 0, true}, {&own, 0, false}};
  timespec deadline = FutexDeadline(kLongWait);
  FutexWaitResult result = FutexWaitResult::Woken;
  while (std::atomic_ref(*shared).load() == 0 && result == FutexWaitResult::Woken) {
    result = FutexSleepOnAny(waits, &deadline);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(FutexWaitResult::Woken, result);
  EXPECT_EQ(1u, std::atomic_ref(*shared).load());
  ::munmap(memory, 4096);
}

}  // namespace

#endif  // !defined(_WIN32)
