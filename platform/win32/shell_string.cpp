// Case-insensitive search and upper-casing: forwarded to the shell and user libraries.
#include "platform/shell_string.h"

#include "platform/win32/windows_api.h"

namespace Platform {

LPWSTR StrStrIW(LPCWSTR text, LPCWSTR search) {
  return Win32::FromWide(::StrStrIW(Win32::ToWide(text), Win32::ToWide(search)));
}

LPWSTR CharUpperW(LPWSTR text) { return Win32::FromWide(::CharUpperW(Win32::ToWide(text))); }

}  // namespace Platform
