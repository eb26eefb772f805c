// Files and directories: what the system asks of an entry in the file system.
#pragma once

#include "platform/registry.h"
#include "platform/types.h"

namespace Platform {

// The error of a path whose directory part does not exist.
constexpr LONG ERROR_PATH_NOT_FOUND = 3;

constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x00000001;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x00000010;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x00000080;

enum GET_FILEEX_INFO_LEVELS : std::int32_t { GetFileExInfoStandard = 0 };

struct WIN32_FILE_ATTRIBUTE_DATA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
};

// Fills `information`, a WIN32_FILE_ATTRIBUTE_DATA for GetFileExInfoStandard, with the attributes,
// times and size of the file or directory `fileName`. Returns FALSE with the last error set
// (ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_INVALID_PARAMETER) when
// there is no such entry or it cannot be looked at. Off Windows the creation time is the time of the
// last status change, and only the read-only, directory and normal attributes are given. Any thread.
BOOL GetFileAttributesExW(LPCWSTR fileName, GET_FILEEX_INFO_LEVELS level, void* information);

}  // namespace Platform
