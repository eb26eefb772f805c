// The event object behind the handles of CreateEventW.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include "platform/posix/futex.h"
#include "platform/posix/kernel_object.h"

namespace Platform::Posix {

// Work that sets events and that a thread about to sleep on one of them can do itself: reading a
// registry hive's announced changes, which a watcher thread otherwise does before it sets the
// event. A waiting thread that takes the work over sleeps on the source's word beside the event's
// own, so that a change made elsewhere wakes one thread, the waiting one, rather than the watcher
// thread and then, through the event, the waiting one. A source given to an event must live for
// the rest of the process.
class EventSource {
public:
  // Called by a thread before it first sleeps in a wait on an event of this source. Returns false
  // when the thread cannot take the work over; it then sleeps on the event alone. Any thread.
  virtual bool BeginHelping() = 0;

  // Does the work there is (which may set the event), then sleeps until the event's word no longer
  // holds the value of `own`, the source has work, or `deadline` (monotonic clock, null: none)
  // passes. Returns false when the deadline passed. Only on a thread between its BeginHelping,
  // when that returned true, and its EndHelping.
  virtual bool HelpAndSleep(const FutexWait& own, const timespec* deadline) = 0;

  // Called by a thread after the last sleep of a wait for which BeginHelping returned true.
  virtual void EndHelping() = 0;

protected:
  ~EventSource() = default;
};

// An event with the Windows semantics. A manual-reset event stays signalled until Reset and
// releases every waiter; an auto-reset event releases one waiter (or one registered wait) per
// signal and is reset by that release. Observers, such as the dispatcher of registered waits, hear
// of each signal so that they can try to take it. All members may be called from any thread.
class Event final : public KernelObject, public WaitableObject {
public:
  Event(bool manualReset, bool initialState);

  void Set();
  void Reset();

  // Makes `source` the work that waits on this event may do while they sleep (the last one given
  // counts). Borrowed for the rest of the process.
  void SetSource(EventSource* source) { m_source.store(source, std::memory_order_release); }

  // Whether an observer (a registered wait of the pool) hears of this event's signals. Any thread.
  bool HasObservers();

  WaitableObject* AsWaitable() override { return this; }
  bool TryAcquire() override;
  bool KeepsSignalWhenTaken() const override { return m_manualReset; }
  DWORD Wait(DWORD milliseconds) override;
  void AddObserver(SignalObserver* observer) override;
  void RemoveObserver(SignalObserver* observer) override;

private:
  // Takes the signal with m_mutex held; returns whether it was signalled.
  bool AcquireLocked();
  // Wait, sleeping on the source's word and the event's own, doing the source's work when woken.
  DWORD WaitHelping(EventSource& source, DWORD milliseconds);

  const bool m_manualReset;
  std::mutex m_mutex;
  std::condition_variable m_signalledChanged;
  bool m_signalled;
  // Futex word of the waits that help a source: changed by every Set, under m_mutex.
  std::uint32_t m_sets = 0;
  // Threads sleeping on m_sets; under m_mutex.
  unsigned m_futexSleepers = 0;
  std::atomic<EventSource*> m_source{nullptr};
  std::vector<SignalObserver*> m_observers;
};

}  // namespace Platform::Posix
