#include "platform/posix/registry/sqlite.h"

#include "platform/registry.h"

namespace Platform::Posix {

LSTATUS SqliteErrorToStatus(int result) {
  switch (result & 0xFF) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_FORMAT:
    case SQLITE_SCHEMA:
      return ERROR_BADDB;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return ERROR_ACCESS_DENIED;
    case SQLITE_NOMEM:
      return ERROR_OUTOFMEMORY;
    case SQLITE_FULL:
      return ERROR_DISK_FULL;
    case SQLITE_CANTOPEN:
      return ERROR_CANTOPEN;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_IOERR:
      return ERROR_CANTWRITE;
    case SQLITE_TOOBIG:
      return ERROR_INVALID_PARAMETER;
    default:
      return ERROR_BADDB;
  }
}

SqliteStatement::~SqliteStatement() { sqlite3_finalize(m_statement); }

int SqliteStatement::Prepare(sqlite3* db, std::string_view sql) {
  sqlite3_finalize(m_statement);
  m_statement = nullptr;
  return sqlite3_prepare_v3(db, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &m_statement,
                            nullptr);
}

int ExecuteSql(sqlite3* db, const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }

}  // namespace Platform::Posix
