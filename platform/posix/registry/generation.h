// The memory a hive shares with every process that uses it: its change counters, the
// announcements of its changes to the watchers (announcements.h), and the WAL-index locks of its
// SQLite connections (wal_index_locks.h, which hive_vfs.cpp maps on its own).
//
// Each hive has a small file beside it ("<hive>.db-gen") that every process maps. It holds two
// counters, one for the shape of the tree (keys created or deleted) and one for the values. A
// writer, while it holds the hive's write lock, makes a counter odd before it commits and even
// again after.
//
// A reader that saw the same even count before and after a read from the database knows that its
// result is current at that count, and may keep it in a cache until the count moves. A writer
// killed between the two steps leaves the counter odd: caches stay off until the next write.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/posix/registry/announcements.h"
#include "platform/posix/registry/wal_index_locks.h"

namespace Platform::Posix {

class HiveGenerations {
public:
  enum class Counter { Structure = 0, Values = 1 };

  // The file's layout: the counters on the first page, then the announcements, then the locks.
  static constexpr std::size_t kPage = 4096;
  static constexpr std::size_t kAnnouncementsOffset = kPage;
  static constexpr std::size_t kLocksOffset =
      kAnnouncementsOffset + (ChangeAnnouncements::kSize + kPage - 1) / kPage * kPage;
  static constexpr std::size_t kFileSize = kLocksOffset + (WalIndexLocks::kSize + kPage - 1) / kPage * kPage;

  // Opens the file at `path` for reading and writing, creating it when `create` is set, and grows
  // it to kFileSize. Returns the descriptor (the caller owns it), or -1.
  static int OpenFile(const std::string& path, bool create);

  // Maps the file at `path`, creating it when `create` is set. Returns null when it cannot be
  // opened (a hive in a read-only folder without the file): the hive then works without caches
  // and cannot be watched.
  static std::unique_ptr<HiveGenerations> Open(const std::string& path, bool create);
  ~HiveGenerations();
  HiveGenerations(const HiveGenerations&) = delete;
  HiveGenerations& operator=(const HiveGenerations&) = delete;

  // The counter as it is now. Any thread.
  std::uint64_t Load(Counter counter) const {
    return std::atomic_ref<std::uint64_t>(m_counters[static_cast<int>(counter)]).load(std::memory_order_acquire);
  }
  static bool IsStable(std::uint64_t value) { return (value & 1) == 0; }

  // Marks a change in progress; only a holder of the hive's write lock calls this.
  void BeginChange(Counter counter);
  // Marks the change as committed (or abandoned); returns the new, even, value.
  std::uint64_t EndChange(Counter counter);

  // The hive's announcements, in the same shared memory. Any thread.
  ChangeAnnouncements& Announcements() { return m_announcements; }

private:
  HiveGenerations(int fd, void* mapping);

  int m_fd;
  void* m_mapping;
  std::uint64_t* m_counters;
  ChangeAnnouncements m_announcements;
};

}  // namespace Platform::Posix
