// Checkpoints of a hive's WAL, off the writers' path.
//
// A checkpoint copies the WAL into the database file and waits for the disk twice; done inside a
// registry call it would stall that call for milliseconds. Instead, a writer that sees the WAL
// grow past a size asks this process's checkpointer, a thread with a connection of its own, to
// checkpoint in the background (PASSIVE: it never blocks a writer of any process). The next write
// after a complete checkpoint starts the WAL file over. A checkpoint is asked for once per step of
// that size that the WAL grows by, not at every commit: a checkpointer that ran again and again
// would hold the WAL open and keep it from starting over. Only a WAL far past that size, which
// writes never let a background checkpoint complete, is checkpointed by the writer itself, in the
// mode that waits for the other writers (RESTART), so that the file stays bounded.
#pragma once

#include <sqlite3.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace Platform::Posix {

class HiveCheckpointer {
public:
  // Installs itself as `db`'s WAL hook; `path` is the hive file its own connection opens.
  HiveCheckpointer(sqlite3* db, std::string path);
  // Stops the thread (a checkpoint under way finishes first).
  ~HiveCheckpointer();
  HiveCheckpointer(const HiveCheckpointer&) = delete;
  HiveCheckpointer& operator=(const HiveCheckpointer&) = delete;

private:
  // Called by SQLite after each commit of the hive's connection, with the WAL's size in pages.
  static int OnCommit(void* context, sqlite3* db, const char* database, int pages);
  void Request();
  void Run();

  const std::string m_path;
  int m_nextRequestAt;  // WAL pages at which the next checkpoint is asked for; the committing thread's
  std::mutex m_mutex;
  std::condition_variable m_wake;
  bool m_requested = false;
  bool m_stopping = false;
  std::thread m_thread;
};

}  // namespace Platform::Posix
