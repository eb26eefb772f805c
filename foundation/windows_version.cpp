#include "foundation/windows_version.h"

#include "platform/version.h"

bool IsWindowsVersionOrGreater6(Platform::WORD minor) {
  Platform::OSVERSIONINFOEXW info{};
  info.dwOSVersionInfoSize = sizeof(info);
  info.dwMajorVersion = 6;
  info.dwMinorVersion = minor;
  info.wServicePackMajor = 0;
  Platform::ULONGLONG mask = 0;
  mask = Platform::VerSetConditionMask(mask, Platform::VER_MAJORVERSION, Platform::VER_GREATER_EQUAL);
  mask = Platform::VerSetConditionMask(mask, Platform::VER_MINORVERSION, Platform::VER_GREATER_EQUAL);
  mask = Platform::VerSetConditionMask(mask, Platform::VER_SERVICEPACKMAJOR, Platform::VER_GREATER_EQUAL);
  return Platform::VerifyVersionInfoW(
             &info, Platform::VER_MAJORVERSION | Platform::VER_MINORVERSION | Platform::VER_SERVICEPACKMAJOR, mask) !=
         Platform::FALSE;
}
