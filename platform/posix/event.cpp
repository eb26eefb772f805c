#include "platform/posix/event.h"

#include <algorithm>
#include <chrono>

#include "platform/synchronization.h"

namespace Platform::Posix {

Event::Event(bool manualReset, bool initialState)
    : KernelObject(KernelObjectKind::Event), m_manualReset(manualReset), m_signalled(initialState) {}

void Event::Set() {
  std::vector<SignalObserver*> observers;
  bool futexSleepers = false;
  {
    std::lock_guard lock(m_mutex);
    m_signalled = true;
    std::atomic_ref(m_sets).fetch_add(1, std::memory_order_relaxed);
    futexSleepers = m_futexSleepers != 0;
    observers = m_observers;
  }
  // Every waiter wakes and checks; with an auto-reset event only the first to take the lock wins.
  m_signalledChanged.notify_all();
  if (futexSleepers) FutexWakeAll(&m_sets, false);
  // Outside the lock: an observer takes its own locks and then calls TryAcquire.
  for (SignalObserver* observer : observers) observer->OnSignalled();
}

void Event::Reset() {
  std::lock_guard lock(m_mutex);
  m_signalled = false;
}

bool Event::AcquireLocked() {
  if (!m_signalled) return false;
  if (!m_manualReset) m_signalled = false;
  return true;
}

bool Event::TryAcquire() {
  std::lock_guard lock(m_mutex);
  return AcquireLocked();
}

DWORD Event::Wait(DWORD milliseconds) {
  EventSource* source = m_source.load(std::memory_order_acquire);
  if (source != nullptr && source->BeginHelping()) {
    DWORD result = WaitHelping(*source, milliseconds);
    source->EndHelping();
    return result;
  }
  std::unique_lock lock(m_mutex);
  if (milliseconds == INFINITE) {
    m_signalledChanged.wait(lock, [this] { return m_signalled; });
  } else {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    if (!m_signalledChanged.wait_until(lock, deadline, [this] { return m_signalled; })) return WAIT_TIMEOUT;
  }
  AcquireLocked();
  return WAIT_OBJECT_0;
}

DWORD Event::WaitHelping(EventSource& source, DWORD milliseconds) {
  timespec deadline = milliseconds == INFINITE ? timespec{} : FutexDeadline(milliseconds);
  for (;;) {
    FutexWait own{&m_sets, 0, false};
    {
      std::lock_guard lock(m_mutex);
      if (AcquireLocked()) return WAIT_OBJECT_0;
      own.value = m_sets;
      ++m_futexSleepers;
    }
    bool woken = source.HelpAndSleep(own, milliseconds == INFINITE ? nullptr : &deadline);
    std::lock_guard lock(m_mutex);
    --m_futexSleepers;
    if (!woken) return AcquireLocked() ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
  }
}

bool Event::HasObservers() {
  std::lock_guard lock(m_mutex);
  return !m_observers.empty();
}

void Event::AddObserver(SignalObserver* observer) {
  std::lock_guard lock(m_mutex);
  m_observers.push_back(observer);
}

void Event::RemoveObserver(SignalObserver* observer) {
  std::lock_guard lock(m_mutex);
  auto it = std::find(m_observers.begin(), m_observers.end(), observer);
  if (it != m_observers.end()) m_observers.erase(it);
}

}  // namespace Platform::Posix
