// The memory a hive shares with every process that uses it: its change counters, and the
// announcements of its changes to the watchers (announcements.h).
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

namespace Platform::Posix {

class HiveGenerations {
public:
  enum class Counter { Structure = 0, Values = 1 };

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
