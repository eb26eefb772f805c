// The system thread pool: registered waits, work items and timer-queue timers.
//
// Callbacks run on pool threads. A wait or timer that is unregistered or deleted with a completion
// event (or INVALID_HANDLE_VALUE) is guaranteed to run no callback after the call returns.
#pragma once

#include "platform/types.h"

namespace Platform {

using WAITORTIMERCALLBACK = void (*)(void* context, BOOLEAN timerOrWaitFired);
using LPTHREAD_START_ROUTINE = DWORD (*)(void* context);

constexpr ULONG WT_EXECUTEDEFAULT = 0x00000000;
constexpr ULONG WT_EXECUTEINIOTHREAD = 0x00000001;
constexpr ULONG WT_EXECUTEINWAITTHREAD = 0x00000004;
constexpr ULONG WT_EXECUTEONLYONCE = 0x00000008;
constexpr ULONG WT_EXECUTELONGFUNCTION = 0x00000010;
constexpr ULONG WT_EXECUTEINPERSISTENTTHREAD = 0x00000080;

// Calls `callback` each time `object` is signalled (once with WT_EXECUTEONLYONCE), or with
// `timerOrWaitFired` true when `milliseconds` pass first. The wait handle is written to
// `newWaitObject` and released by UnregisterWaitEx.
BOOL RegisterWaitForSingleObject(HANDLE* newWaitObject, HANDLE object, WAITORTIMERCALLBACK callback,
                                 void* context, ULONG milliseconds, ULONG flags);

// Ends a registered wait. `completionEvent` null: returns at once (ERROR_IO_PENDING when a callback
// is running); INVALID_HANDLE_VALUE: waits for running callbacks; an event: signalled when they are
// done.
BOOL UnregisterWaitEx(HANDLE waitHandle, HANDLE completionEvent);

// Runs `function` once on a pool thread.
BOOL QueueUserWorkItem(LPTHREAD_START_ROUTINE function, void* context, ULONG flags);

// Timer-queue timers. `timerQueue` null is the default queue. A `period` of 0 fires once.
BOOL CreateTimerQueueTimer(HANDLE* newTimer, HANDLE timerQueue, WAITORTIMERCALLBACK callback,
                           void* context, DWORD dueTime, DWORD period, ULONG flags);
BOOL ChangeTimerQueueTimer(HANDLE timerQueue, HANDLE timer, ULONG dueTime, ULONG period);
// Completion event as in UnregisterWaitEx: null returns at once, with FALSE and ERROR_IO_PENDING
// while a callback runs.
BOOL DeleteTimerQueueTimer(HANDLE timerQueue, HANDLE timer, HANDLE completionEvent);

}  // namespace Platform
