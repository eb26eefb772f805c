#include "platform/posix/registry_hive.h"

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "platform/debug_channel.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

using Counter = HiveGenerations::Counter;

// Marks our databases, so that a SQLite file of something else is never taken for a hive.
constexpr int kApplicationId = 0x48524547;
constexpr int kSchemaVersion = 1;
constexpr std::size_t kMaxCachedKeys = 65536;
constexpr std::size_t kMaxCachedValueBytes = 16 * 1024 * 1024;

const char* const kSchema[] = {
    "CREATE TABLE IF NOT EXISTS keys("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " parent INTEGER,"
    " name BLOB NOT NULL,"
    " folded BLOB NOT NULL,"
    " path BLOB NOT NULL UNIQUE,"
    " class BLOB,"
    " security BLOB,"
    " volatile_boot TEXT,"
    " last_write INTEGER NOT NULL)",
    "CREATE UNIQUE INDEX IF NOT EXISTS keys_children ON keys(parent, folded)",
    "CREATE INDEX IF NOT EXISTS keys_volatile ON keys(volatile_boot) WHERE volatile_boot IS NOT NULL",
    "CREATE TABLE IF NOT EXISTS vals("
    " id INTEGER PRIMARY KEY,"
    " key INTEGER NOT NULL,"
    " name BLOB NOT NULL,"
    " folded BLOB NOT NULL,"
    " type INTEGER NOT NULL,"
    " data BLOB NOT NULL,"
    " written INTEGER NOT NULL)",
    "CREATE UNIQUE INDEX IF NOT EXISTS vals_by_name ON vals(key, folded)",
};

// Time of a change in FILETIME ticks: 100 ns since 1601.
std::int64_t NowAsFileTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 10000000 + now.tv_nsec / 100 + 116444736000000000LL;
}

// Waits for the write lock of another process in short steps: a registry write holds the lock for
// tens of microseconds, so SQLite's default sleeps of many milliseconds would only add latency.
int WaitForLock(void*, int attempts) {
  constexpr int kGiveUpAfter = 60000;  // about a minute
  if (attempts >= kGiveUpAfter) return 0;
  timespec pause{0, attempts < 20 ? 20000 : attempts < 200 ? 200000 : 1000000};
  nanosleep(&pause, nullptr);
  return 1;
}

bool FolderIsWritable(const std::string& folder) {
  struct stat status {};
  // A folder without any write bit counts as read-only even for a superuser, whom access(2)
  // would let write anyway.
  return ::access(folder.c_str(), W_OK) == 0 && ::stat(folder.c_str(), &status) == 0 && (status.st_mode & 0222) != 0;
}

void AppendBytes(std::string& out, std::u16string_view text) {
  out.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
}

// The byte range of the paths strictly below `path` in the index of paths: every path that
// starts with the bytes of `path` and a backslash.
void SubtreeRange(std::u16string_view path, std::string& low, std::string& high) {
  low.clear();
  AppendBytes(low, path);
  AppendBytes(low, u"\\");
  high = low;
  high.back() = static_cast<char>(high.back() + 1);
}

void ReportBadHive(const std::string& file, const char* reason) {
  std::string line = "registry: " + file + " is not a registry hive (" + reason +
                     "); it is left as it is and its keys cannot be used\n";
  OutputDebugStringA(line.c_str());
}

// The status of a SQLite failure while a hive is opened; a file that turns out not to be a hive is
// reported with `detail` as the reason.
LSTATUS OpeningFailed(const std::string& file, int result, const char* detail) {
  LSTATUS status = SqliteErrorToStatus(result);
  if (status == ERROR_BADDB) ReportBadHive(file, detail);
  return status;
}

}  // namespace

struct RegistryHive::Statements {
  SqliteStatement begin, commit, rollback;
  SqliteStatement keyById, keyByPath, insertKey, touchKey, touchParent, rootId;
  SqliteStatement readValue, upsertValue, deleteValue, valueCount;
  SqliteStatement childPaths, hasChildren, deleteKeyValues, deleteKeyRow;
  SqliteStatement deleteSubtreeValues, deleteSubtreeKeys, deleteAllValues, deleteAllKeysBut;
  SqliteStatement children, valuesOf, info, setSecurity;
  SqliteStatement insertChange, pruneChanges, lastChange;
};

// One write transaction. Begin takes the hive's write lock (waiting for other processes); Commit
// moves the touched change counters around the commit and wakes the watchers; destruction without
// Commit rolls back.
class RegistryHive::Transaction {
public:
  explicit Transaction(RegistryHive& hive) : m_hive(hive) {}
  ~Transaction() {
    if (m_open) StatementUse(m_hive.m_statements->rollback).Step();
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  LSTATUS Begin() {
    if (!m_hive.m_writable) return ERROR_ACCESS_DENIED;
    int result = StatementUse(m_hive.m_statements->begin).Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    m_open = true;
    return ERROR_SUCCESS;
  }

  // Begins, and resolves the key at `relative` below `key` into `target` for writing, creating what
  // is missing (not volatile) when `create`.
  LSTATUS BeginAt(HiveKey& key, const KeyPath& relative, bool create, HiveKey& target) {
    LSTATUS status = Begin();
    if (status != ERROR_SUCCESS) return status;
    bool created = false;
    return m_hive.ResolveForWrite(*this, key, relative, create, CreateOptions{}, target, created);
  }

  void Touch(Counter counter) { m_touched[static_cast<int>(counter)] = true; }
  void Logged() { m_logged = true; }

  LSTATUS Commit() {
    HiveGenerations* generations = m_hive.m_generations.get();
    for (int i = 0; i < 2; ++i) {
      m_before[i] = generations != nullptr ? generations->Load(static_cast<Counter>(i)) : kNoGeneration;
      m_after[i] = m_before[i];
      if (m_touched[i] && generations != nullptr) generations->BeginChange(static_cast<Counter>(i));
    }
    int result = StatementUse(m_hive.m_statements->commit).Step();
    for (int i = 0; i < 2; ++i) {
      if (m_touched[i] && generations != nullptr) m_after[i] = generations->EndChange(static_cast<Counter>(i));
    }
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    m_open = false;
    if (m_logged && generations != nullptr) generations->Signal();
    return ERROR_SUCCESS;
  }

  // Commits a removal of keys or values, which both caches forget whatever the outcome.
  LSTATUS CommitRemoval() {
    Touch(Counter::Structure);
    Touch(Counter::Values);
    LSTATUS status = Commit();
    m_hive.ForgetCaches();
    return status;
  }

  // The counter before and after the commit; a cache current before may follow it along.
  std::uint64_t Before(Counter counter) const { return m_before[static_cast<int>(counter)]; }
  std::uint64_t After(Counter counter) const { return m_after[static_cast<int>(counter)]; }
  bool Touched(Counter counter) const { return m_touched[static_cast<int>(counter)]; }

  // After a commit that created keys: enters them in the hive's key cache, which then follows the
  // commit, when the cache was current before it (true); otherwise the cache is emptied. False as
  // well when no key was created.
  bool CacheCreatedKeys() {
    if (!Touched(Counter::Structure)) return false;
    if (m_hive.m_keyCacheAt == Before(Counter::Structure) && HiveGenerations::IsStable(m_hive.m_keyCacheAt)) {
      if (m_hive.m_keyCache.size() + createdKeys.size() > kMaxCachedKeys) m_hive.m_keyCache.clear();
      for (auto& [path, cached] : createdKeys) m_hive.m_keyCache.insert_or_assign(std::move(path), cached);
      m_hive.m_keyCacheAt = After(Counter::Structure);
      return true;
    }
    m_hive.m_keyCache.clear();
    m_hive.m_keyCacheAt = kNoGeneration;
    return false;
  }

  std::vector<std::pair<std::u16string, CachedKey>> createdKeys;

private:
  RegistryHive& m_hive;
  bool m_open = false;
  bool m_logged = false;
  bool m_touched[2] = {false, false};
  std::uint64_t m_before[2] = {kNoGeneration, kNoGeneration};
  std::uint64_t m_after[2] = {kNoGeneration, kNoGeneration};
};

RegistryHive::~RegistryHive() {
  m_checkpointer.reset();
  m_statements.reset();
  sqlite3_close_v2(m_db);
}

LSTATUS RegistryHive::Open(const std::string& folder, const std::string& name, const std::string& bootId,
                           std::unique_ptr<RegistryHive>& hive) {
  std::unique_ptr<RegistryHive> opened(new RegistryHive);
  opened->m_filePath = folder + "/" + name + ".db";
  opened->m_bootId = bootId;
  bool folderWritable = FolderIsWritable(folder);
  bool exists = ::access(opened->m_filePath.c_str(), F_OK) == 0;
  int flags = SQLITE_OPEN_NOMUTEX;
  std::string target = opened->m_filePath;
  if (folderWritable) {
    flags |= SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  } else if (exists) {
    flags |= SQLITE_OPEN_READONLY;
  } else {
    // A read-only folder without this hive: an empty hive that nothing can be written to.
    flags |= SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY;
    target = ":memory:";
  }
  int result = sqlite3_open_v2(target.c_str(), &opened->m_db, flags, nullptr);
  if (result != SQLITE_OK) return OpeningFailed(opened->m_filePath, result, sqlite3_errstr(result));
  bool inMemory = target == ":memory:";
  opened->m_writable = folderWritable && sqlite3_db_readonly(opened->m_db, "main") == 0;
  if (!inMemory) {
    opened->m_generations =
        HiveGenerations::Open(opened->m_filePath + "-gen", opened->m_writable);
  }
  sqlite3_busy_handler(opened->m_db, WaitForLock, nullptr);
  // Keep the -wal and -shm files when the last connection closes, so that the hive can still be
  // read once its folder is made read-only.
  int persist = 1;
  sqlite3_file_control(opened->m_db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);

  LSTATUS status = opened->Initialise(bootId);
  if (status == ERROR_SUCCESS) status = opened->PrepareStatements();
  if (status != ERROR_SUCCESS) return status;
  if (inMemory) opened->m_writable = false;
  if (opened->m_writable) opened->m_checkpointer = std::make_unique<HiveCheckpointer>(opened->m_db, opened->m_filePath);
  hive = std::move(opened);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::Initialise(const std::string& bootId) {
  sqlite3* db = m_db;
  auto fail = [&](int result) { return OpeningFailed(m_filePath, result, sqlite3_errmsg(db)); };
  bool writable = sqlite3_db_readonly(db, "main") == 0;
  // Commits reach the operating system at once (a killed process loses nothing) and the disk at
  // checkpoints, which the checkpointer does in the background; the WAL file keeps its size
  // between them, since writing into blocks it already has is cheaper than growing.
  int result = ExecuteSql(db, "PRAGMA synchronous=NORMAL; PRAGMA secure_delete=OFF; PRAGMA temp_store=MEMORY;"
                              " PRAGMA journal_size_limit=16777216");
  if (result != SQLITE_OK) return fail(result);

  // Reading the header tells a database from anything else before anything is written.
  SqliteStatement probe;
  result = probe.Prepare(db, "SELECT (SELECT application_id FROM pragma_application_id),"
                             " (SELECT count(*) FROM sqlite_master),"
                             " (SELECT count(*) FROM sqlite_master WHERE name = 'keys')");
  if (result != SQLITE_OK) return fail(result);
  std::int64_t applicationId = 0, objects = 0, keysTable = 0;
  {
    StatementUse use(probe);
    result = use.Step();
    if (result != SQLITE_ROW) return fail(result);
    applicationId = use.Int(0);
    objects = use.Int(1);
    keysTable = use.Int(2);
  }
  if ((applicationId != 0 && applicationId != kApplicationId) || (applicationId == 0 && objects != 0)) {
    ReportBadHive(m_filePath, "a database of another program");
    return ERROR_BADDB;
  }
  if (writable) {
    // Registry rows are small: pages of 2 KiB halve what each commit writes to the WAL.
    if (objects == 0) ExecuteSql(db, "PRAGMA page_size=2048");
    SqliteStatement mode;
    result = mode.Prepare(db, "PRAGMA journal_mode=WAL");
    if (result == SQLITE_OK) result = StatementUse(mode).Step();
    if (result != SQLITE_ROW && result != SQLITE_DONE) return fail(result);
  }

  bool needsSchema = keysTable == 0;
  bool staleVolatile = false;
  if (!needsSchema) {
    SqliteStatement stale;
    result = stale.Prepare(db, "SELECT 1 FROM keys WHERE volatile_boot IS NOT NULL AND volatile_boot <> ?1 LIMIT 1");
    if (result != SQLITE_OK) return fail(result);
    StatementUse use(stale);
    use.BindUtf8(1, bootId);
    result = use.Step();
    if (result != SQLITE_ROW && result != SQLITE_DONE) return fail(result);
    staleVolatile = result == SQLITE_ROW;
  }
  if (!writable) return ERROR_SUCCESS;
  if (!needsSchema && !staleVolatile) return ERROR_SUCCESS;

  result = ExecuteSql(db, "BEGIN IMMEDIATE");
  if (result != SQLITE_OK) return fail(result);
  for (const char* statement : kSchema) {
    if (result == SQLITE_OK) result = ExecuteSql(db, statement);
  }
  if (result == SQLITE_OK) result = ExecuteSql(db, kChangeLogSchema);
  if (result == SQLITE_OK) {
    std::string pragmas = "PRAGMA application_id=" + std::to_string(kApplicationId) +
                          "; PRAGMA user_version=" + std::to_string(kSchemaVersion);
    result = ExecuteSql(db, pragmas.c_str());
  }
  if (result == SQLITE_OK) {
    SqliteStatement root;
    result = root.Prepare(db, "INSERT OR IGNORE INTO keys(parent, name, folded, path, last_write)"
                              " VALUES(NULL, x'', x'', x'', ?1)");
    if (result == SQLITE_OK) {
      StatementUse use(root);
      use.Bind(1, NowAsFileTime());
      result = use.Step() == SQLITE_DONE ? SQLITE_OK : sqlite3_errcode(db);
    }
  }
  // Volatile keys of an earlier boot go, with their values; their children are volatile as well.
  if (result == SQLITE_OK) {
    SqliteStatement purgeValues, purgeKeys;
    result = purgeValues.Prepare(db, "DELETE FROM vals WHERE key IN (SELECT id FROM keys WHERE"
                                     " volatile_boot IS NOT NULL AND volatile_boot <> ?1)");
    if (result == SQLITE_OK) {
      result = purgeKeys.Prepare(db, "DELETE FROM keys WHERE volatile_boot IS NOT NULL AND volatile_boot <> ?1");
    }
    for (SqliteStatement* purge : {&purgeValues, &purgeKeys}) {
      if (result != SQLITE_OK) break;
      StatementUse use(*purge);
      use.BindUtf8(1, bootId);
      result = use.Step() == SQLITE_DONE ? SQLITE_OK : sqlite3_errcode(db);
    }
  }
  if (result == SQLITE_OK && staleVolatile && m_generations != nullptr) {
    m_generations->BeginChange(Counter::Structure);
    m_generations->BeginChange(Counter::Values);
  }
  if (result == SQLITE_OK) result = ExecuteSql(db, "COMMIT");
  if (staleVolatile && m_generations != nullptr) {
    m_generations->EndChange(Counter::Structure);
    m_generations->EndChange(Counter::Values);
  }
  if (result != SQLITE_OK) {
    LSTATUS status = fail(result);
    ExecuteSql(db, "ROLLBACK");
    return status;
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::PrepareStatements() {
  m_statements = std::make_unique<Statements>();
  Statements& s = *m_statements;
  const std::pair<SqliteStatement*, const char*> all[] = {
      {&s.begin, "BEGIN IMMEDIATE"},
      {&s.commit, "COMMIT"},
      {&s.rollback, "ROLLBACK"},
      {&s.keyById, "SELECT volatile_boot IS NOT NULL, path FROM keys WHERE id = ?1"},
      {&s.keyByPath, "SELECT id, volatile_boot IS NOT NULL FROM keys WHERE path = ?1"},
      {&s.insertKey, "INSERT INTO keys(parent, name, folded, path, class, security, volatile_boot, last_write)"
                     " VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)"},
      {&s.touchKey, "UPDATE keys SET last_write = ?2 WHERE id = ?1"},
      {&s.touchParent, "UPDATE keys SET last_write = ?2 WHERE id = (SELECT parent FROM keys WHERE id = ?1)"},
      {&s.rootId, "SELECT id FROM keys WHERE path = x''"},
      {&s.readValue, "SELECT v.type, v.data FROM keys k LEFT JOIN vals v ON v.key = k.id AND v.folded = ?2"
                     " WHERE k.id = ?1"},
      {&s.upsertValue, "INSERT INTO vals(key, name, folded, type, data, written) VALUES(?1, ?2, ?3, ?4, ?5, ?6)"
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
      {&s.children, "SELECT c.name, c.folded, c.class,"
                    " max(c.last_write, coalesce((SELECT max(v.written) FROM vals v WHERE v.key = c.id), 0))"
                    " FROM keys c WHERE c.parent = ?1"},
      {&s.valuesOf, "SELECT name, type, data FROM vals WHERE key = ?1 ORDER BY id"},
      {&s.info, "SELECT k.class,"
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
      {&s.insertChange, kChangeLogInsert},
      {&s.pruneChanges, kChangeLogPrune},
      {&s.lastChange, "SELECT coalesce(max(seq), 0) FROM changes"},
  };
  for (const auto& [statement, sql] : all) {
    int result = statement->Prepare(m_db, sql);
    if (result != SQLITE_OK) return OpeningFailed(m_filePath, result, sqlite3_errmsg(m_db));
  }
  return ERROR_SUCCESS;
}

bool RegistryHive::KeyCacheCurrent(std::uint64_t& structure) {
  if (m_generations == nullptr) return false;
  structure = m_generations->Load(Counter::Structure);
  if (!HiveGenerations::IsStable(structure)) return false;
  if (m_keyCacheAt != structure) {
    m_keyCache.clear();
    m_keyCacheAt = structure;
  }
  return true;
}

bool RegistryHive::ValueCacheCurrent(std::uint64_t& values) {
  if (m_generations == nullptr) return false;
  values = m_generations->Load(Counter::Values);
  if (!HiveGenerations::IsStable(values)) return false;
  if (m_valueCacheAt != values) {
    m_valueCache.clear();
    m_valueCacheBytes = 0;
    m_valueCacheAt = values;
  }
  return true;
}

void RegistryHive::ForgetCaches() {
  m_keyCache.clear();
  m_keyCacheAt = kNoGeneration;
  m_valueCache.clear();
  m_valueCacheBytes = 0;
  m_valueCacheAt = kNoGeneration;
}

LSTATUS RegistryHive::CheckAlive(HiveKey& key) {
  std::uint64_t before = kNoGeneration;
  if (m_generations != nullptr) {
    before = m_generations->Load(Counter::Structure);
    if (HiveGenerations::IsStable(before) && key.aliveAt == before) return ERROR_SUCCESS;
  }
  StatementUse use(m_statements->keyById);
  use.Bind(1, key.id);
  int result = use.Step();
  if (result == SQLITE_DONE) return ERROR_KEY_DELETED;
  if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
  if (m_generations != nullptr && HiveGenerations::IsStable(before) &&
      m_generations->Load(Counter::Structure) == before) {
    key.aliveAt = before;
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::LookUpKey(const std::u16string& path, CachedKey& found) {
  std::uint64_t structure = kNoGeneration;
  bool cacheCurrent = KeyCacheCurrent(structure);
  if (cacheCurrent) {
    auto hit = m_keyCache.find(path);
    if (hit != m_keyCache.end()) {
      found = hit->second;
      return ERROR_SUCCESS;
    }
  }
  CachedKey result;
  {
    StatementUse use(m_statements->keyByPath);
    use.BindText(1, path);
    int step = use.Step();
    if (step == SQLITE_ROW) {
      result.id = use.Int(0);
      result.isVolatile = use.Int(1) != 0;
    } else if (step != SQLITE_DONE) {
      return SqliteErrorToStatus(step);
    }
  }
  if (cacheCurrent && m_generations->Load(Counter::Structure) == structure) {
    if (m_keyCache.size() >= kMaxCachedKeys) m_keyCache.clear();
    m_keyCache.emplace(path, result);
  }
  found = result;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::OpenRoot(std::u16string_view path, HiveKey& root) {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    StatementUse use(m_statements->rootId);
    int result = use.Step();
    if (result == SQLITE_DONE) return ERROR_BADDB;
    if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
    root = HiveKey{};
    root.id = use.Int(0);
  }
  if (path.empty()) return ERROR_SUCCESS;
  std::u16string text(path);
  KeyPath relative;
  LSTATUS status = ParseKeyPath(text.c_str(), relative);
  if (status != ERROR_SUCCESS) return status;
  HiveKey base = std::move(root);
  root = HiveKey{};
  status = OpenKey(base, relative, root);
  if (status == ERROR_FILE_NOT_FOUND && m_writable) {
    DWORD disposition = 0;
    status = CreateKey(base, relative, CreateOptions{}, root, disposition);
  }
  return status;
}

LSTATUS RegistryHive::OpenKey(HiveKey& base, const KeyPath& relative, HiveKey& key) {
  std::lock_guard<std::mutex> lock(m_mutex);
  LSTATUS status = CheckAlive(base);
  if (status != ERROR_SUCCESS) return status;
  if (relative.components.empty()) {
    key.id = base.id;
    key.path = base.path;
    key.isVolatile = base.isVolatile;
    key.aliveAt = base.aliveAt;
    return ERROR_SUCCESS;
  }
  std::u16string path = JoinFolded(base.path, relative.folded);
  CachedKey found;
  status = LookUpKey(path, found);
  if (status != ERROR_SUCCESS) return status;
  if (found.id == 0) return ERROR_FILE_NOT_FOUND;
  key.id = found.id;
  key.path = std::move(path);
  key.isVolatile = found.isVolatile;
  key.aliveAt = m_keyCacheAt;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::RecordChange(Transaction& transaction, ChangeKind kind, std::u16string_view path) {
  {
    StatementUse use(m_statements->insertChange);
    use.Bind(1, static_cast<std::int64_t>(kind));
    use.BindText(2, path);
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  transaction.Logged();
  std::int64_t sequence = sqlite3_last_insert_rowid(m_db);
  if (sequence % 256 == 0 && sequence > kChangeLogRetention) {
    StatementUse use(m_statements->pruneChanges);
    use.Bind(1, sequence - kChangeLogRetention);
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::ResolveForWrite(Transaction& transaction, HiveKey& base, const KeyPath& relative, bool create,
                                      const CreateOptions& options, HiveKey& key, bool& created) {
  created = false;
  bool parentVolatile = false;
  {
    StatementUse use(m_statements->keyById);
    use.Bind(1, base.id);
    int result = use.Step();
    if (result == SQLITE_DONE) return ERROR_KEY_DELETED;
    if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
    parentVolatile = use.Int(0) != 0;
  }
  // The key is usually there already: one look-up of its whole path finds it.
  if (!relative.components.empty()) {
    std::u16string full = JoinFolded(base.path, relative.folded);
    StatementUse find(m_statements->keyByPath);
    find.BindText(1, full);
    int result = find.Step();
    if (result == SQLITE_ROW) {
      key.id = find.Int(0);
      key.isVolatile = find.Int(1) != 0;
      key.path = std::move(full);
      key.aliveAt = kNoGeneration;
      return ERROR_SUCCESS;
    }
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    if (!create) return ERROR_FILE_NOT_FOUND;
  }
  std::int64_t parentId = base.id;
  std::u16string path = base.path;
  std::size_t foldedOffset = 0;
  std::int64_t now = 0;
  for (std::size_t i = 0; i < relative.components.size(); ++i) {
    std::u16string_view name = relative.components[i];
    std::u16string_view folded(relative.folded.data() + foldedOffset, name.size());
    foldedOffset += name.size() + 1;
    if (!path.empty()) path += u'\\';
    path.append(folded);

    StatementUse find(m_statements->keyByPath);
    find.BindText(1, path);
    int result = find.Step();
    if (result == SQLITE_ROW) {
      parentId = find.Int(0);
      parentVolatile = find.Int(1) != 0;
      continue;
    }
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    if (!create) return ERROR_FILE_NOT_FOUND;
    if (parentVolatile && !options.isVolatile) return ERROR_CHILD_MUST_BE_VOLATILE;
    if (now == 0) now = NowAsFileTime();
    {
      StatementUse insert(m_statements->insertKey);
      insert.Bind(1, parentId);
      insert.BindText(2, name);
      insert.BindText(3, folded);
      insert.BindText(4, path);
      bool last = i + 1 == relative.components.size();
      if (last && !options.keyClass.empty()) {
        insert.BindText(5, options.keyClass);
      } else {
        insert.BindNull(5);
      }
      if (!options.security.empty()) {
        insert.BindBlob(6, options.security.data(), options.security.size());
      } else {
        insert.BindNull(6);
      }
      if (options.isVolatile) {
        insert.BindUtf8(7, m_bootId);
      } else {
        insert.BindNull(7);
      }
      insert.Bind(8, now);
      result = insert.Step();
      if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    }
    std::int64_t id = sqlite3_last_insert_rowid(m_db);
    {
      StatementUse touch(m_statements->touchKey);
      touch.Bind(1, parentId);
      touch.Bind(2, now);
      result = touch.Step();
      if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    }
    LSTATUS status = RecordChange(transaction, ChangeKind::KeyCreated, path);
    if (status != ERROR_SUCCESS) return status;
    transaction.createdKeys.emplace_back(path, CachedKey{id, options.isVolatile});
    transaction.Touch(Counter::Structure);
    created = true;
    parentId = id;
    parentVolatile = options.isVolatile;
  }
  key.id = parentId;
  key.path = std::move(path);
  key.isVolatile = parentVolatile;
  key.aliveAt = kNoGeneration;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::CreateKey(HiveKey& base, const KeyPath& relative, const CreateOptions& options, HiveKey& key,
                                DWORD& disposition) {
  LSTATUS status = OpenKey(base, relative, key);
  if (status != ERROR_FILE_NOT_FOUND) {
    if (status == ERROR_SUCCESS) disposition = REG_OPENED_EXISTING_KEY;
    return status;
  }
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  status = transaction.Begin();
  if (status != ERROR_SUCCESS) return status;
  bool created = false;
  status = ResolveForWrite(transaction, base, relative, true, options, key, created);
  if (status == ERROR_SUCCESS) status = transaction.Commit();
  if (status != ERROR_SUCCESS) return status;
  disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  if (transaction.CacheCreatedKeys()) key.aliveAt = m_keyCacheAt;
  return ERROR_SUCCESS;
}

namespace {

struct ValueCacheKey {
  // The key id in four code units, then the folded name: one string, built without allocating in
  // a buffer that is kept.
  static void Build(std::u16string& out, std::int64_t id, std::u16string_view name) {
    out.clear();
    for (int shift = 0; shift < 64; shift += 16) out += static_cast<char16_t>((static_cast<std::uint64_t>(id) >> shift) & 0xFFFF);
    AppendFolded(out, name);
  }
  static std::u16string_view FoldedName(const std::u16string& key) { return std::u16string_view(key).substr(4); }
};

// Counts an entry of `size` bytes of data under `entryKey` in the `bytes` of a value cache; a cache
// that would outgrow its bound is emptied first.
template <class ValueCache>
void ChargeValueCache(ValueCache& cache, std::size_t& bytes, const std::u16string& entryKey, std::size_t size) {
  if (bytes + size > kMaxCachedValueBytes) {
    cache.clear();
    bytes = 0;
  }
  bytes += size + entryKey.size() * sizeof(char16_t);
}

}  // namespace

LSTATUS RegistryHive::ReadValue(HiveKey& key, std::u16string_view name, ValueConsumer consumer, void* context) {
  std::lock_guard<std::mutex> lock(m_mutex);
  ValueCacheKey::Build(m_scratch, key.id, name);
  std::uint64_t values = kNoGeneration;
  bool cacheCurrent = ValueCacheCurrent(values);
  if (cacheCurrent) {
    auto hit = m_valueCache.find(m_scratch);
    if (hit != m_valueCache.end()) {
      if (!hit->second.exists) return ERROR_FILE_NOT_FOUND;
      consumer(context, hit->second.type, hit->second.data.data(), hit->second.data.size());
      return ERROR_SUCCESS;
    }
  }
  CachedValue read;
  {
    StatementUse use(m_statements->readValue);
    use.Bind(1, key.id);
    use.BindText(2, ValueCacheKey::FoldedName(m_scratch));
    int result = use.Step();
    if (result == SQLITE_DONE) return ERROR_KEY_DELETED;
    if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
    if (!use.IsNull(0)) {
      read.exists = true;
      read.type = static_cast<DWORD>(use.Int(0));
      const BYTE* data = use.Blob(1);
      read.data.assign(data, data + use.BlobSize(1));
    }
  }
  if (cacheCurrent && m_generations->Load(Counter::Values) == values) {
    ChargeValueCache(m_valueCache, m_valueCacheBytes, m_scratch, read.data.size());
    auto [entry, inserted] = m_valueCache.emplace(m_scratch, std::move(read));
    if (!entry->second.exists) return ERROR_FILE_NOT_FOUND;
    consumer(context, entry->second.type, entry->second.data.data(), entry->second.data.size());
    return ERROR_SUCCESS;
  }
  if (!read.exists) return ERROR_FILE_NOT_FOUND;
  consumer(context, read.type, read.data.data(), read.data.size());
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::SetValue(HiveKey& key, const KeyPath& relative, std::u16string_view name, DWORD type,
                               const BYTE* data, std::size_t size) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  HiveKey target;
  LSTATUS status = transaction.BeginAt(key, relative, true, target);
  if (status != ERROR_SUCCESS) return status;
  std::u16string folded = Folded(name);
  {
    StatementUse use(m_statements->upsertValue);
    use.Bind(1, target.id);
    use.BindText(2, name);
    use.BindText(3, folded);
    use.Bind(4, type);
    use.BindBlob(5, data, size);
    // The time goes with the value, so that a write touches no page of the keys table.
    use.Bind(6, NowAsFileTime());
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  status = CommitValueChange(transaction, target, name, CachedValue{true, type, std::vector<BYTE>(data, data + size)});
  if (status != ERROR_SUCCESS) return status;
  transaction.CacheCreatedKeys();
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::DeleteValue(HiveKey& key, const KeyPath& relative, std::u16string_view name) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  HiveKey target;
  LSTATUS status = transaction.BeginAt(key, relative, false, target);
  if (status != ERROR_SUCCESS) return status;
  std::u16string folded = Folded(name);
  {
    StatementUse use(m_statements->deleteValue);
    use.Bind(1, target.id);
    use.BindText(2, folded);
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    if (sqlite3_changes(m_db) == 0) return ERROR_FILE_NOT_FOUND;
  }
  {
    StatementUse use(m_statements->touchKey);
    use.Bind(1, target.id);
    use.Bind(2, NowAsFileTime());
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  return CommitValueChange(transaction, target, name, CachedValue{});
}

LSTATUS RegistryHive::CommitValueChange(Transaction& transaction, const HiveKey& target, std::u16string_view name,
                                        CachedValue entry) {
  LSTATUS status = RecordChange(transaction, ChangeKind::ValueSet, target.path);
  if (status != ERROR_SUCCESS) return status;
  transaction.Touch(Counter::Values);
  status = transaction.Commit();
  if (status != ERROR_SUCCESS) return status;
  if (m_valueCacheAt == transaction.Before(Counter::Values) && HiveGenerations::IsStable(m_valueCacheAt)) {
    ValueCacheKey::Build(m_scratch, target.id, name);
    ChargeValueCache(m_valueCache, m_valueCacheBytes, m_scratch, entry.data.size());
    m_valueCache[m_scratch] = std::move(entry);
    m_valueCacheAt = transaction.After(Counter::Values);
  } else {
    m_valueCache.clear();
    m_valueCacheAt = kNoGeneration;
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::DeleteTree(HiveKey& key, const KeyPath& relative) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  HiveKey target;
  LSTATUS status = transaction.BeginAt(key, relative, false, target);
  if (status != ERROR_SUCCESS) return status;

  auto run = [&](SqliteStatement& statement, auto&& bind) -> LSTATUS {
    StatementUse use(statement);
    bind(use);
    int result = use.Step();
    return result == SQLITE_DONE ? ERROR_SUCCESS : SqliteErrorToStatus(result);
  };
  std::string low, high;
  bool isRoot = target.path.empty();
  if (!isRoot) SubtreeRange(target.path, low, high);
  auto bindRange = [&](StatementUse& use) {
    use.BindBlob(1, low.data(), low.size());
    use.BindBlob(2, high.data(), high.size());
  };
  std::int64_t now = NowAsFileTime();

  if (relative.components.empty()) {
    // Empty the key: every sub-key goes, with its subtree, and every value.
    std::vector<std::u16string> children;
    {
      StatementUse use(m_statements->childPaths);
      use.Bind(1, target.id);
      int result;
      while ((result = use.Step()) == SQLITE_ROW) children.push_back(use.Text(0));
      if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    }
    std::int64_t valueCount = 0;
    {
      StatementUse use(m_statements->valueCount);
      use.Bind(1, target.id);
      int result = use.Step();
      if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
      valueCount = use.Int(0);
    }
    if (children.empty() && valueCount == 0) return ERROR_SUCCESS;
    if (isRoot) {
      status = run(m_statements->deleteAllValues, [](StatementUse&) {});
      if (status == ERROR_SUCCESS) {
        status = run(m_statements->deleteAllKeysBut, [&](StatementUse& use) { use.Bind(1, target.id); });
      }
    } else {
      status = run(m_statements->deleteSubtreeValues, bindRange);
      if (status == ERROR_SUCCESS) {
        status = run(m_statements->deleteKeyValues, [&](StatementUse& use) { use.Bind(1, target.id); });
      }
      if (status == ERROR_SUCCESS) status = run(m_statements->deleteSubtreeKeys, bindRange);
    }
    if (status == ERROR_SUCCESS) {
      status = run(m_statements->touchKey, [&](StatementUse& use) {
        use.Bind(1, target.id);
        use.Bind(2, now);
      });
    }
    for (const std::u16string& child : children) {
      if (status == ERROR_SUCCESS) status = RecordChange(transaction, ChangeKind::KeyDeleted, child);
    }
    if (status == ERROR_SUCCESS && valueCount != 0) {
      status = RecordChange(transaction, ChangeKind::ValueSet, target.path);
    }
  } else {
    status = run(m_statements->deleteSubtreeValues, bindRange);
    if (status == ERROR_SUCCESS) status = run(m_statements->deleteSubtreeKeys, bindRange);
    if (status == ERROR_SUCCESS) {
      status = run(m_statements->touchParent, [&](StatementUse& use) {
        use.Bind(1, target.id);
        use.Bind(2, now);
      });
    }
    if (status == ERROR_SUCCESS) {
      status = run(m_statements->deleteKeyValues, [&](StatementUse& use) { use.Bind(1, target.id); });
    }
    if (status == ERROR_SUCCESS) {
      status = run(m_statements->deleteKeyRow, [&](StatementUse& use) { use.Bind(1, target.id); });
    }
    if (status == ERROR_SUCCESS) status = RecordChange(transaction, ChangeKind::KeyDeleted, target.path);
  }
  if (status != ERROR_SUCCESS) return status;
  return transaction.CommitRemoval();
}

LSTATUS RegistryHive::DeleteKey(HiveKey& key, const KeyPath& relative) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  HiveKey target;
  LSTATUS status = transaction.BeginAt(key, relative, false, target);
  if (status != ERROR_SUCCESS) return status;
  if (target.path.empty()) return ERROR_ACCESS_DENIED;
  {
    StatementUse use(m_statements->hasChildren);
    use.Bind(1, target.id);
    int result = use.Step();
    if (result == SQLITE_ROW) return ERROR_ACCESS_DENIED;
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  const std::pair<SqliteStatement*, bool> steps[] = {
      {&m_statements->touchParent, true}, {&m_statements->deleteKeyValues, false}, {&m_statements->deleteKeyRow, false}};
  for (const auto& [statement, withTime] : steps) {
    StatementUse use(*statement);
    use.Bind(1, target.id);
    if (withTime) use.Bind(2, NowAsFileTime());
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  status = RecordChange(transaction, ChangeKind::KeyDeleted, target.path);
  if (status != ERROR_SUCCESS) return status;
  return transaction.CommitRemoval();
}

LSTATUS RegistryHive::LoadSubKeys(HiveKey& key, bool needLastWrite) {
  std::uint64_t structure = m_generations != nullptr ? m_generations->Load(Counter::Structure) : kNoGeneration;
  std::uint64_t values = m_generations != nullptr ? m_generations->Load(Counter::Values) : kNoGeneration;
  key.subKeys.clear();
  key.subKeysStructure = kNoGeneration;
  key.subKeysValues = kNoGeneration;
  {
    StatementUse use(m_statements->children);
    use.Bind(1, key.id);
    int result;
    while ((result = use.Step()) == SQLITE_ROW) {
      SubKeyEntry entry;
      entry.name = use.Text(0);
      entry.folded = use.Text(1);
      if (!use.IsNull(2)) entry.keyClass = use.Text(2);
      entry.lastWrite = use.Int(3);
      key.subKeys.push_back(std::move(entry));
    }
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  if (key.subKeys.empty()) {
    LSTATUS status = CheckAlive(key);
    if (status != ERROR_SUCCESS) return status;
  }
  std::sort(key.subKeys.begin(), key.subKeys.end(),
            [](const SubKeyEntry& a, const SubKeyEntry& b) { return a.folded < b.folded; });
  if (m_generations != nullptr) {
    if (HiveGenerations::IsStable(structure) && m_generations->Load(Counter::Structure) == structure) {
      key.subKeysStructure = structure;
    }
    if (needLastWrite && HiveGenerations::IsStable(values) && m_generations->Load(Counter::Values) == values) {
      key.subKeysValues = values;
    }
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::EnumSubKey(HiveKey& key, DWORD index, bool needLastWrite,
                                 void (*visit)(void* context, const SubKeyEntry& entry), void* context) {
  std::lock_guard<std::mutex> lock(m_mutex);
  bool current;
  if (m_generations != nullptr) {
    std::uint64_t structure = m_generations->Load(Counter::Structure);
    current = HiveGenerations::IsStable(structure) && key.subKeysStructure == structure;
    if (current && needLastWrite) {
      std::uint64_t values = m_generations->Load(Counter::Values);
      current = HiveGenerations::IsStable(values) && key.subKeysValues == values;
    }
  } else {
    // Without shared counters a walk keeps the snapshot taken at its first index.
    current = index != 0 && key.subKeysStructure == kNoGeneration && !key.subKeys.empty();
  }
  if (!current) {
    LSTATUS status = LoadSubKeys(key, needLastWrite);
    if (status != ERROR_SUCCESS) return status;
  }
  if (index >= key.subKeys.size()) return ERROR_NO_MORE_ITEMS;
  visit(context, key.subKeys[index]);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::LoadValues(HiveKey& key) {
  std::uint64_t values = m_generations != nullptr ? m_generations->Load(Counter::Values) : kNoGeneration;
  key.values.clear();
  key.valuesAt = kNoGeneration;
  {
    StatementUse use(m_statements->valuesOf);
    use.Bind(1, key.id);
    int result;
    while ((result = use.Step()) == SQLITE_ROW) {
      ValueEntry entry;
      entry.name = use.Text(0);
      entry.type = static_cast<DWORD>(use.Int(1));
      const BYTE* data = use.Blob(2);
      entry.data.assign(data, data + use.BlobSize(2));
      key.values.push_back(std::move(entry));
    }
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  if (key.values.empty()) {
    LSTATUS status = CheckAlive(key);
    if (status != ERROR_SUCCESS) return status;
  }
  if (m_generations != nullptr && HiveGenerations::IsStable(values) &&
      m_generations->Load(Counter::Values) == values) {
    key.valuesAt = values;
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::EnumValue(HiveKey& key, DWORD index, void (*visit)(void* context, const ValueEntry& entry),
                                void* context) {
  std::lock_guard<std::mutex> lock(m_mutex);
  bool current;
  if (m_generations != nullptr) {
    std::uint64_t values = m_generations->Load(Counter::Values);
    current = HiveGenerations::IsStable(values) && key.valuesAt == values;
  } else {
    current = index != 0 && !key.values.empty();
  }
  if (!current) {
    LSTATUS status = LoadValues(key);
    if (status != ERROR_SUCCESS) return status;
  }
  if (index >= key.values.size()) return ERROR_NO_MORE_ITEMS;
  visit(context, key.values[index]);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::QueryInfo(HiveKey& key, KeySummary& summary) {
  std::lock_guard<std::mutex> lock(m_mutex);
  StatementUse use(m_statements->info);
  use.Bind(1, key.id);
  int result = use.Step();
  if (result == SQLITE_DONE) return ERROR_KEY_DELETED;
  if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
  summary.keyClass = use.IsNull(0) ? std::u16string() : use.Text(0);
  summary.lastWrite = use.Int(1);
  summary.securityDescriptorLength = static_cast<DWORD>(use.Int(2));
  summary.subKeys = static_cast<DWORD>(use.Int(3));
  summary.maxSubKeyLength = static_cast<DWORD>(use.Int(4) / 2);
  summary.maxClassLength = static_cast<DWORD>(use.Int(5) / 2);
  summary.values = static_cast<DWORD>(use.Int(6));
  summary.maxValueNameLength = static_cast<DWORD>(use.Int(7) / 2);
  summary.maxValueLength = static_cast<DWORD>(use.Int(8));
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::SetSecurity(HiveKey& key, std::span<const BYTE> descriptor) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  LSTATUS status = transaction.Begin();
  if (status != ERROR_SUCCESS) return status;
  {
    StatementUse use(m_statements->setSecurity);
    use.Bind(1, key.id);
    use.BindBlob(2, descriptor.data(), descriptor.size());
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    if (sqlite3_changes(m_db) == 0) return ERROR_KEY_DELETED;
  }
  status = RecordChange(transaction, ChangeKind::SecuritySet, key.path);
  if (status != ERROR_SUCCESS) return status;
  return transaction.Commit();
}

LSTATUS RegistryHive::LastChange(std::int64_t& sequence) {
  std::lock_guard<std::mutex> lock(m_mutex);
  StatementUse use(m_statements->lastChange);
  int result = use.Step();
  if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
  sequence = use.Int(0);
  return ERROR_SUCCESS;
}

}  // namespace Platform::Posix
