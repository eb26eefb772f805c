// NotificationThread: the simulated audio system's own thread for endpoint notifications.
//
// It watches the endpoints' subtree of the registry for changes by any process, compares what it
// finds with what it saw before, and calls the registered IMMNotificationClients, as Core Audio
// calls them on its notification threads. The watch is armed again before each look, so no change
// made after the first look is lost.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/unique_handle.h"
#include "simulator/endpoint_registry.h"

namespace Simulator {

class AudioSystemState;

class NotificationThread {
public:
  // Starts the thread; `state` must outlive this object.
  explicit NotificationThread(AudioSystemState& state);
  // Ends the thread and waits for it; not from the thread itself.
  ~NotificationThread();
  NotificationThread(const NotificationThread&) = delete;
  NotificationThread& operator=(const NotificationThread&) = delete;

  // Returns once the thread watches the registry and has taken its first look (or has given up,
  // with a message, because the registry cannot be watched).
  void WaitUntilWatching();
  Platform::DWORD ThreadId() const { return m_threadId; }

private:
  void Run();
  bool Arm(Platform::HKEY root);
  void Deliver(const std::vector<EndpointSnapshot>& before, const std::vector<EndpointSnapshot>& after);

  AudioSystemState& m_state;
  Platform::UniqueKernelHandle m_changed;
  std::atomic<bool> m_stopping{false};
  std::atomic<Platform::DWORD> m_threadId{0};
  std::mutex m_mutex;
  std::condition_variable m_watchingChanged;
  bool m_watching = false;
  std::thread m_thread;
};

}  // namespace Simulator
