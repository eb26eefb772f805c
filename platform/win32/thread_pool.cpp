// The system thread pool: forwarded to the system.
#include "platform/thread_pool.h"

#include "platform/test_seam.h"
#include "platform/win32/windows_api.h"

namespace Platform {

BOOL RegisterWaitForSingleObject(HANDLE* newWaitObject, HANDLE object, WAITORTIMERCALLBACK callback, void* context,
                                 ULONG milliseconds, ULONG flags) {
  return ::RegisterWaitForSingleObject(newWaitObject, object, Win32::ToNative(callback), context, milliseconds, flags);
}

BOOL UnregisterWaitEx(HANDLE waitHandle, HANDLE completionEvent) {
  return ::UnregisterWaitEx(waitHandle, completionEvent);
}

BOOL QueueUserWorkItem(LPTHREAD_START_ROUTINE function, void* context, ULONG flags) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::queueUserWorkItem, function, context, flags)) {
    return *diverted;
  }
  return ::QueueUserWorkItem(Win32::ToNative(function), context, flags);
}

BOOL CreateTimerQueueTimer(HANDLE* newTimer, HANDLE timerQueue, WAITORTIMERCALLBACK callback, void* context,
                           DWORD dueTime, DWORD period, ULONG flags) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::createTimerQueueTimer, newTimer, timerQueue, callback, context,
                                       dueTime, period, flags)) {
    return *diverted;
  }
  return ::CreateTimerQueueTimer(newTimer, timerQueue, Win32::ToNative(callback), context, dueTime, period, flags);
}

BOOL ChangeTimerQueueTimer(HANDLE timerQueue, HANDLE timer, ULONG dueTime, ULONG period) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::changeTimerQueueTimer, timerQueue, timer, dueTime, period)) {
    return *diverted;
  }
  return ::ChangeTimerQueueTimer(timerQueue, timer, dueTime, period);
}

BOOL DeleteTimerQueueTimer(HANDLE timerQueue, HANDLE timer, HANDLE completionEvent) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::deleteTimerQueueTimer, timerQueue, timer, completionEvent)) {
    return *diverted;
  }
  return ::DeleteTimerQueueTimer(timerQueue, timer, completionEvent);
}

}  // namespace Platform
