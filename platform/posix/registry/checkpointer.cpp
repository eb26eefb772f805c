#include "platform/posix/registry/checkpointer.h"

#include <algorithm>

#include "platform/posix/registry/hive_vfs.h"

namespace Platform::Posix {
namespace {

// A checkpoint is asked for at this many pages of WAL (4 MiB of 2 KiB pages); the writer does it
// itself at eight times as many.
constexpr int kCheckpointPages = 2000;
constexpr int kInlineCheckpointPages = 8 * kCheckpointPages;

}  // namespace

HiveCheckpointer::HiveCheckpointer(sqlite3* db, std::string path)
    : m_path(std::move(path)), m_nextRequestAt(kCheckpointPages) {
  sqlite3_wal_hook(db, OnCommit, this);
}

HiveCheckpointer::~HiveCheckpointer() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stopping = true;
  }
  m_wake.notify_all();
  if (m_thread.joinable()) m_thread.join();
}

int HiveCheckpointer::OnCommit(void* context, sqlite3* db, const char* database, int pages) {
  auto* checkpointer = static_cast<HiveCheckpointer*>(context);
  if (pages >= kInlineCheckpointPages) {
    // Writes kept coming while every background checkpoint ran, so none of them could start the
    // WAL again from its beginning; this one waits for the other writers to let it do so.
    sqlite3_wal_checkpoint_v2(db, database, SQLITE_CHECKPOINT_RESTART, nullptr, nullptr);
    checkpointer->m_nextRequestAt = kCheckpointPages;
  } else if (pages < checkpointer->m_nextRequestAt - kCheckpointPages) {
    // The WAL started over since the last request.
    checkpointer->m_nextRequestAt = std::max(kCheckpointPages, pages + kCheckpointPages);
  } else if (pages >= checkpointer->m_nextRequestAt) {
    checkpointer->m_nextRequestAt = pages + kCheckpointPages;
    checkpointer->Request();
  }
  return SQLITE_OK;
}

void HiveCheckpointer::Request() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    // Commits keep asking until the checkpoint has run; one wake-up is enough.
    if (m_requested || m_stopping) return;
    m_requested = true;
    if (!m_thread.joinable()) m_thread = std::thread([this] { Run(); });
  }
  m_wake.notify_one();
}

void HiveCheckpointer::Run() {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(m_path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, HiveVfsName()) != SQLITE_OK) {
    sqlite3_close_v2(db);
    return;
  }
  int persist = 1;
  sqlite3_file_control(db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
  sqlite3_busy_timeout(db, 1000);
  std::unique_lock<std::mutex> lock(m_mutex);
  for (;;) {
    m_wake.wait(lock, [this] { return m_requested || m_stopping; });
    if (m_stopping) break;
    m_requested = false;
    lock.unlock();
    sqlite3_wal_checkpoint_v2(db, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    lock.lock();
  }
  lock.unlock();
  sqlite3_close_v2(db);
}

}  // namespace Platform::Posix
