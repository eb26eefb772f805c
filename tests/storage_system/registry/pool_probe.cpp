#include "tests/storage_system/registry/pool_probe.h"

#include <atomic>

#include "platform/synchronization.h"
#include "platform/system_error.h"
#include "platform/thread_pool.h"

namespace {

std::atomic<std::int64_t> liveTimers{0};
std::atomic<std::int64_t> peakTimers{0};
std::atomic<std::int64_t> timersCreated{0};
thread_local bool failNextCreateEvent = false;

}  // namespace

// The linker sends the library's calls of these platform functions here (--wrap), and the
// __real_ names to the platform's own.
extern "C" {
Platform::HANDLE __real__ZN8Platform12CreateEventWEPKNS_19SECURITY_ATTRIBUTESEiiPKDs(
    const Platform::SECURITY_ATTRIBUTES* attributes, Platform::BOOL manualReset, Platform::BOOL initialState,
    const char16_t* name);
Platform::BOOL __real__ZN8Platform21CreateTimerQueueTimerEPPvS0_PFvS0_hES0_jjj(
    Platform::HANDLE* newTimer, Platform::HANDLE timerQueue, Platform::WAITORTIMERCALLBACK callback, void* context,
    Platform::DWORD dueTime, Platform::DWORD period, Platform::ULONG flags);
Platform::BOOL __real__ZN8Platform21DeleteTimerQueueTimerEPvS0_S0_(Platform::HANDLE timerQueue, Platform::HANDLE timer,
                                                                   Platform::HANDLE completionEvent);

Platform::HANDLE __wrap__ZN8Platform12CreateEventWEPKNS_19SECURITY_ATTRIBUTESEiiPKDs(
    const Platform::SECURITY_ATTRIBUTES* attributes, Platform::BOOL manualReset, Platform::BOOL initialState,
    const char16_t* name) {
  if (failNextCreateEvent) {
    failNextCreateEvent = false;
    Platform::SetLastError(Platform::ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  return __real__ZN8Platform12CreateEventWEPKNS_19SECURITY_ATTRIBUTESEiiPKDs(attributes, manualReset, initialState,
                                                                            name);
}

Platform::BOOL __wrap__ZN8Platform21CreateTimerQueueTimerEPPvS0_PFvS0_hES0_jjj(
    Platform::HANDLE* newTimer, Platform::HANDLE timerQueue, Platform::WAITORTIMERCALLBACK callback, void* context,
    Platform::DWORD dueTime, Platform::DWORD period, Platform::ULONG flags) {
  const Platform::BOOL created = __real__ZN8Platform21CreateTimerQueueTimerEPPvS0_PFvS0_hES0_jjj(
      newTimer, timerQueue, callback, context, dueTime, period, flags);
  if (created) {
    ++timersCreated;
    const std::int64_t live = ++liveTimers;
    std::int64_t peak = peakTimers.load();
    while (live > peak && !peakTimers.compare_exchange_weak(peak, live)) {
    }
  }
  return created;
}

Platform::BOOL __wrap__ZN8Platform21DeleteTimerQueueTimerEPvS0_S0_(Platform::HANDLE timerQueue, Platform::HANDLE timer,
                                                                   Platform::HANDLE completionEvent) {
  const Platform::BOOL deleted =
      __real__ZN8Platform21DeleteTimerQueueTimerEPvS0_S0_(timerQueue, timer, completionEvent);
  if (deleted || Platform::GetLastError() == static_cast<Platform::DWORD>(Platform::ERROR_IO_PENDING)) --liveTimers;
  return deleted;
}
}

namespace Testing::PoolProbe {

std::int64_t LiveTimers() { return liveTimers.load(); }
std::int64_t PeakTimers() { return peakTimers.load(); }
void ResetPeakTimers() { peakTimers.store(liveTimers.load()); }
std::int64_t TimersCreated() { return timersCreated.load(); }
void FailNextCreateEventOnThisThread() { failNextCreateEvent = true; }

}  // namespace Testing::PoolProbe
