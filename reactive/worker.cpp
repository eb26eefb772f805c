#include "reactive/worker.h"

#include "reactive/worker_queue.h"

namespace Reactive {

namespace detail {

namespace {

// A thread asleep until a time wakes up to a few hundred microseconds after it on the virtual
// machines this runs on (the timer's slack and the wake-up of an idle processor). The last stretch
// before an action's time is therefore waited out awake, polling the clock; timed actions are
// rare (a debounce's deliveries), so the processor time this takes does not matter.
constexpr std::chrono::microseconds kAwakeBeforeDue(400);

}  // namespace

void worker_queue::push(worker::clock::time_point when, std::function<void()> action) {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    // Equal keys keep their order of insertion, so actions due together run in scheduling order.
    m_actions.emplace(when, std::move(action));
  }
  m_wake.notify_one();
}

[[noreturn]] void worker_queue::run() noexcept {
  std::unique_lock<std::mutex> lock(m_mutex);
  for (;;) {
    if (m_actions.empty()) {
      m_wake.wait(lock);
      continue;
    }
    auto first = m_actions.begin();
    const worker::clock::time_point due = first->first;
    if (due - worker::clock::now() > kAwakeBeforeDue) {
      m_wake.wait_until(lock, due - kAwakeBeforeDue);
      continue;
    }
    if (due > worker::clock::now()) {
      // An action scheduled meanwhile waits at most this stretch; the loop then takes the earliest.
      lock.unlock();
      while (worker::clock::now() < due) {
      }
      lock.lock();
      continue;
    }
    std::function<void()> action = std::move(first->second);
    m_actions.erase(first);
    lock.unlock();
    // An exception here leaves a noexcept function and ends the process.
    action();
    action = nullptr;
    lock.lock();
  }
}

}  // namespace detail

void worker::schedule(std::function<void()> action) const { m_queue->push(clock::now(), std::move(action)); }

void worker::schedule(clock::time_point when, std::function<void()> action) const {
  m_queue->push(when, std::move(action));
}

}  // namespace Reactive
