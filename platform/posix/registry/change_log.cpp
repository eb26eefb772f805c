#include "platform/posix/registry/change_log.h"

#include "platform/registry.h"

namespace Platform::Posix {

const char* const kChangeLogSchema =
    "CREATE TABLE IF NOT EXISTS changes(seq INTEGER PRIMARY KEY, kind INTEGER NOT NULL, path BLOB NOT NULL)";
const char* const kChangeLogInsert = "INSERT INTO changes(kind, path) VALUES(?1, ?2)";
const char* const kChangeLogPrune = "DELETE FROM changes WHERE seq <= ?1";

// close_v2 defers the real close until the statements, finalised right after, are gone.
ChangeLogReader::~ChangeLogReader() { sqlite3_close_v2(m_db); }

LSTATUS ChangeLogReader::Open(const std::string& path, std::unique_ptr<ChangeLogReader>& reader) {
  std::unique_ptr<ChangeLogReader> opened(new ChangeLogReader);
  int result = sqlite3_open_v2(path.c_str(), &opened->m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (result != SQLITE_OK) {
    sqlite3_close_v2(opened->m_db);
    opened->m_db = nullptr;
    result = sqlite3_open_v2(path.c_str(), &opened->m_db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
  }
  if (result != SQLITE_OK) return SqliteErrorToStatus(result);
  sqlite3_busy_timeout(opened->m_db, 5000);
  result = opened->m_last.Prepare(opened->m_db, "SELECT coalesce(max(seq), 0) FROM changes");
  if (result == SQLITE_OK) {
    result = opened->m_after.Prepare(opened->m_db, "SELECT seq, kind, path FROM changes WHERE seq > ?1 ORDER BY seq");
  }
  if (result != SQLITE_OK) return SqliteErrorToStatus(result);
  reader = std::move(opened);
  return ERROR_SUCCESS;
}

LSTATUS ChangeLogReader::LastSequence(std::int64_t& sequence) {
  StatementUse use(m_last);
  int result = use.Step();
  if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
  sequence = use.Int(0);
  return ERROR_SUCCESS;
}

LSTATUS ChangeLogReader::ReadAfter(std::int64_t after, std::vector<ChangeRecord>& records, bool& gap) {
  gap = false;
  StatementUse use(m_after);
  use.Bind(1, after);
  bool first = true;
  int result;
  while ((result = use.Step()) == SQLITE_ROW) {
    ChangeRecord record;
    record.sequence = use.Int(0);
    record.kind = static_cast<ChangeKind>(use.Int(1));
    record.path = use.Text(2);
    if (first && record.sequence > after + 1) gap = true;
    first = false;
    records.push_back(std::move(record));
  }
  return result == SQLITE_DONE ? ERROR_SUCCESS : SqliteErrorToStatus(result);
}

}  // namespace Platform::Posix
