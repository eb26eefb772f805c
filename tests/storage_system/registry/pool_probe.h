// A probe between the storage code and the platform's pool, linked in with the linker's --wrap:
// it counts the timer-queue timers alive in the process and can make the calling thread's next
// CreateEventW fail.
#pragma once

#include <cstdint>

namespace Testing::PoolProbe {

// Timers created and not yet handed to a DeleteTimerQueueTimer that succeeded or left the timer to
// go when its running callback ends.
std::int64_t LiveTimers();
// The most that were alive at once since the last reset.
std::int64_t PeakTimers();
void ResetPeakTimers();
// Timers created since the start of the process.
std::int64_t TimersCreated();

// The calling thread's next CreateEventW returns null with ERROR_NOT_ENOUGH_MEMORY.
void FailNextCreateEventOnThisThread();

}  // namespace Testing::PoolProbe
