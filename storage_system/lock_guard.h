// A scope that holds the lock of a storage system.
#pragma once

#include "storage_system/lock.h"

namespace StorageSystem {

// Takes `lock` for the life of the scope. A null lock guards nothing: the data system hands one in
// before its tree is initialised, when no other thread can reach it yet.
class CLockGuard {
public:
  explicit CLockGuard(ILock* lock) : m_lock(lock) {
    if (m_lock != nullptr) m_lock->Lock();
  }
  ~CLockGuard() {
    if (m_lock != nullptr) m_lock->Unlock();
  }
  CLockGuard(const CLockGuard&) = delete;
  CLockGuard& operator=(const CLockGuard&) = delete;

private:
  ILock* m_lock;
};

}  // namespace StorageSystem
