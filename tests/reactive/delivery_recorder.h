// What the reactive tests share: a handler that records each value it is given with the thread
// and the time of the delivery, and lets the test wait, with a bound, for a number of deliveries.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Testing {

template <class T>
class DeliveryRecorder {
public:
  using clock = std::chrono::steady_clock;

  struct Delivery {
    T value;
    std::thread::id thread;
    clock::time_point time;
  };

  // The handler to subscribe. It shares the recorder's record, so that a delivery that comes after
  // the test has ended finds it still there.
  auto Handler() {
    return [record = m_record](const T& value) { record->Add(value); };
  }

  void Record(const T& value) { m_record->Add(value); }

  // Waits up to ten seconds until `count` deliveries have been made; false when they have not.
  bool WaitFor(std::size_t count) {
    std::unique_lock<std::mutex> lock(m_record->mutex);
    return m_record->changed.wait_for(lock, std::chrono::seconds(10),
                                      [&] { return m_record->deliveries.size() >= count; });
  }

  std::vector<Delivery> Deliveries() const {
    std::lock_guard<std::mutex> lock(m_record->mutex);
    return m_record->deliveries;
  }

  std::vector<T> Values() const {
    std::vector<T> values;
    for (const Delivery& delivery : Deliveries()) values.push_back(delivery.value);
    return values;
  }

private:
  struct Shared {
    // Notifies with the lock held, so that a waiter that returns cannot end the record under it.
    void Add(const T& value) {
      std::lock_guard<std::mutex> lock(mutex);
      deliveries.push_back(Delivery{value, std::this_thread::get_id(), clock::now()});
      changed.notify_all();
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Delivery> deliveries;
  };

  std::shared_ptr<Shared> m_record = std::make_shared<Shared>();
};

// A gate that a thread waits at until the test opens it. Any thread.
class Gate {
public:
  // Notifies with the lock held, so that a waiter that returns cannot end the gate under it.
  void Open() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_open = true;
    m_changed.notify_all();
  }
  // Waits up to ten seconds; false when the gate stayed shut.
  bool Wait() {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_open; });
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_open = false;
};

}  // namespace Testing
