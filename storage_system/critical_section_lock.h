// The lock of a storage system, on a critical section.
#pragma once

#include <cstdint>

#include "platform/critical_section.h"
#include "storage_system/lock.h"

namespace StorageSystem {

// ILock on a re-entrant critical section. The destructor leaves the marker 0x1234 in the object
// after the section is deleted, so that a use after destruction shows in a debugger. Any thread.
class CCriticalSectionLock : public ILock {
public:
  static constexpr std::uint32_t kDestroyedMarker = 0x1234;

  CCriticalSectionLock();
  ~CCriticalSectionLock() override;
  CCriticalSectionLock(const CCriticalSectionLock&) = delete;
  CCriticalSectionLock& operator=(const CCriticalSectionLock&) = delete;

  void Lock() override;
  void Unlock() override;
  bool TryLock() override;

  std::uint32_t GetMarker() const { return m_marker; }

private:
  Platform::CRITICAL_SECTION m_section;
  std::uint32_t m_marker = 0;
};

}  // namespace StorageSystem
