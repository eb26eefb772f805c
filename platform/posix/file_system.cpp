// Entries of the file system on Linux, described as Windows describes them.
#include "platform/file_system.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/system_error.h"
#include "platform/utf.h"

namespace Platform {
namespace {

// 100-nanosecond intervals between 1601-01-01 and 1970-01-01.
constexpr ULONGLONG kUnixEpochAsFileTime = 116444736000000000ULL;

FILETIME ToFileTime(const struct timespec& time) {
  const ULONGLONG ticks = kUnixEpochAsFileTime + static_cast<ULONGLONG>(time.tv_sec) * 10000000ULL +
                          static_cast<ULONGLONG>(time.tv_nsec) / 100;
  return FILETIME{static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
}

// As on Windows, a missing entry is "file not found" only where its directory exists.
DWORD ErrorOf(int error, const std::string& path) {
  switch (error) {
    case ENOENT: {
      const std::size_t separator = path.find_last_of('/');
      if (separator == std::string::npos || separator == 0) return ERROR_FILE_NOT_FOUND;
      struct stat directory {};
      return ::stat(path.substr(0, separator).c_str(), &directory) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    }
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
      return ERROR_ACCESS_DENIED;
    default:
      return ERROR_INVALID_PARAMETER;
  }
}

}  // namespace

BOOL GetFileAttributesExW(LPCWSTR fileName, GET_FILEEX_INFO_LEVELS level, void* information) {
  if (fileName == nullptr || information == nullptr || level != GetFileExInfoStandard) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const std::string path = Utf16ToUtf8(fileName);
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    SetLastError(ErrorOf(errno, path));
    return FALSE;
  }
  auto& data = *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(information);
  DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
  if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  data.dwFileAttributes = attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
  data.ftCreationTime = ToFileTime(status.st_ctim);
  data.ftLastAccessTime = ToFileTime(status.st_atim);
  data.ftLastWriteTime = ToFileTime(status.st_mtim);
  const auto size = static_cast<ULONGLONG>(S_ISDIR(status.st_mode) ? 0 : status.st_size);
  data.nFileSizeHigh = static_cast<DWORD>(size >> 32);
  data.nFileSizeLow = static_cast<DWORD>(size & 0xFFFFFFFFu);
  return TRUE;
}

}  // namespace Platform
