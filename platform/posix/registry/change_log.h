// The change log of a hive: one row per change, written by the changing call in its own
// transaction, read by the notification watcher of every process.
//
// Rows carry a sequence number that grows by one with each change, the kind of change and the
// folded path of the key it touched. Writers prune old rows; a reader that finds rows missing
// after the point it had reached learns that it fell behind and must assume anything changed.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/registry/sqlite.h"
#include "platform/types.h"

namespace Platform::Posix {

enum class ChangeKind : int {
  ValueSet = 1,     // a value of the key was set or deleted
  KeyCreated = 2,   // the key was created
  KeyDeleted = 3,   // the key and all of its subtree were deleted
  SecuritySet = 4,  // the key's security descriptor was replaced
};

struct ChangeRecord {
  std::int64_t sequence = 0;
  ChangeKind kind = ChangeKind::ValueSet;
  std::u16string path;  // folded path of the key within its hive
};

// SQL that the hive runs to create the log and to write to it.
extern const char* const kChangeLogSchema;
extern const char* const kChangeLogInsert;  // (kind, path)
extern const char* const kChangeLogPrune;   // (keep rows with sequence above this)
// How many rows writers keep; a watcher further behind than this sees a gap.
constexpr std::int64_t kChangeLogRetention = 16384;

// A connection of its own to a hive, for reading the log. Not thread-safe: one owner.
class ChangeLogReader {
public:
  // Opens the hive file at `path` for reading. Returns ERROR_SUCCESS or the open's error.
  static LSTATUS Open(const std::string& path, std::unique_ptr<ChangeLogReader>& reader);
  ~ChangeLogReader();
  ChangeLogReader(const ChangeLogReader&) = delete;
  ChangeLogReader& operator=(const ChangeLogReader&) = delete;

  // The sequence number of the last change (0 for none).
  LSTATUS LastSequence(std::int64_t& sequence);

  // Appends the changes after `after` to `records`, in order. `gap` tells whether changes right
  // after `after` were pruned before they could be read.
  LSTATUS ReadAfter(std::int64_t after, std::vector<ChangeRecord>& records, bool& gap);

private:
  ChangeLogReader() = default;

  sqlite3* m_db = nullptr;
  SqliteStatement m_last;
  SqliteStatement m_after;
};

}  // namespace Platform::Posix
