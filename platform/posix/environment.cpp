// The process environment on Linux, seen through its UTF-16 interface.
#include "platform/environment.h"

#include <cstdlib>
#include <mutex>
#include <string>

#include "platform/no_destructor.h"
#include "platform/system_error.h"
#include "platform/utf.h"

namespace Platform {
namespace {
// getenv and setenv are not safe against each other; every access of this process goes through here.
std::mutex& EnvironmentMutex() {
  static NoDestructor<std::mutex> mutex;
  return *mutex;
}
}  // namespace

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size) {
  if (name == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::u16string value;
  {
    std::lock_guard<std::mutex> lock(EnvironmentMutex());
    const char* raw = std::getenv(Utf16ToUtf8(name).c_str());
    if (raw == nullptr) {
      SetLastError(ERROR_ENVVAR_NOT_FOUND);
      return 0;
    }
    value = Utf8ToUtf16(raw);
  }
  DWORD length = static_cast<DWORD>(value.size());
  if (buffer == nullptr || length + 1 > size) return length + 1;
  value.copy(buffer, length);
  buffer[length] = 0;
  return length;
}

BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value) {
  if (name == nullptr || name[0] == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  std::lock_guard<std::mutex> lock(EnvironmentMutex());
  std::string narrowName = Utf16ToUtf8(name);
  int result =
      value == nullptr ? ::unsetenv(narrowName.c_str()) : ::setenv(narrowName.c_str(), Utf16ToUtf8(value).c_str(), 1);
  if (result != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}

}  // namespace Platform
