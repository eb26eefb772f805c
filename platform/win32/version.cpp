// The version of the running system: forwarded to the system.
#include "platform/version.h"

#include "platform/win32/windows_api.h"

namespace Platform {

ULONGLONG VerSetConditionMask(ULONGLONG conditionMask, DWORD typeMask, BYTE condition) {
  return ::VerSetConditionMask(conditionMask, typeMask, condition);
}

BOOL VerifyVersionInfoW(OSVERSIONINFOEXW* versionInfo, DWORD typeMask, ULONGLONG conditionMask) {
  return ::VerifyVersionInfoW(Win32::ToNative(versionInfo), typeMask, conditionMask);
}

}  // namespace Platform
