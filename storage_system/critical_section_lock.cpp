#include "storage_system/critical_section_lock.h"

namespace StorageSystem {

CCriticalSectionLock::CCriticalSectionLock() { Platform::InitializeCriticalSectionAndSpinCount(&m_section, 0); }

CCriticalSectionLock::~CCriticalSectionLock() {
  Platform::DeleteCriticalSection(&m_section);
  *static_cast<volatile std::uint32_t*>(&m_marker) = kDestroyedMarker;
}

void CCriticalSectionLock::Lock() { Platform::EnterCriticalSection(&m_section); }

void CCriticalSectionLock::Unlock() { Platform::LeaveCriticalSection(&m_section); }

bool CCriticalSectionLock::TryLock() { return Platform::TryEnterCriticalSection(&m_section) != Platform::FALSE; }

}  // namespace StorageSystem
