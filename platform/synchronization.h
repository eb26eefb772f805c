// Events and waits on handles, and closing of kernel handles.
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
// until ResetEvent; an auto-reset event releases one waiter and resets itself. Named events are not
// supported off Windows (`name` must be null). Returns null with the last error set on failure.
HANDLE CreateEventW(const SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState,
                    LPCWSTR name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

// Waits up to `milliseconds` (INFINITE: no limit) for `handle` to be signalled. Returns
// WAIT_OBJECT_0, WAIT_TIMEOUT, or WAIT_FAILED with the last error set.
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

// Closes a handle of any kernel object kind. Returns FALSE with ERROR_INVALID_HANDLE for a handle
// that is not open.
BOOL CloseHandle(HANDLE handle);

// Suspends the calling thread for at least `milliseconds`.
void Sleep(DWORD milliseconds);

// The identifier of the calling thread.
DWORD GetCurrentThreadId();

}  // namespace Platform
