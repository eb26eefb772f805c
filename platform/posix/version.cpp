// The Windows version that the Linux replacement reports.
#include "platform/version.h"

#include <cstdio>
#include <cstdlib>

#include "platform/system_error.h"

namespace Platform {
namespace {

constexpr LONG ERROR_OLD_WIN_VERSION = 1150;

struct ReportedVersion {
  DWORD major = 10;
  DWORD minor = 0;
  DWORD build = 19045;
  DWORD servicePackMajor = 0;
};

ReportedVersion ReadReportedVersion() {
  ReportedVersion version;
  if (const char* text = std::getenv("HALCYRA_WINDOWS_VERSION")) {
    unsigned major = 0, minor = 0, build = 0, servicePack = 0;
    int fields = std::sscanf(text, "%u.%u.%u.%u", &major, &minor, &build, &servicePack);
    if (fields >= 2) {
      version = {major, minor, fields >= 3 ? build : 0, fields >= 4 ? servicePack : 0};
    }
  }
  return version;
}

BYTE ConditionOf(ULONGLONG conditionMask, DWORD typeBit) {
  int index = 0;
  while (((typeBit >> index) & 1) == 0) ++index;
  return static_cast<BYTE>((conditionMask >> (index * 3)) & 0x7);
}

bool Compare(ULONGLONG actual, ULONGLONG wanted, BYTE condition) {
  switch (condition) {
    case VER_EQUAL:
      return actual == wanted;
    case VER_GREATER:
      return actual > wanted;
    case VER_GREATER_EQUAL:
      return actual >= wanted;
    case VER_LESS:
      return actual < wanted;
    case VER_LESS_EQUAL:
      return actual <= wanted;
    default:
      return false;
  }
}

}  // namespace

ULONGLONG VerSetConditionMask(ULONGLONG conditionMask, DWORD typeMask, BYTE condition) {
  for (int index = 0; index < 8; ++index) {
    if ((typeMask >> index) & 1) {
      conditionMask &= ~(ULONGLONG{0x7} << (index * 3));
      conditionMask |= ULONGLONG{condition & 0x7u} << (index * 3);
    }
  }
  return conditionMask;
}

BOOL VerifyVersionInfoW(OSVERSIONINFOEXW* versionInfo, DWORD typeMask, ULONGLONG conditionMask) {
  if (versionInfo == nullptr || typeMask == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const ReportedVersion actual = ReadReportedVersion();
  bool met = true;
  // Major, minor and service pack major form one ordered triple: the first field that differs
  // decides, under the condition of the highest field named.
  constexpr DWORD kTriple = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
  if ((typeMask & kTriple) != 0) {
    DWORD highest = (typeMask & VER_MAJORVERSION)   ? VER_MAJORVERSION
                    : (typeMask & VER_MINORVERSION) ? VER_MINORVERSION
                                                    : VER_SERVICEPACKMAJOR;
    auto key = [typeMask](DWORD major, DWORD minor, DWORD servicePack) {
      ULONGLONG value = 0;
      if (typeMask & VER_MAJORVERSION) value = (value << 21) | major;
      if (typeMask & VER_MINORVERSION) value = (value << 21) | minor;
      if (typeMask & VER_SERVICEPACKMAJOR) value = (value << 21) | servicePack;
      return value;
    };
    met = Compare(key(actual.major, actual.minor, actual.servicePackMajor),
                  key(versionInfo->dwMajorVersion, versionInfo->dwMinorVersion, versionInfo->wServicePackMajor),
                  ConditionOf(conditionMask, highest));
  }
  if (met && (typeMask & VER_BUILDNUMBER) != 0) {
    met = Compare(actual.build, versionInfo->dwBuildNumber, ConditionOf(conditionMask, VER_BUILDNUMBER));
  }
  if (!met) {
    SetLastError(ERROR_OLD_WIN_VERSION);
    return FALSE;
  }
  return TRUE;
}

}  // namespace Platform
