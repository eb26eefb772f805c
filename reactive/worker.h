// worker: one thread that runs scheduled actions, one at a time, in the order of their due times
// (actions due at the same time in the order they were scheduled).
//
// A worker is made by a coordination (coordination.h) and its thread is never ended: the
// pipelines that use workers live until the process ends, and so do their threads, asleep when
// there is nothing to run (and awake for the last moments before a timed action, see worker.cpp). Copies of a worker share its thread. An action that throws ends the
// process. schedule may be called from any thread, the worker's own included.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace Reactive {

namespace detail {
class worker_queue;
}

class worker {
public:
  using clock = std::chrono::steady_clock;

  explicit worker(std::shared_ptr<detail::worker_queue> queue) : m_queue(std::move(queue)) {}

  clock::time_point now() const { return clock::now(); }

  // Runs `action` on the worker's thread as soon as the actions before it have run.
  void schedule(std::function<void()> action) const;
  // Runs `action` on the worker's thread once `when` has come.
  void schedule(clock::time_point when, std::function<void()> action) const;

private:
  std::shared_ptr<detail::worker_queue> m_queue;
};

}  // namespace Reactive
