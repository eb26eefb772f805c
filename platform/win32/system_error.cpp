// The wording of system error numbers: the system's own.
#include "platform/system_error.h"

#include "platform/win32/windows_api.h"

namespace Platform {

DWORD FormatMessageW(DWORD flags, const void* source, DWORD messageId, DWORD languageId, LPWSTR buffer, DWORD size,
                     va_list* arguments) {
  return ::FormatMessageW(flags, source, messageId, languageId, Win32::ToWide(buffer), size, arguments);
}

}  // namespace Platform
