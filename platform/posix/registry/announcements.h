// The announcements of a hive's changes to the processes that watch it, in memory that they all
// map (a region of the hive's generation file).
//
// A writer stages the records of its transaction (kind and folded path, by sequence number) in a
// ring of slots while it holds the hive's write lock, commits, and then announces: it raises the
// announced sequence number to its last record and bumps a wake count on which watchers sleep
// (a process-shared futex). A watcher woken reads the records after the last one it saw from the
// ring, without a query; records that the ring no longer holds (it was overrun, or a path is too
// long for a slot) are read from the change log instead.
//
// A writer killed between its commit and its announcement leaves committed records unannounced.
// Watchers sleep with a time limit and look at the change log itself whenever the limit passes
// without a wake; a watcher that finds records there that nobody announced announces them in the
// dead writer's stead, which wakes the watchers of every other process.
//
// Slots are written under a sequence stamp (odd while written, twice the record's sequence number
// once complete) so that a reader never takes a half-written or overwritten slot. All members may
// be called from any thread of any process; Stage only by a holder of the hive's write lock.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/posix/registry/change_log.h"

namespace Platform::Posix {

class ChangeAnnouncements {
public:
  // The bytes of shared memory the announcements take, and their alignment.
  static constexpr std::size_t kHeaderSize = 64;
  static constexpr std::size_t kSlotCount = 256;
  static constexpr std::size_t kSlotSize = 512;
  static constexpr std::size_t kSize = kHeaderSize + kSlotCount * kSlotSize;

  // Works on `memory`: kSize bytes, 64-byte aligned, shared with the other processes, zero in a new
  // file. Borrowed for the life of this object.
  explicit ChangeAnnouncements(void* memory) : m_memory(static_cast<unsigned char*>(memory)) {}

  // Puts `changes` (those of one transaction, in order) in the ring, not yet announced.
  void Stage(const std::vector<ChangeRecord>& changes);

  // Makes every record up to `sequence` announced (the announced number only grows) and wakes the
  // watchers of every process.
  void Announce(std::int64_t sequence);

  // The last sequence number announced.
  std::int64_t Announced() const;

  // The wake count, which every announcement changes. Read it before looking at what was
  // announced, and sleep on it with Wait.
  std::uint32_t WakeCount() const;

  // Sleeps until the wake count is no longer `seen`, or `milliseconds` pass. Returns false when the
  // time passed without a wake. Spurious returns are possible.
  bool Wait(std::uint32_t seen, int milliseconds);

  // Bumps the wake count and wakes every watcher, without announcing anything (to stop a watcher
  // of this process).
  void WakeAll();

  // Appends the records after `after` up to `upTo` to `records`, in order. False when the ring no
  // longer holds one of them; `records` is then as it was.
  bool ReadAfter(std::int64_t after, std::int64_t upTo, std::vector<ChangeRecord>& records) const;

private:
  struct Header;
  struct Slot;

  Header& header() const;
  Slot& slot(std::int64_t sequence) const;
  void Wake();

  unsigned char* m_memory;
};

}  // namespace Platform::Posix
