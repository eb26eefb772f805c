// observable<T>: a source of values that can be subscribed to, and the operator debounce on it.
//
// An observable is a subscribe function: subscribing hands it a subscriber, which from then on
// receives the values. It holds no values of its own. Copies share the source.
#pragma once

#include <chrono>
#include <functional>
#include <utility>

#include "reactive/composite_subscription.h"
#include "reactive/coordination.h"
#include "reactive/debounce.h"
#include "reactive/subscriber.h"

namespace Reactive {

template <class T>
class observable {
public:
  using on_subscribe_type = std::function<void(subscriber<T>)>;

  explicit observable(on_subscribe_type onSubscribe) : m_onSubscribe(std::move(onSubscribe)) {}

  // Subscribes `onNext`, a callable with a `const T&`, to the values from now on. Returns the
  // subscription of the new subscriber; dropping it leaves the subscriber subscribed. The
  // caller's thread; the values come on the threads of the source or of its coordination.
  template <class OnNext>
  composite_subscription subscribe(OnNext onNext) const {
    subscriber<T> destination(composite_subscription(), typename subscriber<T>::on_next_type(std::move(onNext)));
    composite_subscription lifetime = destination.get_subscription();
    m_onSubscribe(std::move(destination));
    return lifetime;
  }

  // The values of this observable, each passed on once `period` has gone by without a further
  // value, on a worker made from `where` for each subscription.
  template <class Rep, class Period>
  observable<T> debounce(std::chrono::duration<Rep, Period> period, const coordination& where) const {
    const auto quiet = std::chrono::duration_cast<worker::clock::duration>(period);
    return observable<T>([source = m_onSubscribe, quiet, where](subscriber<T> destination) {
      source(detail::make_debounce_subscriber(std::move(destination), quiet, where));
    });
  }

private:
  on_subscribe_type m_onSubscribe;
};

}  // namespace Reactive
