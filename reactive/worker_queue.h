// worker_queue: the timed queue behind a worker and the loop of its thread.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>

#include "reactive/worker.h"

namespace Reactive::detail {

class worker_queue {
public:
  // Adds an action due at `when` and wakes the thread. Any thread.
  void push(worker::clock::time_point when, std::function<void()> action);

  // The thread's loop: waits for the first action to fall due, runs it without the lock held, and
  // starts over. Never returns.
  [[noreturn]] void run() noexcept;

private:
  std::mutex m_mutex;
  std::condition_variable m_wake;
  std::multimap<worker::clock::time_point, std::function<void()>> m_actions;
};

}  // namespace Reactive::detail
