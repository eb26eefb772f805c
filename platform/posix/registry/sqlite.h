// A thin layer over SQLite for the registry hives: one connection with its prepared statements,
// and the mapping of SQLite results to Win32 error numbers.
//
// A Statement is prepared once per connection and reused; a StatementUse binds it for one
// execution and resets it when it goes out of scope, so that no read transaction stays open
// between registry calls. Neither class locks: the owner of the connection serialises its use.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/types.h"

namespace Platform::Posix {

// The Win32 error number for a failed SQLite call (`result` is not SQLITE_OK/ROW/DONE).
LSTATUS SqliteErrorToStatus(int result);

class SqliteStatement {
public:
  SqliteStatement() = default;
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  // Prepares `sql` on `db` for repeated use. Returns an SQLite result code.
  int Prepare(sqlite3* db, std::string_view sql);
  sqlite3_stmt* get() const { return m_statement; }

private:
  sqlite3_stmt* m_statement = nullptr;
};

// One execution of a prepared statement. Binding indexes start at 1, column indexes at 0.
class StatementUse {
public:
  explicit StatementUse(SqliteStatement& statement) : m_statement(statement.get()) {}
  ~StatementUse() {
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
  }
  StatementUse(const StatementUse&) = delete;
  StatementUse& operator=(const StatementUse&) = delete;

  void Bind(int index, std::int64_t value) { sqlite3_bind_int64(m_statement, index, value); }
  void BindNull(int index) { sqlite3_bind_null(m_statement, index); }
  // Binds bytes that stay valid until the statement is reset.
  void BindBlob(int index, const void* data, std::size_t size) {
    sqlite3_bind_blob64(m_statement, index, size == 0 ? "" : data, size, SQLITE_STATIC);
  }
  void BindText(int index, std::u16string_view text) { BindBlob(index, text.data(), text.size() * sizeof(char16_t)); }
  void BindUtf8(int index, std::string_view text) {
    sqlite3_bind_text64(m_statement, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  }

  // SQLITE_ROW, SQLITE_DONE or an error.
  int Step() { return sqlite3_step(m_statement); }

  std::int64_t Int(int column) const { return sqlite3_column_int64(m_statement, column); }
  bool IsNull(int column) const { return sqlite3_column_type(m_statement, column) == SQLITE_NULL; }
  const BYTE* Blob(int column) const { return static_cast<const BYTE*>(sqlite3_column_blob(m_statement, column)); }
  std::size_t BlobSize(int column) const { return static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)); }
  // Names are stored as UTF-16 blobs, which SQLite may hand out at any alignment: they are copied.
  std::u16string Text(int column) const {
    const void* data = sqlite3_column_blob(m_statement, column);
    std::size_t size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
    std::u16string text(size / sizeof(char16_t), u'\0');
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * sizeof(char16_t));
    return text;
  }
  std::string_view Utf8(int column) const {
    const unsigned char* data = sqlite3_column_text(m_statement, column);
    std::size_t size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
    return {reinterpret_cast<const char*>(data), size};
  }

private:
  sqlite3_stmt* m_statement;
};

// Runs SQL without results (schema, pragmas, transaction control). Returns an SQLite result code.
int ExecuteSql(sqlite3* db, const char* sql);

}  // namespace Platform::Posix
