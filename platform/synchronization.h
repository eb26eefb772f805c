// Events and waits on handles, and closing of kernel handles. Every function may be called from
// any thread; a handle may be closed while another thread waits on it.
#pragma once

#include "platform/types.h"

namespace Platform {

struct SECURITY_ATTRIBUTES;

constexpr DWORD INFINITE = 0xFFFFFFFF;
constexpr DWORD WAIT_OBJECT_0 = 0x00000000;
constexpr DWORD WAIT_ABANDONED = 0x00000080;
constexpr DWORD WAIT_TIMEOUT = 0x00000102;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

// Creates an event; the caller owns the handle (CloseHandle). A manual-reset event stays signalled
// until ResetEvent and releases every waiter; an auto-reset event releases one waiter (a thread or a
// registered wait) per signal and resets itself. Named events are not supported off Windows: a
// `name` fails with ERROR_INVALID_PARAMETER. `attributes` is ignored off Windows. Returns null with
// the last error set on failure.
HANDLE CreateEventW(const SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState, LPCWSTR name);
// Return FALSE with ERROR_INVALID_HANDLE for a handle that is not an open event.
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

// Waits up to `milliseconds` (INFINITE: no limit) for `handle` to be signalled. Returns
// WAIT_OBJECT_0, WAIT_TIMEOUT, or WAIT_FAILED with the last error set.
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

// Closes a handle of any kernel object kind. Returns FALSE with ERROR_INVALID_HANDLE for a handle
// that is not open, and, as on Windows, for the handles of registered waits and timer-queue timers,
// which end through UnregisterWaitEx and DeleteTimerQueueTimer.
BOOL CloseHandle(HANDLE handle);

// Suspends the calling thread for at least `milliseconds` (INFINITE: for ever); 0 yields.
void Sleep(DWORD milliseconds);

// The identifier of the calling thread.
DWORD GetCurrentThreadId();

}  // namespace Platform
