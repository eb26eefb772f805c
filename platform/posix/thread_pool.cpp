#include "platform/thread_pool.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/no_destructor.h"
#include "platform/posix/event.h"
#include "platform/posix/kernel_object.h"
#include "platform/synchronization.h"
#include "platform/system_error.h"
#include "platform/test_seam.h"

namespace Platform {
namespace {

using Clock = std::chrono::steady_clock;

// Workers are started as callbacks need them, up to this many; one blocked callback therefore
// never holds up the others until this many block at once.
constexpr std::size_t kMaxWorkers = 64;
// A worker with nothing to do for this long ends; the pool starts another when work comes.
constexpr auto kWorkerIdleTime = std::chrono::seconds(10);

// A registered wait or a timer-queue timer: an object whose callbacks the pool runs, and which is
// ended by UnregisterWaitEx or DeleteTimerQueueTimer. All fields below the constructor are guarded
// by the pool's mutex.
class PoolObject : public Posix::KernelObject {
public:
  PoolObject(Posix::KernelObjectKind kind, WAITORTIMERCALLBACK callback, void* context)
      : KernelObject(kind), m_callback(callback), m_context(context) {}

  bool ClosableByCloseHandle() const override { return false; }

  const WAITORTIMERCALLBACK m_callback;
  void* const m_context;

  // Whether the dispatcher still fires this object.
  bool m_armed = true;
  // Set by UnregisterWaitEx or DeleteTimerQueueTimer; no callback is queued after that.
  bool m_closed = false;
  // Callbacks handed to the workers and not yet started, and callbacks running now.
  std::size_t m_queued = 0;
  std::size_t m_running = 0;
  // Completion events to signal once the last running callback has returned.
  std::vector<std::shared_ptr<Posix::Event>> m_completions;
};

class RegisteredWait final : public PoolObject {
public:
  RegisteredWait(std::shared_ptr<Posix::KernelObject> object, WAITORTIMERCALLBACK callback, void* context,
                 ULONG milliseconds, ULONG flags)
      : PoolObject(Posix::KernelObjectKind::RegisteredWait, callback, context), m_object(std::move(object)),
        m_timeout(milliseconds), m_onlyOnce((flags & WT_EXECUTEONLYONCE) != 0) {}

  Posix::WaitableObject& Waitable() const { return *m_object->AsWaitable(); }

  // Holds the waited object alive while the wait is registered, even if its handle is closed.
  const std::shared_ptr<Posix::KernelObject> m_object;
  const ULONG m_timeout;
  const bool m_onlyOnce;
  // When the wait times out; unset for INFINITE. Guarded by the pool's mutex.
  std::optional<Clock::time_point> m_deadline;
};

class QueueTimer final : public PoolObject {
public:
  QueueTimer(WAITORTIMERCALLBACK callback, void* context, DWORD period)
      : PoolObject(Posix::KernelObjectKind::TimerQueueTimer, callback, context), m_period(period) {}

  // Guarded by the pool's mutex.
  DWORD m_period;
  Clock::time_point m_deadline;
};

// One callback waiting for a worker: a work item, or a call of a wait's or timer's callback.
struct WorkItem {
  LPTHREAD_START_ROUTINE m_function = nullptr;
  void* m_context = nullptr;
  std::shared_ptr<PoolObject> m_owner;
  BOOLEAN m_timerOrWaitFired = FALSE;
};

// The pool object whose callback the calling worker is running, if any. Lets a blocking unregister
// from inside an object's own callback leave out that callback instead of waiting for itself.
thread_local const PoolObject* t_runningObject = nullptr;

// The process's thread pool: one dispatcher thread that watches timers and the time limits of
// registered waits, and workers that run the callbacks. A signal queues its waits' callbacks from
// the signalling thread. Neither the dispatcher nor a signaller runs a callback itself, so a
// callback that blocks delays neither timers nor waits.
//
// DELIBERATE: the pool is made on first use and never destroyed. Its threads are detached and may
// be inside a callback or waiting on its condition variables while the process runs its static
// destructors; destroying the pool there would pull the mutex from under them, and joining them
// from a static destructor could wait for a callback that waits for something already destroyed.
// The operating system ends the threads with the process.
//
// Lock order: the pool's mutex, then an event's mutex. Events call OnSignalled with no lock held,
// and the pool signals completion events only after releasing its mutex.
class ThreadPool final : public Posix::SignalObserver {
public:
  static ThreadPool& Instance() {
    static NoDestructor<ThreadPool> pool;
    return *pool;
  }

  // Queues the callbacks of the signalled waits from the signalling thread: a detour through the
  // dispatcher would add one more thread wake-up to every signal. The dispatcher hears of it only
  // when an object stays signalled, since it fires such waits again and again, as Windows does.
  void OnSignalled() override {
    bool keepsFiring = false;
    {
      std::lock_guard lock(m_mutex);
      const Clock::time_point now = Clock::now();
      const std::vector<std::shared_ptr<RegisteredWait>> waits = m_waits;
      for (const std::shared_ptr<RegisteredWait>& wait : waits) {
        if (!wait->Waitable().TryAcquire()) continue;
        FireWaitLocked(wait, FALSE, now);
        keepsFiring = keepsFiring || wait->Waitable().KeepsSignalWhenTaken();
      }
      if (keepsFiring) m_rescan = true;
    }
    if (keepsFiring) m_dispatcherWake.notify_one();
  }

  // Queues a work item. Returns false only when no worker exists and none can be started.
  bool Queue(LPTHREAD_START_ROUTINE function, void* context) {
    std::lock_guard lock(m_mutex);
    m_queue.push_back(WorkItem{function, context, nullptr, FALSE});
    if (!EnsureWorkerLocked() && m_workers == 0) {
      m_queue.pop_back();
      return false;
    }
    return true;
  }

  // Starts watching a new wait. Throws std::bad_alloc or std::system_error when resources run out.
  void AddWait(const std::shared_ptr<RegisteredWait>& wait) {
    std::unique_lock lock(m_mutex);
    EnsureDispatcherLocked();
    if (wait->m_timeout != INFINITE) wait->m_deadline = Clock::now() + std::chrono::milliseconds(wait->m_timeout);
    m_waits.push_back(wait);
    wait->Waitable().AddObserver(this);
    m_rescan = true;
    lock.unlock();
    m_dispatcherWake.notify_one();
  }

  void AddTimer(const std::shared_ptr<QueueTimer>& timer, DWORD dueTime) {
    std::unique_lock lock(m_mutex);
    EnsureDispatcherLocked();
    timer->m_deadline = Clock::now() + std::chrono::milliseconds(dueTime);
    m_timers.push_back(timer);
    m_rescan = true;
    lock.unlock();
    m_dispatcherWake.notify_one();
  }

  // Sets a timer's due time and period anew. A one-shot timer that has fired stays as it is.
  void ChangeTimer(const std::shared_ptr<QueueTimer>& timer, DWORD dueTime, DWORD period) {
    std::unique_lock lock(m_mutex);
    if (timer->m_closed || (!timer->m_armed && timer->m_period == 0)) return;
    timer->m_deadline = Clock::now() + std::chrono::milliseconds(dueTime);
    timer->m_period = period;
    if (!timer->m_armed) {
      timer->m_armed = true;
      m_timers.push_back(timer);
    }
    m_rescan = true;
    lock.unlock();
    m_dispatcherWake.notify_one();
  }

  // Ends a wait or timer whose handle the caller has just taken out of the handle table. Drops its
  // callbacks that have not started; then, by `completionEvent`: null returns at once, false with
  // ERROR_IO_PENDING while a callback runs; INVALID_HANDLE_VALUE waits until running callbacks
  // have returned; an event is signalled when they have, and while one runs the call answers
  // false with ERROR_IO_PENDING, as Windows does. Returns the result of the Win32 call.
  BOOL Close(const std::shared_ptr<PoolObject>& object, HANDLE completionEvent,
             std::shared_ptr<Posix::Event> completion) {
    std::unique_lock lock(m_mutex);
    object->m_closed = true;
    DisarmLocked(*object);
    if (object->m_queued != 0) {
      std::erase_if(m_queue, [&](const WorkItem& item) { return item.m_owner == object; });
      object->m_queued = 0;
    }

    if (completionEvent == nullptr) {
      if (object->m_running == 0) return TRUE;
      SetLastError(ERROR_IO_PENDING);
      return FALSE;
    }
    if (completionEvent == INVALID_HANDLE_VALUE) {
      // A callback cannot wait for itself to return. Called from the object's own callback, this
      // waits for the object's other callbacks and then reports the caller's as still running.
      const std::size_t own = t_runningObject == object.get() ? 1 : 0;
      m_callbackEnded.wait(lock, [&] { return object->m_running <= own; });
      if (own == 0) return TRUE;
      SetLastError(ERROR_IO_PENDING);
      return FALSE;
    }
    if (object->m_running != 0) {
      object->m_completions.push_back(std::move(completion));
      SetLastError(ERROR_IO_PENDING);
      return FALSE;
    }
    lock.unlock();
    completion->Set();
    return TRUE;
  }

private:
  friend class NoDestructor<ThreadPool>;
  ThreadPool() = default;

  // Starts the dispatcher on first need. Throws std::system_error if no thread can be made.
  void EnsureDispatcherLocked() {
    if (m_dispatcherStarted) return;
    std::thread(&ThreadPool::DispatcherLoop, this).detach();
    m_dispatcherStarted = true;
  }

  // Starts a worker when queued callbacks outnumber idle workers and the bound allows. Returns
  // whether a worker was started.
  bool EnsureWorkerLocked() {
    if (m_queue.size() <= m_idleWorkers) {
      m_workAvailable.notify_one();
      return false;
    }
    if (m_workers >= kMaxWorkers) return false;
    try {
      std::thread(&ThreadPool::WorkerLoop, this).detach();
    } catch (const std::system_error&) {
      return false;
    }
    ++m_workers;
    return true;
  }

  void DisarmLocked(PoolObject& object) {
    if (!object.m_armed) return;
    object.m_armed = false;
    if (object.Kind() == Posix::KernelObjectKind::RegisteredWait) {
      auto& wait = static_cast<RegisteredWait&>(object);
      wait.Waitable().RemoveObserver(this);
      std::erase_if(m_waits, [&](const std::shared_ptr<RegisteredWait>& entry) { return entry.get() == &wait; });
    } else {
      std::erase_if(m_timers, [&](const std::shared_ptr<QueueTimer>& entry) { return entry.get() == &object; });
    }
  }

  void DispatchLocked(const std::shared_ptr<PoolObject>& owner, BOOLEAN timerOrWaitFired) {
    m_queue.push_back(WorkItem{nullptr, nullptr, owner, timerOrWaitFired});
    ++owner->m_queued;
    EnsureWorkerLocked();
  }

  // Queues a call of the wait's callback; a wait made to run once ends, another starts its time
  // limit again from `now`. With the mutex held.
  void FireWaitLocked(const std::shared_ptr<RegisteredWait>& wait, BOOLEAN timedOut, Clock::time_point now) {
    DispatchLocked(wait, timedOut);
    if (wait->m_onlyOnce) {
      DisarmLocked(*wait);
    } else if (wait->m_deadline) {
      wait->m_deadline = now + std::chrono::milliseconds(wait->m_timeout);
    }
  }

  // Fires what is due and returns whether anything fired. With the mutex held.
  bool ScanLocked(Clock::time_point now) {
    bool fired = false;
    // Firing may disarm entries, which removes them from the lists; walk over copies.
    const std::vector<std::shared_ptr<RegisteredWait>> waits = m_waits;
    for (const std::shared_ptr<RegisteredWait>& wait : waits) {
      BOOLEAN timedOut;
      if (wait->Waitable().TryAcquire()) {
        timedOut = FALSE;
      } else if (wait->m_deadline && *wait->m_deadline <= now) {
        timedOut = TRUE;
      } else {
        continue;
      }
      FireWaitLocked(wait, timedOut, now);
      fired = true;
    }
    const std::vector<std::shared_ptr<QueueTimer>> timers = m_timers;
    for (const std::shared_ptr<QueueTimer>& timer : timers) {
      if (timer->m_deadline > now) continue;
      DispatchLocked(timer, TRUE);
      fired = true;
      if (timer->m_period == 0) {
        DisarmLocked(*timer);
      } else {
        // Keep the rhythm of the period, but after a stall fire once rather than in a burst.
        timer->m_deadline = std::max(timer->m_deadline + std::chrono::milliseconds(timer->m_period), now);
      }
    }
    return fired;
  }

  std::optional<Clock::time_point> NextDeadlineLocked() const {
    std::optional<Clock::time_point> next;
    for (const auto& wait : m_waits) {
      if (wait->m_deadline && (!next || *wait->m_deadline < *next)) next = wait->m_deadline;
    }
    for (const auto& timer : m_timers) {
      if (!next || timer->m_deadline < *next) next = timer->m_deadline;
    }
    return next;
  }

  void DispatcherLoop() {
    std::unique_lock lock(m_mutex);
    for (;;) {
      m_rescan = false;
      if (ScanLocked(Clock::now())) {
        // A manual-reset event stays signalled and fires its waits again at once, as on Windows;
        // let the workers at the mutex between rounds.
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
        continue;
      }
      const std::optional<Clock::time_point> next = NextDeadlineLocked();
      if (next) {
        m_dispatcherWake.wait_until(lock, *next, [this] { return m_rescan; });
      } else {
        m_dispatcherWake.wait(lock, [this] { return m_rescan; });
      }
    }
  }

  void WorkerLoop() {
    std::unique_lock lock(m_mutex);
    for (;;) {
      if (m_queue.empty()) {
        ++m_idleWorkers;
        const bool woken = m_workAvailable.wait_for(lock, kWorkerIdleTime, [this] { return !m_queue.empty(); });
        --m_idleWorkers;
        if (!woken) {
          --m_workers;
          return;
        }
      }
      WorkItem item = std::move(m_queue.front());
      m_queue.pop_front();
      if (item.m_owner) {
        --item.m_owner->m_queued;
        ++item.m_owner->m_running;
      }
      lock.unlock();

      if (item.m_owner) {
        t_runningObject = item.m_owner.get();
        item.m_owner->m_callback(item.m_owner->m_context, item.m_timerOrWaitFired);
        t_runningObject = nullptr;
      } else {
        item.m_function(item.m_context);
      }

      lock.lock();
      if (item.m_owner) FinishCallbackLocked(lock, *item.m_owner);
    }
  }

  // Counts a callback of `owner` as returned. After a close this wakes blocking closers, and the
  // last callback signals the completion events (with the mutex released, see the lock order).
  void FinishCallbackLocked(std::unique_lock<std::mutex>& lock, PoolObject& owner) {
    --owner.m_running;
    if (!owner.m_closed) return;
    m_callbackEnded.notify_all();
    if (owner.m_running != 0 || owner.m_completions.empty()) return;
    std::vector<std::shared_ptr<Posix::Event>> completions = std::move(owner.m_completions);
    owner.m_completions.clear();
    lock.unlock();
    for (const auto& completion : completions) completion->Set();
    lock.lock();
  }

  std::mutex m_mutex;
  std::condition_variable m_dispatcherWake;
  std::condition_variable m_workAvailable;
  std::condition_variable m_callbackEnded;
  bool m_dispatcherStarted = false;
  bool m_rescan = false;
  std::vector<std::shared_ptr<RegisteredWait>> m_waits;
  std::vector<std::shared_ptr<QueueTimer>> m_timers;
  std::deque<WorkItem> m_queue;
  std::size_t m_workers = 0;
  std::size_t m_idleWorkers = 0;
};

// Checks the completion argument of UnregisterWaitEx and DeleteTimerQueueTimer; an event is looked
// up (null with ERROR_INVALID_HANDLE if it is not one).
bool ResolveCompletion(HANDLE completionEvent, std::shared_ptr<Posix::Event>& event) {
  if (completionEvent == nullptr || completionEvent == INVALID_HANDLE_VALUE) return true;
  event = std::static_pointer_cast<Posix::Event>(Posix::LookupHandle(completionEvent, Posix::KernelObjectKind::Event));
  return event != nullptr;
}

bool CheckDefaultQueue(HANDLE timerQueue) {
  // Only the default queue exists here (CreateTimerQueue is not offered), so any other is unknown.
  if (timerQueue == nullptr) return true;
  SetLastError(ERROR_INVALID_HANDLE);
  return false;
}

// Makes a wait or a timer by `make`, enters it in the handle table and hands it to the pool by
// `start`. The handle is in the table before the dispatcher can fire the object, so that a callback
// may already close it; an object the pool does not take leaves the table again. FALSE with
// ERROR_NOT_ENOUGH_MEMORY when memory or a thread cannot be had.
template <class Make, class Start>
BOOL StartPoolObject(HANDLE* newHandle, Posix::KernelObjectKind kind, Make make, Start start) {
  try {
    auto object = make();
    *newHandle = Posix::InsertHandle(object);
    try {
      start(object);
    } catch (...) {
      Posix::RemoveHandle(*newHandle, kind);
      *newHandle = nullptr;
      throw;
    }
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  } catch (const std::system_error&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  return TRUE;
}

}  // namespace

BOOL RegisterWaitForSingleObject(HANDLE* newWaitObject, HANDLE object, WAITORTIMERCALLBACK callback, void* context,
                                 ULONG milliseconds, ULONG flags) {
  if (newWaitObject == nullptr || callback == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  std::shared_ptr<Posix::KernelObject> target = Posix::LookupAnyHandle(object);
  if (!target) return FALSE;
  if (target->AsWaitable() == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return StartPoolObject(
      newWaitObject, Posix::KernelObjectKind::RegisteredWait,
      [&] { return std::make_shared<RegisteredWait>(std::move(target), callback, context, milliseconds, flags); },
      [](const std::shared_ptr<RegisteredWait>& wait) { ThreadPool::Instance().AddWait(wait); });
}

BOOL UnregisterWaitEx(HANDLE waitHandle, HANDLE completionEvent) {
  std::shared_ptr<Posix::Event> completion;
  if (!ResolveCompletion(completionEvent, completion)) return FALSE;
  auto wait = std::static_pointer_cast<RegisteredWait>(
      Posix::RemoveHandle(waitHandle, Posix::KernelObjectKind::RegisteredWait));
  if (!wait) return FALSE;
  return ThreadPool::Instance().Close(wait, completionEvent, std::move(completion));
}

BOOL QueueUserWorkItem(LPTHREAD_START_ROUTINE function, void* context, ULONG flags) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::queueUserWorkItem, function, context, flags)) {
    return *diverted;
  }
  if (function == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  try {
    if (ThreadPool::Instance().Queue(function, context)) return TRUE;
  } catch (const std::bad_alloc&) {
  }
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return FALSE;
}

BOOL CreateTimerQueueTimer(HANDLE* newTimer, HANDLE timerQueue, WAITORTIMERCALLBACK callback, void* context,
                           DWORD dueTime, DWORD period, ULONG flags) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::createTimerQueueTimer, newTimer, timerQueue, callback, context,
                                       dueTime, period, flags)) {
    return *diverted;
  }
  if (newTimer == nullptr || callback == nullptr || ((flags & WT_EXECUTEONLYONCE) != 0 && period != 0)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (!CheckDefaultQueue(timerQueue)) return FALSE;
  return StartPoolObject(
      newTimer, Posix::KernelObjectKind::TimerQueueTimer,
      [&] { return std::make_shared<QueueTimer>(callback, context, period); },
      [&](const std::shared_ptr<QueueTimer>& timer) { ThreadPool::Instance().AddTimer(timer, dueTime); });
}

BOOL ChangeTimerQueueTimer(HANDLE timerQueue, HANDLE timer, ULONG dueTime, ULONG period) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::changeTimerQueueTimer, timerQueue, timer, dueTime, period)) {
    return *diverted;
  }
  if (!CheckDefaultQueue(timerQueue)) return FALSE;
  auto object =
      std::static_pointer_cast<QueueTimer>(Posix::LookupHandle(timer, Posix::KernelObjectKind::TimerQueueTimer));
  if (!object) return FALSE;
  ThreadPool::Instance().ChangeTimer(object, dueTime, period);
  return TRUE;
}

BOOL DeleteTimerQueueTimer(HANDLE timerQueue, HANDLE timer, HANDLE completionEvent) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::deleteTimerQueueTimer, timerQueue, timer, completionEvent)) {
    return *diverted;
  }
  if (!CheckDefaultQueue(timerQueue)) return FALSE;
  std::shared_ptr<Posix::Event> completion;
  if (!ResolveCompletion(completionEvent, completion)) return FALSE;
  auto object =
      std::static_pointer_cast<QueueTimer>(Posix::RemoveHandle(timer, Posix::KernelObjectKind::TimerQueueTimer));
  if (!object) return FALSE;
  return ThreadPool::Instance().Close(object, completionEvent, std::move(completion));
}

}  // namespace Platform
