#include "reactive/coordination.h"

#include <atomic>
#include <memory>
#include <thread>

#include "reactive/worker_queue.h"

namespace Reactive {

namespace {

std::atomic<std::size_t> g_workerCount{0};

}  // namespace

worker coordination::create_worker() const {
  auto queue = std::make_shared<detail::worker_queue>();
  // The thread holds the queue for the rest of the process; it is detached, so nothing waits for
  // it at exit.
  std::thread([queue] { queue->run(); }).detach();
  g_workerCount.fetch_add(1, std::memory_order_relaxed);
  return worker(queue);
}

std::size_t coordination::worker_count() const { return g_workerCount.load(std::memory_order_relaxed); }

const coordination& observe_on_new_thread() {
  static const coordination onNewThread;
  return onNewThread;
}

}  // namespace Reactive
