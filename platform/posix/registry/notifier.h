// Registry change notification across processes.
//
// A watch is armed on a key (with or without its subtree, for some kinds of change) with an event
// to signal. Every write records what it touched in its hive's change log and, once committed,
// writes to the hive's generation file; one watcher thread per process waits on inotify for those
// files, reads each watched hive's log from where it stopped, and signals, once, each armed watch
// that a change after its arming concerns. A watch also fires when its key is deleted or its
// handle is closed, as on Windows. Signalled watches are gone: the caller arms again.
//
// The generation file is also closed by a writer that dies, between its commit and its write to
// the file as anywhere else: that close wakes the watchers too, so a change is never left unseen.
//
// A watch remembers the log's last sequence number when it was armed, so no change committed after
// the arming can be missed, whichever process made it and however late the watcher wakes.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/registry/change_log.h"
#include "platform/posix/registry/hive.h"
#include "platform/types.h"

namespace Platform::Posix {

class RegistryNotifier {
public:
  RegistryNotifier() = default;
  // Stops the watcher thread; armed watches are dropped without a signal.
  ~RegistryNotifier();
  RegistryNotifier(const RegistryNotifier&) = delete;
  RegistryNotifier& operator=(const RegistryNotifier&) = delete;

  // Arms a watch on the key at `path` of `hive`; `event` is signalled (SetEvent) once. `owner`
  // identifies the handle it was armed through. Starts the watcher thread at the first call.
  // Returns ERROR_SUCCESS, or the error of opening the hive's log or of starting inotify.
  // Any thread.
  LSTATUS Arm(RegistryHive& hive, const std::u16string& path, bool subtree, DWORD filter, HANDLE event,
              const void* owner);

  // Signals and drops the watches armed through `owner`, whose handle is being closed. Any thread.
  void Release(const void* owner);

private:
  struct Watch {
    std::int64_t armedAfter = 0;
    std::u16string path;
    bool subtree = false;
    DWORD filter = 0;
    HANDLE event = nullptr;
    const void* owner = nullptr;
  };
  struct WatchedHive {
    int inotifyWatch = -1;  // on the hive's generation file
    std::unique_ptr<ChangeLogReader> reader;
    std::int64_t lastSeen = 0;
    std::vector<Watch> watches;
  };

  LSTATUS StartLocked();
  void Run();
  // Reads the hive's new changes and collects the events of the watches they concern.
  void ProcessLocked(WatchedHive& watched, std::vector<HANDLE>& signals);
  static bool Concerns(const Watch& watch, const ChangeRecord& change);

  std::mutex m_mutex;
  std::map<std::string, WatchedHive> m_hives;  // by hive file path
  int m_inotify = -1;
  int m_wake = -1;  // eventfd that stops the thread
  std::thread m_thread;
};

}  // namespace Platform::Posix
