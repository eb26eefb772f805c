// subject<T>: a stream that is both ends at once: values given to its subscriber go to every
// subscriber of its observable, on the giver's thread, in the order of subscription.
//
// A subject has a lifetime of its own (a composite_subscription, given or made at construction):
// once that has ended its subscriber drops what it is given. Subscribers stay for the life of the
// subject; subscribing again adds another. Copies share the subject. Any thread.
#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "reactive/composite_subscription.h"
#include "reactive/observable.h"
#include "reactive/subscriber.h"

namespace Reactive {

template <class T>
class subject {
public:
  subject() : subject(composite_subscription()) {}
  explicit subject(composite_subscription lifetime) : m_state(std::make_shared<state_type>(std::move(lifetime))) {}

  // The subscribing end. Each subscription adds one subscriber.
  observable<T> get_observable() const {
    return observable<T>([state = m_state](subscriber<T> destination) {
      std::lock_guard<std::mutex> lock(state->mutex);
      // Copy on write: a delivery in progress keeps the list it started with.
      auto observers = std::make_shared<std::vector<subscriber<T>>>(*state->observers);
      observers->push_back(std::move(destination));
      state->observers = std::move(observers);
    });
  }

  // The giving end: its on_next hands the value to each subscriber of the moment.
  subscriber<T> get_subscriber() const {
    return subscriber<T>(m_state->lifetime, [state = m_state](const T& value) {
      std::shared_ptr<const std::vector<subscriber<T>>> observers;
      {
        std::lock_guard<std::mutex> lock(state->mutex);
        observers = state->observers;
      }
      for (const subscriber<T>& observer : *observers) observer.on_next(value);
    });
  }

  bool has_observers() const {
    std::lock_guard<std::mutex> lock(m_state->mutex);
    return !m_state->observers->empty();
  }

private:
  struct state_type {
    explicit state_type(composite_subscription l) : lifetime(std::move(l)) {}
    composite_subscription lifetime;
    std::mutex mutex;
    std::shared_ptr<const std::vector<subscriber<T>>> observers = std::make_shared<std::vector<subscriber<T>>>();
  };

  std::shared_ptr<state_type> m_state;
};

}  // namespace Reactive
