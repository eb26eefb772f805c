// Sleeping on 32-bit words and waking their sleepers (Linux futexes), for the objects of the Linux
// platform layer that need more than a condition variable: a word in memory shared with other
// processes, or a sleep on two words at once.
#pragma once

#include <time.h>

#include <cstdint>
#include <span>

namespace Platform::Posix {

// A word to sleep on while it holds `value`. A word of memory shared with other processes needs
// `shared`, and its wakers must wake it as shared too.
struct FutexWait {
  std::uint32_t* word = nullptr;
  std::uint32_t value = 0;
  bool shared = false;
};

enum class FutexWaitResult {
  Woken,     // woken, or a word no longer held its value; spurious returns are possible
  TimedOut,  // the deadline passed
};

// The deadline `milliseconds` from now, on the clock that the sleeps below take.
timespec FutexDeadline(unsigned milliseconds);

// Sleeps while `word` holds `value`, until woken or until `deadline` (null: none). Any thread.
FutexWaitResult FutexSleep(const FutexWait& wait, const timespec* deadline);

// Whether FutexSleepOnAny can sleep on more than one word on this kernel (Linux 5.16 and later).
bool FutexCanSleepOnSeveral();

// Sleeps while every word holds its value, until one of them is woken or `deadline` (null: none)
// passes. At most eight words; more than one needs FutexCanSleepOnSeveral. Any thread.
FutexWaitResult FutexSleepOnAny(std::span<const FutexWait> waits, const timespec* deadline);

// Wakes every sleeper on `word`. Any thread.
void FutexWakeAll(const std::uint32_t* word, bool shared);

}  // namespace Platform::Posix
