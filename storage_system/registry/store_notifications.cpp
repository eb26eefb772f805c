// Change notifications of a registry store: the monitor list, the watch that is armed again at every
// event, the handler that only tries the lock, the postponement timer, and the ordered teardown.
#include <algorithm>
#include <exception>

#include "foundation/log.h"
#include "foundation/windows_version.h"
#include "platform/synchronization.h"
#include "platform/system_error.h"
#include "platform/thread_pool.h"
#include "storage_system/lock_guard.h"
#include "storage_system/registry/store_delegate.h"

namespace StorageSystem::Registry {

namespace {

constexpr Platform::DWORD kPostponeMilliseconds = 15;
constexpr int kLockTries = 1000;
constexpr int kTimerDeleteTries = 100;

// How the watch is armed, fixed at first use: from 6.2 on a watch outlives the thread that asked
// for it; before, it must be asked for from a persistent pool thread.
struct NotifySettings {
  Platform::DWORD filter;
  Platform::ULONG workItemFlags;
};

const NotifySettings& Settings() {
  static const NotifySettings settings =
      IsWindowsVersionOrGreater6(2)
          ? NotifySettings{Platform::REG_NOTIFY_CHANGE_NAME | Platform::REG_NOTIFY_CHANGE_LAST_SET |
                               Platform::REG_NOTIFY_THREAD_AGNOSTIC,
                           0}
          : NotifySettings{Platform::REG_NOTIFY_CHANGE_NAME | Platform::REG_NOTIFY_CHANGE_LAST_SET,
                           Platform::WT_EXECUTEINPERSISTENTTHREAD};
  return settings;
}

// Deletes `timer`, trying up to 100 times. ERROR_IO_PENDING counts as done: the callback is running
// and the timer goes when it returns. `completionEvent` INVALID_HANDLE_VALUE waits for a running
// callback.
void DeleteTimerQueueTimerSafe(Platform::HANDLE timer, Platform::HANDLE completionEvent) {
  for (int attempt = 0; attempt < kTimerDeleteTries; ++attempt) {
    if (Platform::DeleteTimerQueueTimer(nullptr, timer, completionEvent)) return;
    const Platform::DWORD error = Platform::GetLastError();
    if (error == static_cast<Platform::DWORD>(Platform::ERROR_IO_PENDING)) return;
    static_cast<void>(RaiseSystemError("DeleteTimerQueueTimerSafe", error, "DeleteTimerQueueTimer"));
    Platform::Sleep(1);
  }
}

}  // namespace

ErrorCode CStoreDelegate::RegisterMonitor(IStoreMonitor* monitor) {
  CLockGuard guard(Lock());
  const bool first = m_monitors.empty();
  ErrorCode code = QueueMonitor(monitor);
  if (code == ErrorNone && first) {
    code = InitializeNotif();
    if (code == ErrorNone) {
      code = RequestNotif();
      if (code != ErrorNone) UnregisterWaitSafe();
    }
    // The failure of the notifications stays the result, whatever the removal says.
    if (code != ErrorNone) static_cast<void>(UnqueueMonitor(monitor));
  }
  if (code == ErrorNone) ++m_monitorCount;
  return code;
}

ErrorCode CStoreDelegate::UnregisterMonitor(IStoreMonitor* monitor) {
  CLockGuard guard(Lock());
  if (ErrorCode code = UnqueueMonitor(monitor); code != ErrorNone) return code;
  --m_monitorCount;
  // With the lock held: a handler waiting for it sees the count of 0 and leaves.
  if (m_monitors.empty()) UnregisterWaitSafe();
  return ErrorNone;
}

ErrorCode CStoreDelegate::QueueMonitor(IStoreMonitor* monitor) {
  static constexpr const char* kName = "StorageSystem::Registry::CStoreDelegate::QueueMonitor";
  if (std::find(m_monitors.begin(), m_monitors.end(), monitor) != m_monitors.end()) {
    return RaiseError(kName, ErrorAlreadyExists, nullptr);
  }
  try {
    m_monitors.push_back(monitor);
  } catch (const std::exception& e) {
    return RaiseStlException(kName, e.what());
  }
  return ErrorNone;
}

ErrorCode CStoreDelegate::UnqueueMonitor(IStoreMonitor* monitor) {
  auto found = std::find(m_monitors.begin(), m_monitors.end(), monitor);
  if (found == m_monitors.end()) {
    return RaiseError("StorageSystem::Registry::CStoreDelegate::UnqueueMonitor", ErrorNotFound, nullptr);
  }
  m_monitors.erase(found);
  return ErrorNone;
}

ErrorCode CStoreDelegate::InitializeNotif() {
  Platform::HANDLE event = Platform::CreateEventW(nullptr, Platform::FALSE, Platform::FALSE, nullptr);
  // DELIBERATE: the two failures below report under compiler-made lambda names, the labels they
  // have always had.
  if (event == nullptr) {
    return RaiseSystemError(
        "StorageSystem::Registry::CStoreDelegate::InitializeNotif::<lambda_8306077b3ab66265f1d8acda6a075ece>::operator "
        "()",
        Platform::GetLastError(), "CreateEventW");
  }
  Platform::HANDLE wait = nullptr;
  if (!Platform::RegisterWaitForSingleObject(&wait, event, WaitCallback, this, Platform::INFINITE,
                                             Platform::WT_EXECUTEDEFAULT)) {
    const ErrorCode code = RaiseSystemError(
        "StorageSystem::Registry::CStoreDelegate::InitializeNotif::<lambda_72124b9239967a7f5d108275188d3aee>::operator "
        "()",
        Platform::GetLastError(), "RegisterWaitForSingleObject");
    Platform::CloseHandle(event);
    return code;
  }
  m_notifyEvent.store(event);
  m_waitHandle.store(wait);
  return ErrorNone;
}

ErrorCode CStoreDelegate::RequestNotif() {
  ++m_callbacksInFlight;
  if (!Platform::QueueUserWorkItem(NotifyWorker, this, Settings().workItemFlags)) {
    --m_callbacksInFlight;
    return RaiseSystemError("StorageSystem::Registry::CStoreDelegate::RequestNotif", Platform::GetLastError(),
                            "QueueUserWorkItem");
  }
  // The worker may have run already; the count wraps and comes back.
  ++m_pendingRequests;
  return ErrorNone;
}

Platform::DWORD CStoreDelegate::NotifyWorker(void* context) {
  auto* self = static_cast<CStoreDelegate*>(context);
  // A failed watch goes unnoticed: monitors hear of nothing until something arms it again.
  Platform::RegNotifyChangeKeyValue(self->m_key.Get(), Platform::TRUE, Settings().filter, self->m_notifyEvent.load(),
                                    Platform::TRUE);
  --self->m_pendingRequests;
  --self->m_callbacksInFlight;
  return 0;
}

void CStoreDelegate::WaitCallback(void* context, Platform::BOOLEAN timerOrWaitFired) {
  auto* self = static_cast<CStoreDelegate*>(context);
  ++self->m_callbacksInFlight;
  self->HandleEvent();
  --self->m_callbacksInFlight;
}

void CStoreDelegate::TimerCallback(void* context, Platform::BOOLEAN timerOrWaitFired) {
  auto* self = static_cast<CStoreDelegate*>(context);
  ++self->m_callbacksInFlight;
  Platform::HANDLE timer = nullptr;
  {
    std::lock_guard<std::mutex> guard(self->m_postponeMutex);
    timer = self->m_timer.exchange(nullptr);
    // The creator has not stored the handle yet: the next postponement deletes it.
    if (timer == nullptr) self->m_timerFired.store(1);
  }
  if (timer != nullptr) DeleteTimerQueueTimerSafe(timer, nullptr);
  self->HandleEvent();
  --self->m_callbacksInFlight;
}

void CStoreDelegate::HandleEvent() {
  // Ask for the next watch first, so that a change made while this one is handled is heard.
  // DELIBERATE: the watch is armed by a queued work item; a change that comes after the monitors
  // below have read and before that worker arms goes unheard until a later change.
  if (m_notifyEvent.load() != nullptr) static_cast<void>(RequestNotif());

  if (++m_eventsInProgress != 1) {
    LogWrite(LogLevelInfo, kLogTag, u"Previous Registry event still being processed, postponing event handling");
    RegEventPostponeRequest();
    --m_eventsInProgress;
    return;
  }

  // Only try: the removal of the last monitor waits for this handler while it holds the lock.
  ILock* lock = Lock();
  for (int tries = 0; !lock->TryLock(); ++tries) {
    if (m_monitorCount.load() == 0) {
      --m_eventsInProgress;
      return;
    }
    if (tries >= kLockTries) {
      LogWrite(LogLevelInfo, kLogTag, u"Could not process Registry event fast enough, postponing event handling");
      RegEventPostponeRequest();
      --m_eventsInProgress;
      return;
    }
    Platform::Sleep(1);
  }
  {
    CLockGuard guard(lock, kAdoptLock);
    for (std::size_t i = 0; i < m_monitors.size(); ++i) m_monitors[i]->OnStoreChange(0);
  }
  --m_eventsInProgress;
}

void CStoreDelegate::RegEventPostponeRequest() {
  static constexpr const char* kName = "StorageSystem::Registry::CStoreDelegate::RegEventPostponeRequest";
  std::lock_guard<std::mutex> guard(m_postponeMutex);
  if (m_waitHandle.load() == nullptr) {
    LogWrite(LogLevelInfo, kLogTag, u"Notifications are being shutdown. Request will not be postponed.");
    return;
  }

  if (Platform::HANDLE old = m_timer.exchange(nullptr); old != nullptr) {
    if (m_timerFired.exchange(0) == 0) {
      // Not fired yet: move it on rather than adding a second one.
      if (Platform::ChangeTimerQueueTimer(nullptr, old, kPostponeMilliseconds, 0)) {
        if (Platform::HANDLE other = m_timer.exchange(old); other != nullptr) DeleteTimerQueueTimerSafe(other, nullptr);
        return;
      }
      // DELIBERATE: a timer that cannot be moved is left alone: it still fires at its own time, and
      // a new one is made for this postponement.
      static_cast<void>(RaiseSystemError(kName, Platform::GetLastError(), "ChangeTimerQueueTimer"));
    } else {
      DeleteTimerQueueTimerSafe(old, nullptr);
    }
  }

  Platform::HANDLE created = nullptr;
  if (!Platform::CreateTimerQueueTimer(&created, nullptr, TimerCallback, this, kPostponeMilliseconds, 0,
                                       Platform::WT_EXECUTEDEFAULT)) {
    static_cast<void>(RaiseSystemError(kName, Platform::GetLastError(), "CreateTimerQueueTimer"));
    return;
  }
  if (created != nullptr) {
    if (Platform::HANDLE other = m_timer.exchange(created); other != nullptr) DeleteTimerQueueTimerSafe(other, nullptr);
  }
}

void CStoreDelegate::UnregisterWaitSafe() {
  // No queued worker may touch the event after it is closed.
  while (m_pendingRequests.load() != 0) Platform::Sleep(1);

  Platform::HANDLE wait = nullptr;
  Platform::HANDLE event = nullptr;
  Platform::HANDLE timer = nullptr;
  {
    // Once the wait handle is gone no postponement makes a new timer.
    std::lock_guard<std::mutex> guard(m_postponeMutex);
    wait = m_waitHandle.exchange(nullptr);
    event = m_notifyEvent.exchange(nullptr);
    timer = m_timer.exchange(nullptr);
  }
  if (timer != nullptr) DeleteTimerQueueTimerSafe(timer, Platform::INVALID_HANDLE_VALUE);
  m_timerFired.store(0);

  // Waits for a running handler, which leaves at its next try since the monitor count is 0.
  if (wait != nullptr && !Platform::UnregisterWaitEx(wait, Platform::INVALID_HANDLE_VALUE)) {
    static_cast<void>(RaiseSystemError("UnregisterWaitSafe", Platform::GetLastError(), "UnregisterWaitEx"));
  }
  // A timer callback that had already taken its own handle, or a worker that the last handler
  // queued, may still be on its way out.
  while (m_callbacksInFlight.load() != 0) Platform::Sleep(1);
  if (event != nullptr) Platform::CloseHandle(event);
}

void CStoreDelegate::StopTimer() {
  Platform::HANDLE timer = nullptr;
  {
    std::lock_guard<std::mutex> guard(m_postponeMutex);
    timer = m_timer.exchange(nullptr);
  }
  if (timer != nullptr) DeleteTimerQueueTimerSafe(timer, Platform::INVALID_HANDLE_VALUE);
}

}  // namespace StorageSystem::Registry
