#include "platform/posix/registry/wal_index_locks.h"

#include <atomic>

#include "platform/posix/registry/process_liveness.h"

namespace Platform::Posix {
namespace {

// A slot's word: bits 0-7 the locks held shared, bits 8-15 those held exclusive, bits 32-63 the
// owning process (0: free).
constexpr int kExclusiveShift = 8;
constexpr int kOwnerShift = 32;

std::atomic_ref<std::uint64_t> Word(std::uint64_t* slots, std::size_t index) {
  return std::atomic_ref<std::uint64_t>(slots[index]);
}

std::uint32_t Owner(std::uint64_t word) { return static_cast<std::uint32_t>(word >> kOwnerShift); }

// The bits of locks `first` to `first + count - 1` in a slot's word, shared or exclusive.
std::uint64_t Marks(int first, int count, bool exclusive) {
  const std::uint64_t locks = ((1u << count) - 1u) << first;
  return exclusive ? locks << kExclusiveShift : locks;
}

}  // namespace

bool WalIndexLocks::ClearIfDead(std::size_t slot, std::uint64_t seen) {
  std::uint32_t owner = Owner(seen);
  if (owner == 0) return true;
  if (owner == CurrentProcessId() || ProcessRuns(owner)) return false;
  // A failed exchange means that the word moved: another process cleared or claimed it.
  Word(m_slots, slot).compare_exchange_strong(seen, 0, std::memory_order_seq_cst);
  return true;
}

int WalIndexLocks::Claim() {
  const std::uint64_t mine = static_cast<std::uint64_t>(CurrentProcessId()) << kOwnerShift;
  // Free slots first, so that a claim costs no system call while there are any.
  for (bool reclaiming : {false, true}) {
    for (std::size_t slot = 0; slot < kSlotCount; ++slot) {
      std::uint64_t seen = Word(m_slots, slot).load(std::memory_order_relaxed);
      if (seen != 0 && !(reclaiming && ClearIfDead(slot, seen))) continue;
      std::uint64_t free = 0;
      if (Word(m_slots, slot).compare_exchange_strong(free, mine, std::memory_order_seq_cst)) {
        return static_cast<int>(slot);
      }
    }
  }
  return -1;
}

void WalIndexLocks::Release(int slot) { Word(m_slots, slot).store(0, std::memory_order_seq_cst); }

bool WalIndexLocks::Lock(int slot, int first, int count, bool exclusive) {
  const std::uint64_t mark = Marks(first, count, exclusive);
  // Exclusive conflicts with anything held; shared only with exclusive.
  const std::uint64_t conflicts = Marks(first, count, true) | (exclusive ? Marks(first, count, false) : 0);
  auto own = Word(m_slots, slot);
  // The mark goes first and every look comes after it (both sequentially consistent): of two
  // connections that want conflicting locks at once, at least one sees the other.
  own.fetch_or(mark, std::memory_order_seq_cst);
  for (std::size_t other = 0; other < kSlotCount; ++other) {
    if (other == static_cast<std::size_t>(slot)) continue;
    std::uint64_t seen = Word(m_slots, other).load(std::memory_order_seq_cst);
    if ((seen & conflicts) == 0) continue;
    if (ClearIfDead(other, seen)) {
      --other;  // look at the slot again: it may have been claimed meanwhile
      continue;
    }
    own.fetch_and(~mark, std::memory_order_seq_cst);
    return false;
  }
  return true;
}

void WalIndexLocks::Unlock(int slot, int first, int count, bool exclusive) {
  Word(m_slots, slot).fetch_and(~Marks(first, count, exclusive), std::memory_order_seq_cst);
}

}  // namespace Platform::Posix
