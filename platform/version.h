// The version of the operating system, as Windows reports it.
//
// On Linux the replacement answers as Windows 10 (10.0, build 19045, no service pack) unless the
// variable HALCYRA_WINDOWS_VERSION ("major.minor[.build[.servicepack]]") names another version,
// which lets a test stand on an older release.
#pragma once

#include "platform/types.h"

namespace Platform {

struct OSVERSIONINFOEXW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
  WORD wServicePackMajor;
  WORD wServicePackMinor;
  WORD wSuiteMask;
  BYTE wProductType;
  BYTE wReserved;
};

constexpr DWORD VER_MINORVERSION = 0x0000001;
constexpr DWORD VER_MAJORVERSION = 0x0000002;
constexpr DWORD VER_BUILDNUMBER = 0x0000004;
constexpr DWORD VER_SERVICEPACKMINOR = 0x0000010;
constexpr DWORD VER_SERVICEPACKMAJOR = 0x0000020;
constexpr BYTE VER_EQUAL = 1;
constexpr BYTE VER_GREATER = 2;
constexpr BYTE VER_GREATER_EQUAL = 3;
constexpr BYTE VER_LESS = 4;
constexpr BYTE VER_LESS_EQUAL = 5;

// Adds the comparison `condition` for the field `typeMask` to `conditionMask`.
ULONGLONG VerSetConditionMask(ULONGLONG conditionMask, DWORD typeMask, BYTE condition);

// TRUE when the running system meets every condition of `conditionMask` for the fields named in
// `typeMask`. Major, minor and service pack major are compared as one ordered triple, as Windows
// does. Returns FALSE with ERROR_OLD_WIN_VERSION (1150) when it does not. Thread-safe.
BOOL VerifyVersionInfoW(OSVERSIONINFOEXW* versionInfo, DWORD typeMask, ULONGLONG conditionMask);

}  // namespace Platform
