#include "platform/posix/registry/notifier.h"

#include <pthread.h>

#include <algorithm>

#include "platform/registry.h"
#include "platform/synchronization.h"

namespace Platform::Posix {
namespace {

// How long a watcher thread sleeps without a wake before it looks for a writer that died between
// its commit and its announcement.
constexpr int kDeadWriterCheckMilliseconds = 100;

bool IsBelow(std::u16string_view path, std::u16string_view base) {
  if (base.empty()) return !path.empty();
  return path.size() > base.size() && path[base.size()] == u'\\' && path.substr(0, base.size()) == base;
}

std::u16string_view Parent(std::u16string_view path) {
  std::size_t slash = path.rfind(u'\\');
  return slash == std::u16string_view::npos ? std::u16string_view() : path.substr(0, slash);
}

void SignalAll(const std::vector<HANDLE>& events) {
  for (HANDLE event : events) SetEvent(event);
}

}  // namespace

RegistryNotifier::~RegistryNotifier() {
  m_stopping = true;
  for (auto& [file, watched] : m_hives) {
    if (!watched->thread.joinable()) continue;
    std::atomic_ref(watched->duty).fetch_add(1);
    FutexWakeAll(&watched->duty, false);
    // Without sleeps on two words the watcher sleeps on the wake count alone.
    if (!FutexCanSleepOnSeveral()) watched->announcements.WakeAll();
    watched->thread.join();
  }
}

LSTATUS RegistryNotifier::Arm(RegistryHive& hive, const std::u16string& path, bool subtree, DWORD filter, HANDLE event,
                              const void* owner) {
  std::lock_guard<std::mutex> lock(m_mutex);
  auto found = m_hives.find(hive.FilePath());
  if (found == m_hives.end()) {
    if (hive.Generations() == nullptr) return ERROR_FILE_NOT_FOUND;
    auto watched = std::make_unique<WatchedHive>(*this, hive.Generations()->Announcements());
    found = m_hives.emplace(hive.FilePath(), std::move(watched)).first;
  }
  WatchedHive& watched = *found->second;
  std::int64_t last = watched.announcements.Announced();
  // With no watch in this hive the watcher did not follow it; nothing before now matters.
  if (watched.watches.empty()) watched.lastSeen = std::max(watched.lastSeen, last);
  Watch watch;
  watch.armedAfter = last;
  watch.path = path;
  watch.subtree = subtree;
  watch.filter = filter;
  watch.event = event;
  watch.owner = owner;
  if (auto object = LookupHandle(event, KernelObjectKind::Event)) {
    auto* armed = static_cast<Event*>(object.get());
    armed->SetSource(&watched);
    watch.observed = armed->HasObservers();
  }
  bool observed = watch.observed;
  watched.watches.push_back(std::move(watch));
  if (!watched.thread.joinable()) watched.thread = std::thread([this, &watched] { Run(watched); });
  // A watcher that stopped reading while a thread waited must read again unless one still waits,
  // and for a watch that a registered wait hears in any case.
  if ((observed || watched.helpers.load() == 0) && !watched.watcherReads.load()) watched.CallWatcher(true);
  return ERROR_SUCCESS;
}

void RegistryNotifier::Release(const void* owner) {
  std::vector<HANDLE> signals;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& [file, watched] : m_hives) {
      auto& watches = watched->watches;
      for (const Watch& watch : watches) {
        if (watch.owner == owner) signals.push_back(watch.event);
      }
      watches.erase(std::remove_if(watches.begin(), watches.end(), [&](const Watch& w) { return w.owner == owner; }),
                    watches.end());
    }
  }
  SignalAll(signals);
}

bool RegistryNotifier::Concerns(const Watch& watch, const ChangeRecord& change) {
  const std::u16string& path = change.path;
  bool here = path == watch.path;
  bool inScope = here || (watch.subtree && IsBelow(path, watch.path));
  switch (change.kind) {
    case ChangeKind::None:
      return false;
    case ChangeKind::ValueSet:
      return (watch.filter & REG_NOTIFY_CHANGE_LAST_SET) != 0 && inScope;
    case ChangeKind::SecuritySet:
      return (watch.filter & (REG_NOTIFY_CHANGE_SECURITY | REG_NOTIFY_CHANGE_ATTRIBUTES)) != 0 && inScope;
    case ChangeKind::KeyCreated:
      return (watch.filter & REG_NOTIFY_CHANGE_NAME) != 0 &&
             (Parent(path) == watch.path || (watch.subtree && IsBelow(path, watch.path)));
    case ChangeKind::KeyDeleted:
      // The watched key itself going, with a subtree it lies in, always ends the watch.
      if (here || IsBelow(watch.path, path)) return true;
      return (watch.filter & REG_NOTIFY_CHANGE_NAME) != 0 &&
             (Parent(path) == watch.path || (watch.subtree && IsBelow(path, watch.path)));
  }
  return false;
}

void RegistryNotifier::ProcessLocked(WatchedHive& watched, std::vector<HANDLE>& signals) {
  if (watched.watches.empty()) return;
  std::int64_t announced = watched.announcements.Announced();
  if (announced <= watched.lastSeen) return;
  std::vector<ChangeRecord> changes;
  if (watched.announcements.ReadAfter(watched.lastSeen, announced, changes)) {
    FireLocked(watched, changes, signals);
  } else {
    // The ring no longer holds what this process had not read: anything may have changed.
    for (const Watch& watch : watched.watches) signals.push_back(watch.event);
    watched.watches.clear();
  }
  watched.lastSeen = announced;
}

void RegistryNotifier::FireLocked(WatchedHive& watched, const std::vector<ChangeRecord>& changes,
                                  std::vector<HANDLE>& signals) {
  auto& watches = watched.watches;
  for (const ChangeRecord& change : changes) {
    auto fired = std::remove_if(watches.begin(), watches.end(), [&](const Watch& watch) {
      if (watch.armedAfter >= change.sequence || !Concerns(watch, change)) return false;
      signals.push_back(watch.event);
      return true;
    });
    watches.erase(fired, watches.end());
  }
}

void RegistryNotifier::OnCommitted(void* context, RegistryHive& hive, const std::vector<ChangeRecord>& changes) {
  auto* notifier = static_cast<RegistryNotifier*>(context);
  std::vector<HANDLE> signals;
  {
    std::lock_guard<std::mutex> lock(notifier->m_mutex);
    auto found = notifier->m_hives.find(hive.FilePath());
    if (found == notifier->m_hives.end()) return;
    // The watcher thread reads these changes again later; the watches they fire are gone by then.
    FireLocked(*found->second, changes, signals);
  }
  SignalAll(signals);
}

bool RegistryNotifier::AnyObservedLocked(const WatchedHive& watched) {
  return std::any_of(watched.watches.begin(), watched.watches.end(), [](const Watch& w) { return w.observed; });
}

void RegistryNotifier::Process(WatchedHive& watched) {
  std::vector<HANDLE> signals;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    ProcessLocked(watched, signals);
  }
  SignalAll(signals);
}

void RegistryNotifier::Run(WatchedHive& watched) {
  ::pthread_setname_np(::pthread_self(), "registry-watch");
  ChangeAnnouncements& announcements = watched.announcements;
  const bool sleepsOnTwoWords = FutexCanSleepOnSeveral();
  for (;;) {
    // Both read before looking, so that an announcement or a call made meanwhile cuts the next
    // sleep short.
    FutexWait call{&watched.duty, std::atomic_ref(watched.duty).load(), false};
    std::uint32_t seen = announcements.WakeCount();
    if (m_stopping) return;
    bool reads = watched.helpers.load() == 0;
    if (!reads) {
      std::lock_guard<std::mutex> lock(m_mutex);
      reads = AnyObservedLocked(watched);
    }
    watched.watcherReads.store(reads);
    if (reads) Process(watched);
    timespec deadline = FutexDeadline(kDeadWriterCheckMilliseconds);
    bool woken = reads ? announcements.Wait(seen, sleepsOnTwoWords ? &call : nullptr, &deadline)
                       : FutexSleep(call, &deadline) == FutexWaitResult::Woken;
    // A committer that died before its announcement is announced for, whoever reads.
    if (!woken) announcements.AnnounceForADeadCommitter();
  }
}

bool RegistryNotifier::WatchedHive::BeginHelping() {
  if (!FutexCanSleepOnSeveral()) return false;
  {
    // The watcher keeps reading for a registered wait; a second reader would only add a wake-up.
    std::lock_guard<std::mutex> lock(notifier.m_mutex);
    if (AnyObservedLocked(*this)) return false;
  }
  if (helpers.fetch_add(1) == 0) CallWatcher(false);
  return true;
}

bool RegistryNotifier::WatchedHive::HelpAndSleep(const FutexWait& own, const timespec* deadline) {
  std::uint32_t seen = announcements.WakeCount();
  notifier.Process(*this);
  if (std::atomic_ref(*own.word).load() != own.value) return true;
  return announcements.Wait(seen, &own, deadline);
}

void RegistryNotifier::WatchedHive::EndHelping() {
  if (helpers.fetch_sub(1) != 1) return;
  // With no watch left nothing needs reading; the next arming calls the watcher back.
  bool watching = false;
  {
    std::lock_guard<std::mutex> lock(notifier.m_mutex);
    watching = !watches.empty();
  }
  if (watching) CallWatcher(true);
}

void RegistryNotifier::WatchedHive::CallWatcher(bool reading) {
  std::atomic_ref(duty).fetch_add(1);
  if (watcherReads.load() != reading) FutexWakeAll(&duty, false);
}

}  // namespace Platform::Posix
