// The lock of a storage system: re-entrant, tried from other threads, and marked when destroyed.
#include "storage_system/critical_section_lock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <thread>

namespace {

using StorageSystem::CCriticalSectionLock;

TEST(CriticalSectionLockTest, IsReentrantForTheOwningThread) {
  CCriticalSectionLock lock;
  lock.Lock();
  EXPECT_TRUE(lock.TryLock());
  lock.Unlock();
  lock.Unlock();
}

TEST(CriticalSectionLockTest, TryLockFailsWhileAnotherThreadHoldsIt) {
  CCriticalSectionLock lock;
  lock.Lock();
  bool taken = true;
  std::thread([&] { taken = lock.TryLock(); }).join();
  EXPECT_FALSE(taken);
  lock.Unlock();
  std::thread([&] {
    taken = lock.TryLock();
    if (taken) lock.Unlock();
  }).join();
  EXPECT_TRUE(taken);
}

TEST(CriticalSectionLockTest, DestructorLeavesTheMarker) {
  alignas(CCriticalSectionLock) unsigned char storage[sizeof(CCriticalSectionLock)];
  auto* lock = new (storage) CCriticalSectionLock;
  EXPECT_EQ(lock->GetMarker(), 0u);
  lock->~CCriticalSectionLock();
  // The object's bytes, as a debugger would see them after the destruction.
  bool found = false;
  for (std::size_t offset = 0; offset + 4 <= sizeof storage; offset += 4) {
    std::uint32_t word = 0;
    std::memcpy(&word, storage + offset, sizeof word);
    found = found || word == CCriticalSectionLock::kDestroyedMarker;
  }
  EXPECT_TRUE(found);
}

}  // namespace
