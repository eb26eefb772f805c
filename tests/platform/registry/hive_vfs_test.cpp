// The SQLite VFS of the Linux hives: its WAL-index locks keep connections of one or several
// processes out of each other's way without record locks, give way when their holder is killed,
// and fall back to SQLite's own locks where the gen file cannot be written. Windows has no hives.
#include <gtest/gtest.h>

#if !defined(_WIN32)

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "platform/posix/registry/generation.h"
#include "platform/posix/registry/hive_vfs.h"
#include "tests/support/temporary_registry_folder.h"

using namespace Platform::Posix;

namespace {

// Where SQLite's unix VFS puts the record lock of the WAL write lock in the -shm file.
constexpr off_t kWriteLockByte = 120;

class HiveVfsTest : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_FALSE(m_folder.Path().empty()); }
  void TearDown() override {
    if (second != nullptr) sqlite3_close_v2(second);
    if (first != nullptr) sqlite3_close_v2(first);
  }

  std::string Database() const { return m_folder.Path() + "/hive.db"; }

  // A connection through the hive VFS that gives up at once on a busy lock.
  sqlite3* Connect() {
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open_v2(Database().c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, HiveVfsName()),
              SQLITE_OK);
    return db;
  }

  static int Run(sqlite3* db, const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }

  void CreateTable() {
    first = Connect();
    ASSERT_EQ(Run(first, "PRAGMA journal_mode=WAL; CREATE TABLE t(v INTEGER); INSERT INTO t VALUES(1)"), SQLITE_OK);
  }

  // Whether another process sees a record lock on the write lock's byte of the -shm file.
  bool RecordLockOnWriteLock() {
    pid_t child = ::fork();
    if (child == 0) {
      int fd = ::open((Database() + "-shm").c_str(), O_RDWR);
      struct flock probe {};
      probe.l_type = F_WRLCK;
      probe.l_whence = SEEK_SET;
      probe.l_start = kWriteLockByte;
      probe.l_len = 1;
      ::_exit(fd >= 0 && ::fcntl(fd, F_GETLK, &probe) == 0 ? (probe.l_type == F_UNLCK ? 0 : 1) : 2);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 2);
    return WIFEXITED(status) && WEXITSTATUS(status) == 1;
  }

  Testing::TemporaryRegistryFolder m_folder;
  sqlite3* first = nullptr;
  sqlite3* second = nullptr;
};

TEST_F(HiveVfsTest, AWriteTransactionKeepsAnotherConnectionFromWritingUntilItEnds) {
  CreateTable();
  second = Connect();
  ASSERT_EQ(Run(first, "BEGIN IMMEDIATE"), SQLITE_OK);
  EXPECT_EQ(Run(second, "BEGIN IMMEDIATE"), SQLITE_BUSY);
  ASSERT_EQ(Run(first, "UPDATE t SET v = 2; COMMIT"), SQLITE_OK);
  EXPECT_EQ(Run(second, "BEGIN IMMEDIATE; UPDATE t SET v = 3; COMMIT"), SQLITE_OK);
}

TEST_F(HiveVfsTest, TheWriteLockIsHeldInTheGenFileAndNotAsARecordLock) {
  CreateTable();
  ASSERT_EQ(Run(first, "BEGIN IMMEDIATE"), SQLITE_OK);
  int fd = ::open((Database() + "-gen").c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  void* mapping = ::mmap(nullptr, HiveGenerations::kFileSize, PROT_READ, MAP_SHARED, fd, 0);
  ASSERT_NE(mapping, MAP_FAILED);
  const auto* slots =
      reinterpret_cast<const std::uint64_t*>(static_cast<const unsigned char*>(mapping) + HiveGenerations::kLocksOffset);
  int writers = 0;
  for (std::size_t slot = 0; slot < WalIndexLocks::kSlotCount; ++slot) {
    if ((slots[slot] >> 32) == static_cast<std::uint64_t>(::getpid()) && ((slots[slot] >> 8) & 1) != 0) ++writers;
  }
  ::munmap(mapping, HiveGenerations::kFileSize);
  ::close(fd);
  EXPECT_EQ(writers, 1);
  EXPECT_FALSE(RecordLockOnWriteLock());
  EXPECT_EQ(Run(first, "COMMIT"), SQLITE_OK);
}

TEST_F(HiveVfsTest, AConnectionFindingEverySlotHeldByARunningProcessIsRefusedUntilOneIsFree) {
  CreateTable();
  ASSERT_EQ(sqlite3_close_v2(first), SQLITE_OK);
  first = nullptr;
  int fd = ::open((Database() + "-gen").c_str(), O_RDWR);
  ASSERT_GE(fd, 0);
  void* mapping = ::mmap(nullptr, HiveGenerations::kFileSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  ::close(fd);
  ASSERT_NE(mapping, MAP_FAILED);
  auto* slots = reinterpret_cast<std::uint64_t*>(static_cast<unsigned char*>(mapping) + HiveGenerations::kLocksOffset);
  // Every slot owned by this process, which runs: none can be taken over.
  for (std::size_t slot = 0; slot < WalIndexLocks::kSlotCount; ++slot) {
    slots[slot] = static_cast<std::uint64_t>(::getpid()) << 32;
  }
  second = Connect();
  EXPECT_NE(Run(second, "SELECT v FROM t"), SQLITE_OK);
  slots[WalIndexLocks::kSlotCount - 1] = 0;
  EXPECT_EQ(Run(second, "SELECT v FROM t"), SQLITE_OK);
  ::munmap(mapping, HiveGenerations::kFileSize);
}

TEST_F(HiveVfsTest, AWriterKilledInItsTransactionDoesNotKeepTheNextOneOut) {
  CreateTable();
  pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    sqlite3* db = nullptr;
    sqlite3_open_v2(Database().c_str(), &db, SQLITE_OPEN_READWRITE, HiveVfsName());
    Run(db, "BEGIN IMMEDIATE; UPDATE t SET v = 99");
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_EQ(Run(first, "BEGIN IMMEDIATE; UPDATE t SET v = v + 1; COMMIT"), SQLITE_OK);
  sqlite3_stmt* query = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(first, "SELECT v FROM t", -1, &query, nullptr), SQLITE_OK);
  ASSERT_EQ(sqlite3_step(query), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(query, 0), 2) << "the killed writer's change was never committed";
  sqlite3_finalize(query);
}

TEST_F(HiveVfsTest, WithoutAWritableGenFileAConnectionKeepsSqlitesOwnLocks) {
  // A folder in the gen file's place cannot be opened for writing, even by a superuser.
  ASSERT_EQ(::mkdir((Database() + "-gen").c_str(), 0755), 0);
  CreateTable();
  second = Connect();
  ASSERT_EQ(Run(first, "BEGIN IMMEDIATE"), SQLITE_OK);
  EXPECT_EQ(Run(second, "BEGIN IMMEDIATE"), SQLITE_BUSY);
  EXPECT_TRUE(RecordLockOnWriteLock());
  ASSERT_EQ(Run(first, "COMMIT"), SQLITE_OK);
  EXPECT_EQ(Run(second, "BEGIN IMMEDIATE; UPDATE t SET v = 3; COMMIT"), SQLITE_OK);
  sqlite3_close_v2(second);
  second = nullptr;
  sqlite3_close_v2(first);
  first = nullptr;
  ::rmdir((Database() + "-gen").c_str());
}

}  // namespace

#endif
