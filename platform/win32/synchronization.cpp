// Events, waits and handles: forwarded to the system.
#include "platform/synchronization.h"

#include "platform/test_seam.h"
#include "platform/win32/windows_api.h"

namespace Platform {

HANDLE CreateEventW(const SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState, LPCWSTR name) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::createEventW, attributes, manualReset, initialState, name)) {
    return *diverted;
  }
  return ::CreateEventW(Win32::ToNative(attributes), manualReset, initialState, Win32::ToWide(name));
}

BOOL SetEvent(HANDLE event) { return ::SetEvent(event); }

BOOL ResetEvent(HANDLE event) { return ::ResetEvent(event); }

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) { return ::WaitForSingleObject(handle, milliseconds); }

BOOL CloseHandle(HANDLE handle) { return ::CloseHandle(handle); }

void Sleep(DWORD milliseconds) { ::Sleep(milliseconds); }

DWORD GetCurrentThreadId() { return ::GetCurrentThreadId(); }

}  // namespace Platform
