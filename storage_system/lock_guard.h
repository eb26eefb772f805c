// A scope that holds the lock of a storage system.
#pragma once

#include "storage_system/lock.h"

namespace StorageSystem {

// Says that the caller already holds the lock (taken by TryLock) and hands it to the guard.
struct SAdoptLock {};
inline constexpr SAdoptLock kAdoptLock{};

// Takes `lock` for the life of the scope. A null lock guards nothing: the data system hands one in
// before its tree is initialized, when no other thread can reach it yet.
class CLockGuard {
public:
  explicit CLockGuard(ILock* lock) : m_lock(lock) {
    if (m_lock != nullptr) m_lock->Lock();
  }
  // Releases on leaving the scope a lock that the caller has taken.
  CLockGuard(ILock* lock, SAdoptLock) : m_lock(lock) {}
  ~CLockGuard() {
    if (m_lock != nullptr) m_lock->Unlock();
  }
  CLockGuard(const CLockGuard&) = delete;
  CLockGuard& operator=(const CLockGuard&) = delete;

private:
  ILock* m_lock;
};

}  // namespace StorageSystem
