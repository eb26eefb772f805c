// The SQL of the statements a hive prepares when it opens.
#include "platform/posix/registry/hive_statements.h"

namespace Platform::Posix {

LSTATUS RegistryHive::PrepareStatements() {
  m_statements = std::make_unique<Statements>();
  Statements& s = *m_statements;
  const std::pair<SqliteStatement*, const char*> all[] = {
      {&s.begin, "BEGIN IMMEDIATE"},
      {&s.commit, "COMMIT"},
      {&s.rollback, "ROLLBACK"},
      {&s.keyById, "SELECT volatile_boot IS NOT NULL, path FROM keys WHERE id = ?1"},
      {&s.keyByPath, "SELECT id, volatile_boot IS NOT NULL FROM keys WHERE path = ?1"},
      {&s.insertKey,
       "INSERT INTO keys(parent, name, folded, path, class, security, volatile_boot, last_write)"
       " VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)"},
      {&s.touchKey, "UPDATE keys SET last_write = ?2 WHERE id = ?1"},
      {&s.touchParent, "UPDATE keys SET last_write = ?2 WHERE id = (SELECT parent FROM keys WHERE id = ?1)"},
      {&s.rootId, "SELECT id FROM keys WHERE path = x''"},
      {&s.readValue,
       "SELECT v.type, v.data FROM keys k LEFT JOIN vals v ON v.key = k.id AND v.folded = ?2"
       " WHERE k.id = ?1"},
      {&s.upsertValue,
       "INSERT INTO vals(key, name, folded, type, data, written) VALUES(?1, ?2, ?3, ?4, ?5, ?6)"
       " ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data,"
       " written = excluded.written"},
      {&s.deleteValue, "DELETE FROM vals WHERE key = ?1 AND folded = ?2"},
      {&s.valueCount, "SELECT count(*) FROM vals WHERE key = ?1"},
      {&s.childPaths, "SELECT path FROM keys WHERE parent = ?1"},
      {&s.hasChildren, "SELECT 1 FROM keys WHERE parent = ?1 LIMIT 1"},
      {&s.deleteKeyValues, "DELETE FROM vals WHERE key = ?1"},
      {&s.deleteKeyRow, "DELETE FROM keys WHERE id = ?1"},
      {&s.deleteSubtreeValues, "DELETE FROM vals WHERE key IN (SELECT id FROM keys WHERE path >= ?1 AND path < ?2)"},
      {&s.deleteSubtreeKeys, "DELETE FROM keys WHERE path >= ?1 AND path < ?2"},
      {&s.deleteAllValues, "DELETE FROM vals"},
      {&s.deleteAllKeysBut, "DELETE FROM keys WHERE id <> ?1"},
      {&s.children,
       "SELECT c.name, c.folded, c.class,"
       " max(c.last_write, coalesce((SELECT max(v.written) FROM vals v WHERE v.key = c.id), 0))"
       " FROM keys c WHERE c.parent = ?1"},
      {&s.valuesOf, "SELECT name, type, data FROM vals WHERE key = ?1 ORDER BY id"},
      {&s.info,
       "SELECT k.class,"
       " max(k.last_write, coalesce((SELECT max(v.written) FROM vals v WHERE v.key = k.id), 0)),"
       " length(k.security),"
       " (SELECT count(*) FROM keys c WHERE c.parent = k.id),"
       " (SELECT max(length(c.name)) FROM keys c WHERE c.parent = k.id),"
       " (SELECT max(length(c.class)) FROM keys c WHERE c.parent = k.id),"
       " (SELECT count(*) FROM vals v WHERE v.key = k.id),"
       " (SELECT max(length(v.name)) FROM vals v WHERE v.key = k.id),"
       " (SELECT max(length(v.data)) FROM vals v WHERE v.key = k.id)"
       " FROM keys k WHERE k.id = ?1"},
      {&s.setSecurity, "UPDATE keys SET security = ?2 WHERE id = ?1"},
  };
  for (const auto& [statement, sql] : all) {
    int result = statement->Prepare(m_db, sql);
    if (result != SQLITE_OK) return OpeningFailed(result, sqlite3_errmsg(m_db));
  }
  return ERROR_SUCCESS;
}

}  // namespace Platform::Posix
