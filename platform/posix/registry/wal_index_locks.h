// The WAL-index locks of a hive's SQLite connections, kept in memory that every process using the
// hive maps, instead of in fcntl record locks on the -shm file.
//
// SQLite takes and drops several of its eight WAL-index locks in every transaction; as record
// locks each costs a system call, which made up half the time of a write. Here each connection
// holds a slot, one 64-bit word: the process that owns it, and which of the eight locks the
// connection holds shared and which exclusive. A connection that takes a lock first marks it in
// its own word, then looks at every other word; on a conflict it takes its mark back and answers
// busy. Two connections that want conflicting locks at once may both answer busy, never both
// succeed; SQLite waits and tries again.
//
// A process killed while it holds locks leaves its slots marked. A connection that finds a
// conflict with a slot whose process no longer runs clears that slot and looks again; a slot is
// claimed the same way. (A dead owner whose process id a new process took before anyone looked
// would keep its locks; process ids come round again only after millions of processes.) Every
// process of a hive must therefore see the others' process ids: one process id namespace.
//
// Any thread of any process may call any member; a slot is used by one connection at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Platform::Posix {

class WalIndexLocks {
public:
  static constexpr int kLockCount = 8;  // SQLite's WAL-index locks
  static constexpr std::size_t kSlotCount = 128;
  static constexpr std::size_t kSize = kSlotCount * sizeof(std::uint64_t);

  // Works on `memory`: kSize bytes shared with the other processes, zero in a new file. Borrowed
  // for the life of this object.
  explicit WalIndexLocks(void* memory) : m_slots(static_cast<std::uint64_t*>(memory)) {}

  // Claims a free slot, or one whose process no longer runs, for a connection of this process.
  // Returns its index, or -1 when every slot belongs to a running process.
  int Claim();

  // Drops every lock of `slot` and frees it. Only its connection.
  void Release(int slot);

  // Takes locks `first` to `first + count - 1` for `slot`, shared or exclusive. Returns false,
  // holding nothing more, when another connection holds one of them exclusive, or (for an
  // exclusive lock) shared. Only the slot's connection.
  bool Lock(int slot, int first, int count, bool exclusive);

  // Drops locks `first` to `first + count - 1` of `slot`, shared or exclusive. Only the slot's
  // connection.
  void Unlock(int slot, int first, int count, bool exclusive);

private:
  // Clears `slot`, found as `seen`, when its process no longer runs. Returns whether it is free
  // (or another process's claim replaced `seen` meanwhile).
  bool ClearIfDead(std::size_t slot, std::uint64_t seen);

  std::uint64_t* m_slots;
};

}  // namespace Platform::Posix
