// Opening a hive: the connection and its settings, the check that the file is a hive, the schema of
// a new hive, and the removal of the volatile keys of an earlier boot.
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "platform/debug_channel.h"
#include "platform/posix/registry/hive.h"
#include "platform/posix/registry/hive_statements.h"
#include "platform/posix/registry/hive_vfs.h"
#include "platform/posix/registry/hive_transaction.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

using Counter = HiveGenerations::Counter;

// Marks our databases, so that a SQLite file of something else is never taken for a hive.
constexpr int kApplicationId = 0x48524547;
constexpr int kSchemaVersion = 1;

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

void ReportBadHive(const std::string& file, const char* reason) {
  std::string line = "registry: " + file + " is not a registry hive (" + reason +
                     "); it is left as it is and its keys cannot be used\n";
  OutputDebugStringA(line.c_str());
}

// Runs a statement without results that takes the running boot's id as ?1. Returns an SQLite
// result code.
int RunWithBootId(sqlite3* db, const char* sql, const std::string& bootId) {
  SqliteStatement statement;
  int result = statement.Prepare(db, sql);
  if (result != SQLITE_OK) return result;
  StatementUse use(statement);
  use.BindUtf8(1, bootId);
  return use.Step() == SQLITE_DONE ? SQLITE_OK : sqlite3_errcode(db);
}

}  // namespace

RegistryHive::~RegistryHive() {
  m_checkpointer.reset();
  m_statements.reset();
  sqlite3_close_v2(m_db);
}

LSTATUS RegistryHive::OpeningFailed(int result, const char* detail) const {
  LSTATUS status = SqliteErrorToStatus(result);
  if (status == ERROR_BADDB) ReportBadHive(m_filePath, detail);
  return status;
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
  int result = sqlite3_open_v2(target.c_str(), &opened->m_db, flags, HiveVfsName());
  if (result != SQLITE_OK) return opened->OpeningFailed(result, sqlite3_errstr(result));
  bool inMemory = target == ":memory:";
  opened->m_writable = folderWritable && sqlite3_db_readonly(opened->m_db, "main") == 0;
  if (!inMemory) {
    opened->m_generations = HiveGenerations::Open(opened->m_filePath + "-gen", opened->m_writable);
  }
  sqlite3_busy_handler(opened->m_db, WaitForLock, nullptr);
  // Keep the -wal and -shm files when the last connection closes, so that the hive can still be
  // read once its folder is made read-only.
  int persist = 1;
  sqlite3_file_control(opened->m_db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);

  LSTATUS status = opened->Initialize();
  if (status == ERROR_SUCCESS) status = opened->PrepareStatements();
  if (status != ERROR_SUCCESS) return status;
  if (inMemory) opened->m_writable = false;
  if (opened->m_writable) opened->m_checkpointer = std::make_unique<HiveCheckpointer>(opened->m_db, opened->m_filePath);
  hive = std::move(opened);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::Initialize() {
  // Commits reach the operating system at once (a killed process loses nothing) and the disk at
  // checkpoints, which the checkpointer does in the background; the WAL file keeps its size
  // between them, since writing into blocks it already has is cheaper than growing.
  int result = ExecuteSql(m_db,
                          "PRAGMA synchronous=NORMAL; PRAGMA secure_delete=OFF; PRAGMA temp_store=MEMORY;"
                          " PRAGMA journal_size_limit=16777216");
  if (result != SQLITE_OK) return OpeningFailed(result, sqlite3_errmsg(m_db));
  bool empty = false, hasKeys = false;
  LSTATUS status = Probe(empty, hasKeys);
  if (status != ERROR_SUCCESS) return status;
  bool writable = sqlite3_db_readonly(m_db, "main") == 0;
  if (writable) {
    // Registry rows are small: pages of 2 KiB halve what each commit writes to the WAL.
    if (empty) ExecuteSql(m_db, "PRAGMA page_size=2048");
    SqliteStatement mode;
    result = mode.Prepare(m_db, "PRAGMA journal_mode=WAL");
    if (result == SQLITE_OK) result = StatementUse(mode).Step();
    if (result != SQLITE_ROW && result != SQLITE_DONE) return OpeningFailed(result, sqlite3_errmsg(m_db));
  }
  bool staleVolatile = false;
  if (hasKeys) {
    status = FindStaleVolatileKeys(staleVolatile);
    if (status != ERROR_SUCCESS) return status;
  }
  if (!writable || (hasKeys && !staleVolatile)) return ERROR_SUCCESS;
  return PrepareContents(staleVolatile);
}

LSTATUS RegistryHive::Probe(bool& empty, bool& hasKeys) {
  // Reading the header tells a database from anything else before anything is written.
  SqliteStatement probe;
  int result = probe.Prepare(m_db,
                             "SELECT (SELECT application_id FROM pragma_application_id),"
                             " (SELECT count(*) FROM sqlite_master),"
                             " (SELECT count(*) FROM sqlite_master WHERE name = 'keys')");
  if (result != SQLITE_OK) return OpeningFailed(result, sqlite3_errmsg(m_db));
  StatementUse use(probe);
  result = use.Step();
  if (result != SQLITE_ROW) return OpeningFailed(result, sqlite3_errmsg(m_db));
  std::int64_t applicationId = use.Int(0);
  std::int64_t objects = use.Int(1);
  if ((applicationId != 0 && applicationId != kApplicationId) || (applicationId == 0 && objects != 0)) {
    ReportBadHive(m_filePath, "a database of another program");
    return ERROR_BADDB;
  }
  empty = objects == 0;
  hasKeys = use.Int(2) != 0;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::FindStaleVolatileKeys(bool& stale) {
  SqliteStatement query;
  int result =
      query.Prepare(m_db, "SELECT 1 FROM keys WHERE volatile_boot IS NOT NULL AND volatile_boot <> ?1 LIMIT 1");
  if (result != SQLITE_OK) return OpeningFailed(result, sqlite3_errmsg(m_db));
  StatementUse use(query);
  use.BindUtf8(1, m_bootId);
  result = use.Step();
  if (result != SQLITE_ROW && result != SQLITE_DONE) return OpeningFailed(result, sqlite3_errmsg(m_db));
  stale = result == SQLITE_ROW;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::PrepareContents(bool staleVolatile) {
  int result = ExecuteSql(m_db, "BEGIN IMMEDIATE");
  if (result != SQLITE_OK) return OpeningFailed(result, sqlite3_errmsg(m_db));
  for (const char* statement : kSchema) {
    if (result == SQLITE_OK) result = ExecuteSql(m_db, statement);
  }
  if (result == SQLITE_OK) {
    std::string pragmas = "PRAGMA application_id=" + std::to_string(kApplicationId) +
                          "; PRAGMA user_version=" + std::to_string(kSchemaVersion);
    result = ExecuteSql(m_db, pragmas.c_str());
  }
  if (result == SQLITE_OK) {
    SqliteStatement root;
    result = root.Prepare(m_db,
                          "INSERT OR IGNORE INTO keys(parent, name, folded, path, last_write)"
                          " VALUES(NULL, x'', x'', x'', ?1)");
    if (result == SQLITE_OK) {
      StatementUse use(root);
      use.Bind(1, NowAsFileTime());
      result = use.Step() == SQLITE_DONE ? SQLITE_OK : sqlite3_errcode(m_db);
    }
  }
  // Volatile keys of an earlier boot go, with their values; their children are volatile as well.
  if (result == SQLITE_OK) {
    result = RunWithBootId(m_db,
                           "DELETE FROM vals WHERE key IN (SELECT id FROM keys WHERE"
                           " volatile_boot IS NOT NULL AND volatile_boot <> ?1)",
                           m_bootId);
  }
  if (result == SQLITE_OK) {
    result = RunWithBootId(m_db, "DELETE FROM keys WHERE volatile_boot IS NOT NULL AND volatile_boot <> ?1", m_bootId);
  }
  bool moveCounters = staleVolatile && m_generations != nullptr;
  if (result == SQLITE_OK && moveCounters) {
    m_generations->BeginChange(Counter::Structure);
    m_generations->BeginChange(Counter::Values);
  }
  if (result == SQLITE_OK) result = ExecuteSql(m_db, "COMMIT");
  if (moveCounters) {
    m_generations->EndChange(Counter::Structure);
    m_generations->EndChange(Counter::Values);
  }
  if (result != SQLITE_OK) {
    LSTATUS status = OpeningFailed(result, sqlite3_errmsg(m_db));
    ExecuteSql(m_db, "ROLLBACK");
    return status;
  }
  return ERROR_SUCCESS;
}

}  // namespace Platform::Posix
