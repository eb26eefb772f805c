// One write transaction of a hive, shared by the files that implement the hive's writes.
//
// Begin takes the hive's write lock (waiting for other processes); Commit moves the touched change
// counters around the commit, announces the recorded changes to the watchers of every process and
// tells them to this process's listener; destruction without Commit rolls back. Used under the
// hive's lock, by one thread.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/registry/change_record.h"
#include "platform/posix/registry/hive.h"

namespace Platform::Posix {

// The time of a change in FILETIME ticks: 100 ns since 1601.
std::int64_t NowAsFileTime();

// Test hook (SetAfterCommitHookForTests): runs in every write that logged a change, right after its
// commit and before its announcement.
extern void (*g_afterCommitHook)();

class RegistryHive::Transaction {
public:
  using Counter = HiveGenerations::Counter;

  explicit Transaction(RegistryHive& hive) : m_hive(hive) {}
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // ERROR_SUCCESS; ERROR_ACCESS_DENIED in a read-only hive; the error of taking the lock.
  LSTATUS Begin();

  // Begins, and resolves the key at `relative` below `key` into `target` for writing, creating what
  // is missing (not volatile) when `create`. The errors of Begin and of RegistryHive::ResolveForWrite.
  LSTATUS BeginAt(HiveKey& key, const KeyPath& relative, bool create, HiveKey& target);

  void Touch(Counter counter) { m_touched[static_cast<int>(counter)] = true; }
  // Notes a change the transaction makes to the key at `path`, to be announced once committed.
  void Record(ChangeKind kind, std::u16string_view path) {
    m_changes.push_back(ChangeRecord{0, kind, std::u16string(path)});
  }

  // ERROR_SUCCESS, or the error of the commit (the transaction then rolls back at destruction).
  LSTATUS Commit();

  // Commits a removal of keys or values, which both caches forget whatever the outcome.
  LSTATUS CommitRemoval();

  // The counter before and after the commit; a cache current before may follow it along.
  std::uint64_t Before(Counter counter) const { return m_before[static_cast<int>(counter)]; }
  std::uint64_t After(Counter counter) const { return m_after[static_cast<int>(counter)]; }
  bool Touched(Counter counter) const { return m_touched[static_cast<int>(counter)]; }

  // The keys this transaction created, by folded path, for the key cache.
  std::vector<std::pair<std::u16string, CachedKey>> createdKeys;

private:
  RegistryHive& m_hive;
  bool m_open = false;
  std::vector<ChangeRecord> m_changes;
  bool m_touched[2] = {false, false};
  std::uint64_t m_before[2] = {kNoGeneration, kNoGeneration};
  std::uint64_t m_after[2] = {kNoGeneration, kNoGeneration};
};

}  // namespace Platform::Posix
