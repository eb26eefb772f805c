// The WAL-index locks of the Linux hives, kept in shared memory: which locks conflict, what a
// refused lock leaves, mutual exclusion between threads, and the slots of a killed process. Windows
// has no such table.
#include <gtest/gtest.h>

#if !defined(_WIN32)

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/posix/registry/wal_index_locks.h"

using Platform::Posix::WalIndexLocks;

namespace {

constexpr int kWriter = 0;  // SQLite's write lock
constexpr int kReadMarks = 3;

// The table in memory that a child made by fork shares.
class WalIndexLocksTest : public ::testing::Test {
protected:
  void SetUp() override {
    m_memory = ::mmap(nullptr, WalIndexLocks::kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(m_memory, MAP_FAILED);
    locks = WalIndexLocks(m_memory);
  }
  void TearDown() override { ::munmap(m_memory, WalIndexLocks::kSize); }

  // Runs `work` with the table in a child process that then ends at once, and reaps it.
  template <class Work>
  void InChildThatDies(Work work) {
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      work(locks);
      ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
  }

  void* m_memory = nullptr;
  WalIndexLocks locks{nullptr};
};

TEST_F(WalIndexLocksTest, ClaimGivesEachConnectionASlotOfItsOwn) {
  int first = locks.Claim(), second = locks.Claim();
  EXPECT_GE(first, 0);
  EXPECT_GE(second, 0);
  EXPECT_NE(first, second);
}

TEST_F(WalIndexLocksTest, SharedLocksOfTwoConnectionsDoNotConflict) {
  int a = locks.Claim(), b = locks.Claim();
  EXPECT_TRUE(locks.Lock(a, kReadMarks, 1, false));
  EXPECT_TRUE(locks.Lock(b, kReadMarks, 1, false));
}

TEST_F(WalIndexLocksTest, ExclusiveLockIsRefusedWhileAnotherConnectionHoldsItShared) {
  int a = locks.Claim(), b = locks.Claim();
  ASSERT_TRUE(locks.Lock(a, kReadMarks, 1, false));
  EXPECT_FALSE(locks.Lock(b, kReadMarks, 1, true));
}

TEST_F(WalIndexLocksTest, SharedLockIsRefusedWhileAnotherConnectionHoldsItExclusive) {
  int a = locks.Claim(), b = locks.Claim();
  ASSERT_TRUE(locks.Lock(a, kWriter, 1, true));
  EXPECT_FALSE(locks.Lock(b, kWriter, 1, false));
  EXPECT_FALSE(locks.Lock(b, kWriter, 1, true));
}

TEST_F(WalIndexLocksTest, ExclusiveRangeConflictsWithAnyLockInsideItAndWithNoneOutside) {
  int a = locks.Claim(), b = locks.Claim();
  ASSERT_TRUE(locks.Lock(a, 5, 1, false));
  EXPECT_FALSE(locks.Lock(b, 3, 5, true));
  EXPECT_TRUE(locks.Lock(b, 3, 2, true));
  EXPECT_TRUE(locks.Lock(b, 6, 2, true));
}

TEST_F(WalIndexLocksTest, RefusedLockLeavesNothingHeld) {
  int a = locks.Claim(), b = locks.Claim();
  ASSERT_TRUE(locks.Lock(a, kWriter, 1, false));
  ASSERT_FALSE(locks.Lock(b, kWriter, 2, true));
  locks.Unlock(a, kWriter, 1, false);
  // Had the refused attempt kept its mark on lock 1, this would conflict.
  EXPECT_TRUE(locks.Lock(a, kWriter + 1, 1, true));
}

TEST_F(WalIndexLocksTest, UnlockLetsAnotherConnectionTakeTheLock) {
  int a = locks.Claim(), b = locks.Claim();
  ASSERT_TRUE(locks.Lock(a, kWriter, 1, true));
  ASSERT_FALSE(locks.Lock(b, kWriter, 1, true));
  locks.Unlock(a, kWriter, 1, true);
  EXPECT_TRUE(locks.Lock(b, kWriter, 1, true));
}

TEST_F(WalIndexLocksTest, ReleaseDropsEveryLockOfTheSlotAndFreesIt) {
  int a = locks.Claim(), b = locks.Claim();
  ASSERT_TRUE(locks.Lock(a, kWriter, 1, true));
  ASSERT_TRUE(locks.Lock(a, kReadMarks, 1, false));
  locks.Release(a);
  EXPECT_TRUE(locks.Lock(b, 0, WalIndexLocks::kLockCount, true));
  EXPECT_EQ(locks.Claim(), a);
}

TEST_F(WalIndexLocksTest, ClaimFailsWhenEverySlotBelongsToARunningProcess) {
  for (std::size_t slot = 0; slot < WalIndexLocks::kSlotCount; ++slot) ASSERT_GE(locks.Claim(), 0);
  EXPECT_EQ(locks.Claim(), -1);
}

TEST_F(WalIndexLocksTest, LocksOfAKilledProcessGiveWayAtTheNextConflict) {
  InChildThatDies([](WalIndexLocks& shared) {
    int slot = shared.Claim();
    if (slot >= 0) static_cast<void>(shared.Lock(slot, 0, WalIndexLocks::kLockCount, true));
  });
  int mine = locks.Claim();
  EXPECT_TRUE(locks.Lock(mine, kWriter, 1, true));
  EXPECT_TRUE(locks.Lock(mine, kReadMarks, 1, false));
}

TEST_F(WalIndexLocksTest, ClaimTakesOverTheSlotOfAKilledProcessWhenNoneIsFree) {
  for (std::size_t slot = 0; slot + 1 < WalIndexLocks::kSlotCount; ++slot) ASSERT_GE(locks.Claim(), 0);
  InChildThatDies([](WalIndexLocks& shared) { static_cast<void>(shared.Claim()); });
  EXPECT_EQ(locks.Claim(), static_cast<int>(WalIndexLocks::kSlotCount - 1));
}

TEST_F(WalIndexLocksTest, AnExclusiveLockKeepsThreadsOutOfEachOthersWay) {
  constexpr int kThreads = 4, kRounds = 20000;
  long long counter = 0;  // guarded by the exclusive write lock alone
  std::atomic<int> inside{0}, overlaps{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      int slot = locks.Claim();
      for (int round = 0; round < kRounds;) {
        if (!locks.Lock(slot, kWriter, 1, true)) {
          std::this_thread::yield();
          continue;
        }
        if (inside.fetch_add(1) != 0) overlaps.fetch_add(1);
        ++counter;
        inside.fetch_sub(1);
        locks.Unlock(slot, kWriter, 1, true);
        ++round;
      }
      locks.Release(slot);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(overlaps.load(), 0);
  EXPECT_EQ(counter, static_cast<long long>(kThreads) * kRounds);
}

}  // namespace

#endif
