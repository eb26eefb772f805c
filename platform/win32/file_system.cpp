// Entries of the file system: forwarded to the system.
#include "platform/file_system.h"

#include "platform/win32/windows_api.h"

static_assert(sizeof(Platform::WIN32_FILE_ATTRIBUTE_DATA) == sizeof(::WIN32_FILE_ATTRIBUTE_DATA));

namespace Platform {

BOOL GetFileAttributesExW(LPCWSTR fileName, GET_FILEEX_INFO_LEVELS level, void* information) {
  return ::GetFileAttributesExW(Win32::ToWide(fileName), static_cast<::GET_FILEEX_INFO_LEVELS>(level), information);
}

}  // namespace Platform
