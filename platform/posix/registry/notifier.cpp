#include "platform/posix/registry/notifier.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>

#include "platform/registry.h"
#include "platform/synchronization.h"

namespace Platform::Posix {
namespace {

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
  if (m_thread.joinable()) {
    std::uint64_t one = 1;
    [[maybe_unused]] ssize_t written = ::write(m_wake, &one, sizeof(one));
    m_thread.join();
  }
  if (m_inotify >= 0) ::close(m_inotify);
  if (m_wake >= 0) ::close(m_wake);
}

LSTATUS RegistryNotifier::StartLocked() {
  if (m_thread.joinable()) return ERROR_SUCCESS;
  m_inotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (m_inotify < 0) return ERROR_NOT_ENOUGH_MEMORY;
  m_wake = ::eventfd(0, EFD_CLOEXEC);
  if (m_wake < 0) {
    ::close(m_inotify);
    m_inotify = -1;
    return ERROR_NOT_ENOUGH_MEMORY;
  }
  m_thread = std::thread([this] { Run(); });
  return ERROR_SUCCESS;
}

LSTATUS RegistryNotifier::Arm(RegistryHive& hive, const std::u16string& path, bool subtree, DWORD filter,
                              HANDLE event, const void* owner) {
  std::lock_guard<std::mutex> lock(m_mutex);
  LSTATUS status = StartLocked();
  if (status != ERROR_SUCCESS) return status;
  auto found = m_hives.find(hive.FilePath());
  if (found == m_hives.end()) {
    WatchedHive watched;
    status = ChangeLogReader::Open(hive.FilePath(), watched.reader);
    if (status != ERROR_SUCCESS) return status;
    std::string generations = hive.FilePath() + "-gen";
    watched.inotifyWatch = ::inotify_add_watch(m_inotify, generations.c_str(), IN_MODIFY | IN_CLOSE_WRITE);
    if (watched.inotifyWatch < 0) return ERROR_FILE_NOT_FOUND;
    found = m_hives.emplace(hive.FilePath(), std::move(watched)).first;
  }
  WatchedHive& watched = found->second;
  std::int64_t last = 0;
  status = watched.reader->LastSequence(last);
  if (status != ERROR_SUCCESS) return status;
  // With no watch in this hive the watcher did not follow its log; nothing before now matters.
  if (watched.watches.empty()) watched.lastSeen = std::max(watched.lastSeen, last);
  Watch watch;
  watch.armedAfter = last;
  watch.path = path;
  watch.subtree = subtree;
  watch.filter = filter;
  watch.event = event;
  watch.owner = owner;
  watched.watches.push_back(std::move(watch));
  return ERROR_SUCCESS;
}

void RegistryNotifier::Release(const void* owner) {
  std::vector<HANDLE> signals;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& [file, watched] : m_hives) {
      auto& watches = watched.watches;
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
  std::vector<ChangeRecord> changes;
  bool gap = false;
  if (watched.reader->ReadAfter(watched.lastSeen, changes, gap) != ERROR_SUCCESS) return;
  auto& watches = watched.watches;
  if (gap) {
    // The log was pruned past what this process had read: anything may have changed.
    for (const Watch& watch : watches) signals.push_back(watch.event);
    watches.clear();
  }
  for (const ChangeRecord& change : changes) {
    auto fired = std::remove_if(watches.begin(), watches.end(), [&](const Watch& watch) {
      if (watch.armedAfter >= change.sequence || !Concerns(watch, change)) return false;
      signals.push_back(watch.event);
      return true;
    });
    watches.erase(fired, watches.end());
  }
  if (!changes.empty()) watched.lastSeen = changes.back().sequence;
}

void RegistryNotifier::Run() {
  alignas(inotify_event) char buffer[16384];
  for (;;) {
    pollfd descriptors[2] = {{m_inotify, POLLIN, 0}, {m_wake, POLLIN, 0}};
    int ready = ::poll(descriptors, 2, -1);
    if (ready < 0 && errno != EINTR) return;
    if ((descriptors[1].revents & POLLIN) != 0) return;

    std::vector<int> touched;
    bool overflow = false;
    for (;;) {
      ssize_t length = ::read(m_inotify, buffer, sizeof(buffer));
      if (length <= 0) break;
      for (char* at = buffer; at < buffer + length;) {
        auto* event = reinterpret_cast<inotify_event*>(at);
        if ((event->mask & IN_Q_OVERFLOW) != 0) overflow = true;
        touched.push_back(event->wd);
        at += sizeof(inotify_event) + event->len;
      }
    }
    std::vector<HANDLE> signals;
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      for (auto& [file, watched] : m_hives) {
        if (overflow || std::find(touched.begin(), touched.end(), watched.inotifyWatch) != touched.end()) {
          ProcessLocked(watched, signals);
        }
      }
    }
    SignalAll(signals);
  }
}

}  // namespace Platform::Posix
