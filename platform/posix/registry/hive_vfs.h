// The SQLite VFS through which every connection to a hive opens: SQLite's own unix VFS, with the
// WAL-index locks kept in the hive's shared memory (wal_index_locks.h) rather than in fcntl record
// locks, which cost a system call each.
//
// Every process and every connection of one hive must lock the same way, so the registry opens
// its hives only through this VFS. A connection whose process cannot open the hive's gen file for
// writing (another user's hive in a folder it cannot write to) keeps SQLite's own locks, which the
// others do not see: its reads are then not held back from a concurrent checkpoint, and may fail.
#pragma once

namespace Platform::Posix {

// The name to give sqlite3_open_v2; registers the VFS at the first call. Any thread.
const char* HiveVfsName();

}  // namespace Platform::Posix
