// The system thread pool: registered waits, work items and timer-queue timers.
//
// Callbacks run on pool threads; callbacks of one repeated wait or periodic timer may overlap. A
// wait or timer that is unregistered or deleted with INVALID_HANDLE_VALUE runs no callback after
// the call returns; with a completion event, none after the event is signalled. Every function
// may be called from any thread, callbacks included.
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

// Calls `callback` with `timerOrWaitFired` false each time `object` is signalled, or true when
// `milliseconds` (INFINITE: never) pass first; with WT_EXECUTEONLYONCE only the first time. A wait
// on an auto-reset event takes the signal, so each signal fires once. The wait handle is written
// to `newWaitObject`, and must be released by UnregisterWaitEx even after a WT_EXECUTEONLYONCE
// wait fired. The other WT_ flags are accepted; off Windows they change nothing. Returns FALSE
// with ERROR_INVALID_HANDLE for an object that cannot be waited on.
BOOL RegisterWaitForSingleObject(HANDLE* newWaitObject, HANDLE object, WAITORTIMERCALLBACK callback, void* context,
                                 ULONG milliseconds, ULONG flags);

// Ends a registered wait; no new callback starts once the call begins. `completionEvent` null:
// returns at once, FALSE with ERROR_IO_PENDING while a callback is still running (the wait is ended
// all the same). INVALID_HANDLE_VALUE: waits until running callbacks have returned; a callback of
// this same wait cannot wait for itself, so there the call waits for the others only and returns
// FALSE with ERROR_IO_PENDING. An event: signalled once running callbacks have returned; the call
// returns TRUE when none runs (the event is then signalled at once), else FALSE with ERROR_IO_PENDING.
// ERROR_INVALID_HANDLE for a wait handle that is not open.
BOOL UnregisterWaitEx(HANDLE waitHandle, HANDLE completionEvent);

// Runs `function` once on a pool thread. The WT_ flags (WT_EXECUTEINPERSISTENTTHREAD among them)
// are accepted; off Windows they change nothing.
BOOL QueueUserWorkItem(LPTHREAD_START_ROUTINE function, void* context, ULONG flags);

// Timer-queue timers. `timerQueue` must be null, the default queue. The callback runs with
// `timerOrWaitFired` true after `dueTime` milliseconds, then every `period` milliseconds; a `period`
// of 0 fires once (WT_EXECUTEONLYONCE requires it). The timer must be deleted with
// DeleteTimerQueueTimer even after it fired.
BOOL CreateTimerQueueTimer(HANDLE* newTimer, HANDLE timerQueue, WAITORTIMERCALLBACK callback, void* context,
                           DWORD dueTime, DWORD period, ULONG flags);
// Sets a new due time and period; may be called from the timer's callback. A one-shot timer that
// has already fired is left as it is, as on Windows.
BOOL ChangeTimerQueueTimer(HANDLE timerQueue, HANDLE timer, ULONG dueTime, ULONG period);
// Completion event as in UnregisterWaitEx: null returns at once, with FALSE and ERROR_IO_PENDING
// while a callback runs (the timer is deleted all the same, and nothing needs to be retried).
BOOL DeleteTimerQueueTimer(HANDLE timerQueue, HANDLE timer, HANDLE completionEvent);

}  // namespace Platform
