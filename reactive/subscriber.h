// subscriber<T>: the receiving end of a stream, an on_next handler with a lifetime.
//
// Copies share the handler and the lifetime. There is no error or completion channel: a handler
// that throws ends the process (on_next is noexcept), which is what a subscriber without an error
// handler does in the Reactive Extensions.
#pragma once

#include <functional>
#include <utility>

#include "reactive/composite_subscription.h"

namespace Reactive {

template <class T>
class subscriber {
public:
  using on_next_type = std::function<void(const T&)>;

  subscriber(composite_subscription lifetime, on_next_type onNext)
      : m_lifetime(std::move(lifetime)), m_onNext(std::move(onNext)) {}

  bool is_subscribed() const { return m_lifetime.is_subscribed(); }

  // Hands `value` to the handler on the calling thread; dropped once the lifetime has ended.
  void on_next(const T& value) const noexcept {
    if (is_subscribed()) m_onNext(value);
  }

  const composite_subscription& get_subscription() const { return m_lifetime; }

private:
  composite_subscription m_lifetime;
  on_next_type m_onNext;
};

}  // namespace Reactive
