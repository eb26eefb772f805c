// Registry change notification across processes.
//
// A watch is armed on a key (with or without its subtree, for some kinds of change) with an event
// to signal, once, at the first change after its arming that concerns it. A watch also fires when
// its key is deleted or its handle is closed, as on Windows. Signalled watches are gone: the caller
// arms again.
//
// Changes reach the watches of this process two ways. A change this process commits is handed to
// OnCommitted before the changing call returns, so that its own watches are signalled at once.
// Changes of every process are announced in the hive's shared memory (announcements.h): one
// watcher thread per watched hive sleeps on the hive's wake count, reads the announced records
// after the last one it saw, and signals the watches they concern. When its sleep runs out it
// announces what a writer that died between its commit and its announcement left staged.
//
// A thread that waits on the event of a watch (WaitForSingleObject) reads the announcements itself
// while it sleeps (EventSource), and the watcher thread of that hive then sleeps on a word of its
// own instead of the wake count: a change made elsewhere wakes the waiting thread alone, not the
// watcher thread that would then wake it through the event. The watcher takes the announcements
// back when the last such thread stops waiting while watches remain, or when a watch is armed
// while no thread waits. It keeps them while a watch's event is heard by a registered wait of the
// pool: there the signal goes on to a pool thread anyway, and the watcher, which the writer's
// wake-up usually finds on the writer's own processor, is the quicker first hop.
//
// A watch remembers the last number announced when it was armed. A change committed after the
// arming is announced with a higher number, so it is never missed, whichever process made it and
// however late the watcher wakes; a change committed just before the arming but announced after
// it signals the watch once more than needed.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/event.h"
#include "platform/posix/futex.h"
#include "platform/posix/registry/announcements.h"
#include "platform/posix/registry/change_record.h"
#include "platform/posix/registry/hive.h"
#include "platform/types.h"

namespace Platform::Posix {

class RegistryNotifier {
public:
  RegistryNotifier() = default;
  // Stops the watcher threads; armed watches are dropped without a signal.
  ~RegistryNotifier();
  RegistryNotifier(const RegistryNotifier&) = delete;
  RegistryNotifier& operator=(const RegistryNotifier&) = delete;

  // Arms a watch on the key at `path` of `hive`; `event` is signalled (SetEvent) once. `owner`
  // identifies the handle it was armed through. Starts the hive's watcher thread at its first
  // watch. Returns ERROR_SUCCESS, or ERROR_FILE_NOT_FOUND for a hive without shared memory. Any
  // thread.
  LSTATUS Arm(RegistryHive& hive, const std::u16string& path, bool subtree, DWORD filter, HANDLE event,
              const void* owner);

  // Signals and drops the watches armed through `owner`, whose handle is being closed. Any thread.
  void Release(const void* owner);

  // The hives' commit listener (`context` is the notifier): signals at once the watches of this
  // process that the changes it has just committed concern, so that they are signalled before
  // the changing call returns. Under the hive's lock, from the committing thread.
  static void OnCommitted(void* context, RegistryHive& hive, const std::vector<ChangeRecord>& changes);

private:
  struct Watch {
    std::int64_t armedAfter = 0;
    std::u16string path;
    bool subtree = false;
    DWORD filter = 0;
    HANDLE event = nullptr;
    const void* owner = nullptr;
    bool observed = false;  // the event was heard by a registered wait when the watch was armed
  };
  // The watches of one hive, and the reading of its announcements by its watcher thread or by the
  // threads that wait on the watches' events.
  class WatchedHive final : public EventSource {
  public:
    WatchedHive(RegistryNotifier& notifier, ChangeAnnouncements& announcements)
        : notifier(notifier), announcements(announcements) {}

    bool BeginHelping() override;
    bool HelpAndSleep(const FutexWait& own, const timespec* deadline) override;
    void EndHelping() override;

    // Asks the watcher thread to look again at whether it reads the announcements, and wakes it
    // when it does not do what `reading` says.
    void CallWatcher(bool reading);

    RegistryNotifier& notifier;
    ChangeAnnouncements& announcements;  // in the hive's shared memory
    std::int64_t lastSeen = 0;           // under the notifier's mutex
    std::vector<Watch> watches;          // under the notifier's mutex
    std::thread thread;
    // Threads inside a wait that reads the announcements; while there are any, the watcher thread
    // sleeps on `duty` alone.
    std::atomic<int> helpers{0};
    // Futex word of the watcher thread, changed when it should decide again whether it reads.
    std::uint32_t duty = 0;
    // Whether the watcher thread, at its last decision, sleeps on the wake count.
    std::atomic<bool> watcherReads{false};
  };

  // The watcher thread of one hive.
  void Run(WatchedHive& watched);
  // Reads the hive's newly announced changes and sets the events of the watches they concern.
  void Process(WatchedHive& watched);
  // Whether a watch of `watched` has an event that a registered wait hears.
  static bool AnyObservedLocked(const WatchedHive& watched);
  // Reads the hive's newly announced changes and collects the events of the watches they concern.
  void ProcessLocked(WatchedHive& watched, std::vector<HANDLE>& signals);
  // Drops the watches of `watched` that `changes` concern and collects their events.
  static void FireLocked(WatchedHive& watched, const std::vector<ChangeRecord>& changes, std::vector<HANDLE>& signals);
  static bool Concerns(const Watch& watch, const ChangeRecord& change);

  std::mutex m_mutex;
  std::map<std::string, std::unique_ptr<WatchedHive>> m_hives;  // by hive file path
  std::atomic<bool> m_stopping{false};
};

}  // namespace Platform::Posix
