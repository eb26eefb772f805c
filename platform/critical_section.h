// Critical sections: re-entrant locks of one process.
#pragma once

#include "platform/types.h"

namespace Platform {

// Room for the platform's lock object; used only through the functions below.
struct CRITICAL_SECTION {
  alignas(16) unsigned char storage[64];
};

// Initializes `section`; the spin count is a hint. Returns FALSE on failure.
BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD spinCount);
void DeleteCriticalSection(CRITICAL_SECTION* section);

// The owning thread may enter again; each entry is paired with one LeaveCriticalSection.
void EnterCriticalSection(CRITICAL_SECTION* section);
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);

// Holds `section` for the life of the scope. The section must outlive the guard.
class CriticalSectionGuard {
public:
  explicit CriticalSectionGuard(CRITICAL_SECTION* section) : m_section(section) { EnterCriticalSection(m_section); }
  ~CriticalSectionGuard() { LeaveCriticalSection(m_section); }
  CriticalSectionGuard(const CriticalSectionGuard&) = delete;
  CriticalSectionGuard& operator=(const CriticalSectionGuard&) = delete;

private:
  CRITICAL_SECTION* m_section;
};

}  // namespace Platform
