#include "platform/posix/registry/hive_vfs.h"

#include <sqlite3.h>
#include <sys/mman.h>
#include <unistd.h>

#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "platform/posix/registry/generation.h"
#include "platform/posix/registry/wal_index_locks.h"

namespace Platform::Posix {
namespace {

// The lock table of one hive, mapped once per process and shared by its connections.
struct LockTable {
  std::string genPath;  // its key in Vfs::tables
  void* mapping = nullptr;
  int users = 0;
  WalIndexLocks locks{nullptr};
};

// What a main database file of a hive carries after SQLite's own file structure.
struct FileState {
  const sqlite3_io_methods* real = nullptr;
  LockTable* table = nullptr;
  int slot = -1;  // the connection's slot in the table, claimed at its first lock
};

// The registered VFS, a copy of the default one with its own xOpen, and what its files share. Made
// once and kept for the life of the process, as SQLite keeps a pointer to it.
struct Vfs {
  sqlite3_vfs vfs{};
  sqlite3_vfs* base = nullptr;
  std::size_t stateOffset = 0;
  std::mutex mutex;
  // Under `mutex`: the tables by gen file path, and the wrapped method tables by the real ones.
  std::map<std::string, std::unique_ptr<LockTable>> tables;
  std::map<const sqlite3_io_methods*, std::unique_ptr<sqlite3_io_methods>> methods;
};

Vfs& TheVfs();

FileState& StateOf(sqlite3_file* file) {
  return *reinterpret_cast<FileState*>(reinterpret_cast<unsigned char*>(file) + TheVfs().stateOffset);
}

// Maps the lock table of the hive whose gen file is `genPath`; null when the file cannot be
// opened for writing.
LockTable* AcquireTable(const std::string& genPath, bool create) {
  Vfs& vfs = TheVfs();
  std::lock_guard<std::mutex> lock(vfs.mutex);
  std::unique_ptr<LockTable>& table = vfs.tables[genPath];
  if (!table) {
    int fd = HiveGenerations::OpenFile(genPath, create);
    void* mapping = MAP_FAILED;
    if (fd >= 0) {
      // The mapping keeps the file; the descriptor is not needed any more.
      mapping = ::mmap(nullptr, HiveGenerations::kFileSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
      ::close(fd);
    }
    if (mapping == MAP_FAILED) {
      vfs.tables.erase(genPath);
      return nullptr;
    }
    table = std::make_unique<LockTable>();
    table->genPath = genPath;
    table->mapping = mapping;
    table->locks = WalIndexLocks(static_cast<unsigned char*>(mapping) + HiveGenerations::kLocksOffset);
  }
  ++table->users;
  return table.get();
}

void ReleaseTable(LockTable* released) {
  Vfs& vfs = TheVfs();
  std::lock_guard<std::mutex> lock(vfs.mutex);
  if (--released->users > 0) return;
  ::munmap(released->mapping, HiveGenerations::kFileSize);
  vfs.tables.erase(vfs.tables.find(released->genPath));
}

// SQLite's xShmLock, xShmUnmap and xClose for a hive's main database file. Called by the thread
// that uses the connection; SQLITE_BUSY means a lock another connection holds.
int ShmLock(sqlite3_file* file, int offset, int count, int flags) {
  FileState& state = StateOf(file);
  const bool exclusive = (flags & SQLITE_SHM_EXCLUSIVE) != 0;
  if ((flags & SQLITE_SHM_UNLOCK) != 0) {
    if (state.slot >= 0) state.table->locks.Unlock(state.slot, offset, count, exclusive);
    return SQLITE_OK;
  }
  // A table whose every slot belongs to a running process: busy, until one of them closes.
  if (state.slot < 0) state.slot = state.table->locks.Claim();
  if (state.slot < 0) return SQLITE_BUSY;
  return state.table->locks.Lock(state.slot, offset, count, exclusive) ? SQLITE_OK : SQLITE_BUSY;
}

void ReleaseSlot(FileState& state) {
  if (state.slot < 0) return;
  state.table->locks.Release(state.slot);
  state.slot = -1;
}

int ShmUnmap(sqlite3_file* file, int deleteFlag) {
  FileState& state = StateOf(file);
  ReleaseSlot(state);
  return state.real->xShmUnmap(file, deleteFlag);
}

int Close(sqlite3_file* file) {
  FileState& state = StateOf(file);
  ReleaseSlot(state);
  ReleaseTable(state.table);
  const sqlite3_io_methods* real = state.real;
  state.~FileState();
  return real->xClose(file);
}

// The real methods with the three that touch the lock table replaced; one copy per real table.
const sqlite3_io_methods* Wrapped(const sqlite3_io_methods* real) {
  Vfs& vfs = TheVfs();
  std::lock_guard<std::mutex> lock(vfs.mutex);
  std::unique_ptr<sqlite3_io_methods>& wrapped = vfs.methods[real];
  if (!wrapped) {
    wrapped = std::make_unique<sqlite3_io_methods>(*real);
    wrapped->xClose = Close;
    wrapped->xShmLock = ShmLock;
    wrapped->xShmUnmap = ShmUnmap;
  }
  return wrapped.get();
}

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
  sqlite3_vfs* base = TheVfs().base;
  int result = base->xOpen(base, name, file, flags, outFlags);
  if (result != SQLITE_OK || name == nullptr || (flags & SQLITE_OPEN_MAIN_DB) == 0 || file->pMethods == nullptr ||
      file->pMethods->iVersion < 2) {
    return result;
  }
  LockTable* table = AcquireTable(std::string(name) + "-gen", (flags & SQLITE_OPEN_CREATE) != 0);
  // Without the table this connection keeps SQLite's own locks.
  if (table == nullptr) return result;
  FileState* state = new (&StateOf(file)) FileState;
  state->real = file->pMethods;
  state->table = table;
  file->pMethods = Wrapped(state->real);
  return result;
}

Vfs& TheVfs() {
  static Vfs* const vfs = [] {
    auto* made = new Vfs;
    made->base = sqlite3_vfs_find(nullptr);
    made->vfs = *made->base;
    made->vfs.zName = "halcyra-hive";
    made->vfs.pNext = nullptr;
    made->stateOffset = (static_cast<std::size_t>(made->base->szOsFile) + alignof(FileState) - 1) /
                        alignof(FileState) * alignof(FileState);
    made->vfs.szOsFile = static_cast<int>(made->stateOffset + sizeof(FileState));
    made->vfs.xOpen = Open;
    sqlite3_vfs_register(&made->vfs, 0);
    return made;
  }();
  return *vfs;
}

}  // namespace

const char* HiveVfsName() { return TheVfs().vfs.zName; }

}  // namespace Platform::Posix
