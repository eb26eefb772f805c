#include "platform/posix/futex.h"

#include <errno.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>

namespace Platform::Posix {
namespace {

long FutexCall(const std::uint32_t* word, int operation, std::uint32_t value, const timespec* timeout,
               std::uint32_t bitset) {
  return ::syscall(SYS_futex, word, operation, value, timeout, nullptr, bitset);
}

long FutexWaitV(std::span<const FutexWait> waits, const timespec* deadline) {
  futex_waitv vector[8] = {};
  for (std::size_t i = 0; i < waits.size(); ++i) {
    vector[i].uaddr = reinterpret_cast<std::uintptr_t>(waits[i].word);
    vector[i].val = waits[i].value;
    vector[i].flags = FUTEX_32 | (waits[i].shared ? 0 : FUTEX_PRIVATE_FLAG);
  }
  return ::syscall(SYS_futex_waitv, vector, static_cast<unsigned>(waits.size()), 0u, deadline, CLOCK_MONOTONIC);
}

FutexWaitResult ResultOf(long result) {
  return result < 0 && errno == ETIMEDOUT ? FutexWaitResult::TimedOut : FutexWaitResult::Woken;
}

}  // namespace

timespec FutexDeadline(unsigned milliseconds) {
  timespec deadline{};
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += milliseconds / 1000;
  deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
  if (deadline.tv_nsec >= 1000000000L) {
    deadline.tv_nsec -= 1000000000L;
    ++deadline.tv_sec;
  }
  return deadline;
}

FutexWaitResult FutexSleep(const FutexWait& wait, const timespec* deadline) {
  // The bitset form takes an absolute deadline on the monotonic clock, so that a sleep cut short
  // by a signal or a spurious wake-up keeps its end.
  int operation = FUTEX_WAIT_BITSET | (wait.shared ? 0 : FUTEX_PRIVATE_FLAG);
  return ResultOf(FutexCall(wait.word, operation, wait.value, deadline, FUTEX_BITSET_MATCH_ANY));
}

bool FutexCanSleepOnSeveral() {
  // An empty vector is refused with EINVAL where the call exists and ENOSYS where it does not.
  static const bool available = ::syscall(SYS_futex_waitv, nullptr, 0u, 0u, nullptr, CLOCK_MONOTONIC) == 0 ||
                                errno != ENOSYS;
  return available;
}

FutexWaitResult FutexSleepOnAny(std::span<const FutexWait> waits, const timespec* deadline) {
  if (waits.size() == 1) return FutexSleep(waits[0], deadline);
  return ResultOf(FutexWaitV(waits, deadline));
}

void FutexWakeAll(const std::uint32_t* word, bool shared) {
  FutexCall(word, FUTEX_WAKE | (shared ? 0 : FUTEX_PRIVATE_FLAG), INT_MAX, nullptr, 0);
}

}  // namespace Platform::Posix
