// Critical sections: the system's, kept inside the portable storage.
#include "platform/critical_section.h"

#include "platform/win32/windows_api.h"

namespace Platform {

BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD spinCount) {
  return ::InitializeCriticalSectionAndSpinCount(Win32::ToNative(section), spinCount);
}

void DeleteCriticalSection(CRITICAL_SECTION* section) { ::DeleteCriticalSection(Win32::ToNative(section)); }

void EnterCriticalSection(CRITICAL_SECTION* section) { ::EnterCriticalSection(Win32::ToNative(section)); }

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) { return ::TryEnterCriticalSection(Win32::ToNative(section)); }

void LeaveCriticalSection(CRITICAL_SECTION* section) { ::LeaveCriticalSection(Win32::ToNative(section)); }

}  // namespace Platform
