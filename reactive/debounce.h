// The debounce stage: passes a value on only once a quiet period has gone by without a further
// value, so that of a burst only the last value comes through, once, a period after it.
//
// Everything runs on the stage's worker: each value first goes to the worker, which numbers it and
// arms a delivery a period later; a delivery whose number is no longer the latest does nothing. So
// the stage's state is touched by one thread only, and a value that arrives while the worker is
// delivering waits until the delivery has returned.
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "reactive/coordination.h"
#include "reactive/subscriber.h"

namespace Reactive::detail {

template <class T>
subscriber<T> make_debounce_subscriber(subscriber<T> destination, worker::clock::duration period,
                                       const coordination& where) {
  struct state_type {
    state_type(subscriber<T> d, worker::clock::duration p, worker w)
        : destination(std::move(d)), period(p), delivery(std::move(w)) {}
    subscriber<T> destination;
    worker::clock::duration period;
    worker delivery;
    // Only touched on the worker's thread.
    std::size_t index = 0;
    std::optional<T> value;
  };
  auto state = std::make_shared<state_type>(std::move(destination), period, where.create_worker());
  return subscriber<T>(composite_subscription(), [state](const T& value) {
    state->delivery.schedule([state, value] {
      const std::size_t id = ++state->index;
      state->value = value;
      state->delivery.schedule(state->delivery.now() + state->period, [state, id] {
        if (id != state->index) return;
        T last = std::move(*state->value);
        state->value.reset();
        state->destination.on_next(last);
      });
    });
  });
}

}  // namespace Reactive::detail
