// composite_subscription: the lifetime of a subscriber, shared by all of its copies.
//
// It starts subscribed. unsubscribe ends it for every copy at once and for good; a subscriber whose
// lifetime has ended drops what it is given. Nothing else hangs on it here: the pipelines of this
// library are never taken down. Any thread.
#pragma once

#include <atomic>
#include <memory>

namespace Reactive {

class composite_subscription {
public:
  composite_subscription() : m_subscribed(std::make_shared<std::atomic<bool>>(true)) {}

  bool is_subscribed() const { return m_subscribed->load(std::memory_order_acquire); }
  void unsubscribe() const { m_subscribed->store(false, std::memory_order_release); }

private:
  std::shared_ptr<std::atomic<bool>> m_subscribed;
};

}  // namespace Reactive
