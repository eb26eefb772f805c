#include "tests/storage_system/registry/pool_probe.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include "platform/synchronization.h"
#include "platform/system_error.h"

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<std::int64_t> liveTimers{0};
std::atomic<std::int64_t> peakTimers{0};
std::atomic<std::int64_t> timersCreated{0};
std::atomic<Platform::DWORD> extraDueTime{0};
std::atomic<bool> failNextChangeTimer{false};
std::atomic<std::uint64_t> failedChangeTimer{0};
thread_local bool failNextCreateEvent = false;

// What the probe knows of one timer. The callback of the timer gets the record as its context and
// passes the creator's context on. Records live for the process, so that a late callback finds its own.
struct TimerRecord {
  std::uint64_t number = 0;
  Platform::WAITORTIMERCALLBACK callback = nullptr;
  void* context = nullptr;
  std::atomic<Platform::HANDLE> handle{nullptr};
  std::atomic<Platform::DWORD> dueTime{0};
  std::atomic<Clock::rep> armedAt{0};
  std::atomic<bool> deleted{false};
};

// Pool threads may still run callbacks and work items while the process exits, after a test's
// last wait: what they touch is never destroyed.
std::mutex& timerMutex = *new std::mutex;
std::deque<TimerRecord>& timerRecords = *new std::deque<TimerRecord>;
// The newest record of each handle value; the system may use a value again after a deletion.
std::map<Platform::HANDLE, TimerRecord*>& timersByHandle = *new std::map<Platform::HANDLE, TimerRecord*>;
thread_local TimerRecord* runningTimer = nullptr;

TimerRecord* FindTimer(Platform::HANDLE timer) {
  std::lock_guard<std::mutex> lock(timerMutex);
  auto found = timersByHandle.find(timer);
  return found != timersByHandle.end() ? found->second : nullptr;
}

void TimerTrampoline(void* context, Platform::BOOLEAN timerOrWaitFired) {
  auto* record = static_cast<TimerRecord*>(context);
  TimerRecord* outer = runningTimer;
  runningTimer = record;
  record->callback(record->context, timerOrWaitFired);
  runningTimer = outer;
}

std::mutex& workMutex = *new std::mutex;
std::condition_variable& workChanged = *new std::condition_variable;
bool holdWork = false;
std::int64_t workQueued = 0;
std::int64_t workDone = 0;

struct WorkRecord {
  Platform::LPTHREAD_START_ROUTINE function;
  void* context;
};

Platform::DWORD WorkTrampoline(void* context) {
  auto* record = static_cast<WorkRecord*>(context);
  {
    std::unique_lock<std::mutex> lock(workMutex);
    workChanged.wait(lock, [] { return !holdWork; });
  }
  const Platform::DWORD result = record->function(record->context);
  delete record;
  {
    std::lock_guard<std::mutex> lock(workMutex);
    ++workDone;
  }
  workChanged.notify_all();
  return result;
}

// The probe's stand-ins for the platform's calls (see AddHooks). Each calls the platform's own
// function by its name: inside a hook the seam lets the call through.
Platform::HANDLE CreateEventHook(const Platform::SECURITY_ATTRIBUTES* attributes, Platform::BOOL manualReset,
                                 Platform::BOOL initialState, const char16_t* name) {
  if (failNextCreateEvent) {
    failNextCreateEvent = false;
    Platform::SetLastError(Platform::ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  return Platform::CreateEventW(attributes, manualReset, initialState, name);
}

Platform::BOOL CreateTimerHook(Platform::HANDLE* newTimer, Platform::HANDLE timerQueue,
                               Platform::WAITORTIMERCALLBACK callback, void* context, Platform::DWORD dueTime,
                               Platform::DWORD period, Platform::ULONG flags) {
  TimerRecord* record = nullptr;
  {
    std::lock_guard<std::mutex> lock(timerMutex);
    record = &timerRecords.emplace_back();
    record->number = timerRecords.size();
  }
  record->callback = callback;
  record->context = context;
  record->dueTime = dueTime;
  record->armedAt = Clock::now().time_since_epoch().count();
  const Platform::BOOL created = Platform::CreateTimerQueueTimer(newTimer, timerQueue, TimerTrampoline, record,
                                                                 dueTime + extraDueTime.load(), period, flags);
  if (created) {
    const Platform::DWORD error = Platform::GetLastError();
    record->handle = *newTimer;
    {
      std::lock_guard<std::mutex> lock(timerMutex);
      timersByHandle[*newTimer] = record;
    }
    ++timersCreated;
    const std::int64_t live = ++liveTimers;
    std::int64_t peak = peakTimers.load();
    while (live > peak && !peakTimers.compare_exchange_weak(peak, live)) {
    }
    Platform::SetLastError(error);
  }
  return created;
}

Platform::BOOL ChangeTimerHook(Platform::HANDLE timerQueue, Platform::HANDLE timer, Platform::ULONG dueTime,
                               Platform::ULONG period) {
  if (failNextChangeTimer.exchange(false)) {
    TimerRecord* record = FindTimer(timer);
    failedChangeTimer = record != nullptr ? record->number : 0;
    Platform::SetLastError(Platform::ERROR_NOT_ENOUGH_MEMORY);
    return Platform::FALSE;
  }
  TimerRecord* record = FindTimer(timer);
  if (record != nullptr) {
    record->dueTime = dueTime;
    record->armedAt = Clock::now().time_since_epoch().count();
  }
  return Platform::ChangeTimerQueueTimer(timerQueue, timer, dueTime + extraDueTime.load(), period);
}

Platform::BOOL DeleteTimerHook(Platform::HANDLE timerQueue, Platform::HANDLE timer, Platform::HANDLE completionEvent) {
  const Platform::BOOL deleted = Platform::DeleteTimerQueueTimer(timerQueue, timer, completionEvent);
  const Platform::DWORD error = Platform::GetLastError();
  if (deleted || error == static_cast<Platform::DWORD>(Platform::ERROR_IO_PENDING)) {
    --liveTimers;
    if (TimerRecord* record = FindTimer(timer)) record->deleted = true;
  }
  Platform::SetLastError(error);
  return deleted;
}

Platform::BOOL QueueWorkHook(Platform::LPTHREAD_START_ROUTINE function, void* context, Platform::ULONG flags) {
  auto* record = new WorkRecord{function, context};
  {
    std::lock_guard<std::mutex> lock(workMutex);
    ++workQueued;
  }
  if (Platform::QueueUserWorkItem(WorkTrampoline, record, flags)) return Platform::TRUE;
  const Platform::DWORD error = Platform::GetLastError();
  {
    std::lock_guard<std::mutex> lock(workMutex);
    --workQueued;
  }
  workChanged.notify_all();
  delete record;
  Platform::SetLastError(error);
  return Platform::FALSE;
}

}  // namespace

namespace Testing::PoolProbe {

void AddHooks(Platform::TestSeam::Hooks& hooks) {
  hooks.createEventW = CreateEventHook;
  hooks.createTimerQueueTimer = CreateTimerHook;
  hooks.changeTimerQueueTimer = ChangeTimerHook;
  hooks.deleteTimerQueueTimer = DeleteTimerHook;
  hooks.queueUserWorkItem = QueueWorkHook;
}

std::int64_t LiveTimers() { return liveTimers.load(); }
std::int64_t PeakTimers() { return peakTimers.load(); }
void ResetPeakTimers() { peakTimers.store(liveTimers.load()); }
std::int64_t TimersCreated() { return timersCreated.load(); }

bool TimerDeleted(std::uint64_t timer) {
  std::lock_guard<std::mutex> lock(timerMutex);
  return timer >= 1 && timer <= timerRecords.size() && timerRecords[timer - 1].deleted.load();
}

Platform::HANDLE TimerHandle(std::uint64_t timer) {
  std::lock_guard<std::mutex> lock(timerMutex);
  return timer >= 1 && timer <= timerRecords.size() ? timerRecords[timer - 1].handle.load() : nullptr;
}

std::optional<TimerRun> CurrentTimerRun() {
  if (runningTimer == nullptr) return std::nullopt;
  return TimerRun{runningTimer->number, runningTimer->dueTime.load(),
                  Clock::time_point(Clock::duration(runningTimer->armedAt.load()))};
}

void DelayTimers(Platform::DWORD milliseconds) { extraDueTime = milliseconds; }

void FailNextCreateEventOnThisThread() { failNextCreateEvent = true; }

void FailNextChangeTimer() {
  failedChangeTimer = 0;
  failNextChangeTimer = true;
}

std::uint64_t FailedChangeTimer() { return failedChangeTimer.load(); }

std::int64_t WorkItemsQueued() {
  std::lock_guard<std::mutex> lock(workMutex);
  return workQueued;
}

std::int64_t WorkItemsDone() {
  std::lock_guard<std::mutex> lock(workMutex);
  return workDone;
}

bool WaitForWorkItemsDone(std::chrono::milliseconds limit) {
  std::unique_lock<std::mutex> lock(workMutex);
  return workChanged.wait_for(lock, limit, [] { return workDone == workQueued; });
}

void HoldWorkItems() {
  std::lock_guard<std::mutex> lock(workMutex);
  holdWork = true;
}

void ReleaseWorkItems() {
  {
    std::lock_guard<std::mutex> lock(workMutex);
    holdWork = false;
  }
  workChanged.notify_all();
}

}  // namespace Testing::PoolProbe
