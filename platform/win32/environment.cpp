// The process environment: forwarded to the system.
#include "platform/environment.h"

#include "platform/win32/windows_api.h"

namespace Platform {

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size) {
  return ::GetEnvironmentVariableW(Win32::ToWide(name), Win32::ToWide(buffer), size);
}

BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value) {
  return ::SetEnvironmentVariableW(Win32::ToWide(name), Win32::ToWide(value));
}

}  // namespace Platform
