// The announcements of a hive's changes to the processes that watch it, in memory that they all
// map (a region of the hive's generation file).
//
// A writer, while it holds the hive's write lock, numbers the records of its transaction and
// stages them in a ring of slots, marking itself as the committer; it commits, and then announces:
// it raises the announced number to its last record, clears the committer and bumps a wake count
// on which watchers sleep (a process-shared futex). A watcher woken reads the records after the
// last one it saw from the ring; records the ring no longer holds (a watcher that fell a whole
// ring behind, a path too long for a slot) mean that anything may have changed.
//
// A writer killed between its commit and its announcement leaves its committed records staged but
// not announced, and itself as the committer. Watchers sleep with a time limit; one whose sleep
// ran out finds the committer's process gone, and announces what is staged in its stead, which
// wakes the watchers of every process. (A writer killed before its commit completed leaves records
// of changes that never happened: announcing them signals watches once too often, never too few.)
// A writer whose commit failed withdraws its records before it announces.
//
// Slots are written under a stamp (odd while written, twice the record's number once complete)
// so that a reader never takes a half-written or overwritten slot. Any thread of any process may
// call any member; Stage and Withdraw only a holder of the hive's write lock.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/posix/futex.h"
#include "platform/posix/registry/change_record.h"

namespace Platform::Posix {

class ChangeAnnouncements {
public:
  // The bytes of shared memory the announcements take; 64-byte aligned.
  static constexpr std::size_t kHeaderSize = 64;
  static constexpr std::size_t kSlotCount = 256;
  static constexpr std::size_t kSlotSize = 1024;
  static constexpr std::size_t kSize = kHeaderSize + kSlotCount * kSlotSize;

  // Works on `memory`: kSize bytes shared with the other processes, zero in a new file. Borrowed
  // for the life of this object.
  explicit ChangeAnnouncements(void* memory) : m_memory(static_cast<unsigned char*>(memory)) {}

  // Numbers `changes` (those of one transaction, in order), puts them in the ring, not yet
  // announced, and marks this process as the committer.
  void Stage(std::vector<ChangeRecord>& changes);

  // Marks staged `changes` whose transaction did not commit as records of nothing.
  void Withdraw(const std::vector<ChangeRecord>& changes);

  // Makes every record up to `sequence` announced (the announced number only grows), clears the
  // committer when it is this process, and wakes the watchers of every process.
  void Announce(std::int64_t sequence);

  // The last number announced.
  std::int64_t Announced() const;

  // The last number given to a record, announced or not.
  std::int64_t Staged() const;

  // Announces what a committer that no longer runs left staged. Returns whether it did. Costs a
  // system call or two when there is a committer: call it when a sleep ran out, not on each wake.
  bool AnnounceForADeadCommitter();

  // The wake count, which every announcement changes. Read it before looking at what was
  // announced, and sleep on it with Wait.
  std::uint32_t WakeCount() const;

  // Sleeps until the wake count is no longer `seen`, the word of `alongside` (if not null) no
  // longer holds its value, or `deadline` (on the monotonic clock, null: none) passes. Returns false
  // when the deadline passed without a wake. Spurious returns are possible. Sleeping on a word
  // alongside needs FutexCanSleepOnSeveral.
  bool Wait(std::uint32_t seen, const FutexWait* alongside, const timespec* deadline);

  // Bumps the wake count and wakes every watcher, without announcing anything (to stop a watcher
  // of this process).
  void WakeAll();

  // Appends the records after `after` up to `upTo` to `records`, in order, leaving out withdrawn
  // ones. False when the ring no longer holds one of them; `records` is then as it was.
  bool ReadAfter(std::int64_t after, std::int64_t upTo, std::vector<ChangeRecord>& records) const;

private:
  struct Header;
  struct Slot;

  Header& header() const;
  Slot& slot(std::int64_t sequence) const;
  void Publish(std::int64_t sequence, std::uint32_t committer);
  void Wake();

  unsigned char* m_memory;
};

}  // namespace Platform::Posix
