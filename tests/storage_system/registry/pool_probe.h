// A probe between the storage code and the platform's pool, standing in the platform's test seam
// (probe_installation.cpp installs it for the whole suite): it counts the timer-queue timers alive in the process and
// tells which timer's callback is running on a thread, holds or counts work items, and can make the next CreateEventW
// of a thread or the next ChangeTimerQueueTimer fail.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/test_seam.h"
#include "platform/thread_pool.h"

namespace Testing::PoolProbe {

// Puts the probe's stand-ins into `hooks`.
void AddHooks(Platform::TestSeam::Hooks& hooks);

// Timers created and not yet handed to a DeleteTimerQueueTimer that succeeded or left the timer to
// go when its running callback ends.
std::int64_t LiveTimers();
// The most that were alive at once since the last reset.
std::int64_t PeakTimers();
void ResetPeakTimers();
// Timers created since the start of the process.
std::int64_t TimersCreated();
// Timers are known by their number in the order of creation, from 1: the system may give a new
// timer the handle value of one that was deleted.
// Whether the timer has been handed to a DeleteTimerQueueTimer that succeeded or left it to go when
// its running callback ends.
bool TimerDeleted(std::uint64_t timer);
// The handle that the timer was given.
Platform::HANDLE TimerHandle(std::uint64_t timer);

// The timer whose callback runs on the calling thread: its number, the due time its creator asked
// for at its last creation or move, and the moment of that request. Empty outside a timer callback.
struct TimerRun {
  std::uint64_t timer;
  Platform::DWORD dueTime;
  std::chrono::steady_clock::time_point armedAt;
};
std::optional<TimerRun> CurrentTimerRun();

// Adds `milliseconds` to the due time of every timer created or moved from now on (0 ends it), so
// that a test can act while a postponement is certainly still pending. TimerRun keeps the due time
// that the creator asked for.
void DelayTimers(Platform::DWORD milliseconds);

// The calling thread's next CreateEventW returns null with ERROR_NOT_ENOUGH_MEMORY.
void FailNextCreateEventOnThisThread();
// The next ChangeTimerQueueTimer, on whatever thread, returns FALSE with ERROR_NOT_ENOUGH_MEMORY and
// leaves the timer as it was.
void FailNextChangeTimer();
// The number of the timer of the last ChangeTimerQueueTimer that was made to fail, or 0.
std::uint64_t FailedChangeTimer();

// Work items queued with QueueUserWorkItem since the start of the process, and those whose
// function has returned.
std::int64_t WorkItemsQueued();
std::int64_t WorkItemsDone();
// Waits until every queued work item has returned; false when `limit` passed first.
bool WaitForWorkItemsDone(std::chrono::milliseconds limit);
// From now on work items wait on their pool thread before their function runs, until
// ReleaseWorkItems.
void HoldWorkItems();
void ReleaseWorkItems();

}  // namespace Testing::PoolProbe
