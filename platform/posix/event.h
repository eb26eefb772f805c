// The event object behind the handles of CreateEventW.
#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "platform/posix/kernel_object.h"

namespace Platform::Posix {

// An event with the Windows semantics. A manual-reset event stays signalled until Reset and
// releases every waiter; an auto-reset event releases one waiter (or one registered wait) per
// signal and is reset by that release. Observers, such as the dispatcher of registered waits, hear
// of each signal so that they can try to take it. All members may be called from any thread.
class Event final : public KernelObject, public WaitableObject {
public:
  Event(bool manualReset, bool initialState);

  void Set();
  void Reset();

  WaitableObject* AsWaitable() override { return this; }
  bool TryAcquire() override;
  bool KeepsSignalWhenTaken() const override { return m_manualReset; }
  DWORD Wait(DWORD milliseconds) override;
  void AddObserver(SignalObserver* observer) override;
  void RemoveObserver(SignalObserver* observer) override;

private:
  // Takes the signal with m_mutex held; returns whether it was signalled.
  bool AcquireLocked();

  const bool m_manualReset;
  std::mutex m_mutex;
  std::condition_variable m_signalledChanged;
  bool m_signalled;
  std::vector<SignalObserver*> m_observers;
};

}  // namespace Platform::Posix
