#include "reactive/subscriber.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

#include "reactive/composite_subscription.h"

namespace {

using Reactive::composite_subscription;
using Reactive::subscriber;

TEST(SubscriberTest, OnNextCallsTheHandlerOnTheCallingThread) {
  std::vector<int> values;
  std::thread::id thread;
  subscriber<int> sink(composite_subscription(), [&](const int& value) {
    values.push_back(value);
    thread = std::this_thread::get_id();
  });
  sink.on_next(4);
  sink.on_next(7);
  EXPECT_EQ(values, (std::vector<int>{4, 7}));
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(SubscriberTest, IsSubscribedUntilItsLifetimeEndsAndThenDropsValues) {
  composite_subscription lifetime;
  std::vector<int> values;
  subscriber<int> sink(lifetime, [&](const int& value) { values.push_back(value); });
  EXPECT_TRUE(sink.is_subscribed());
  sink.on_next(1);
  lifetime.unsubscribe();
  EXPECT_FALSE(sink.is_subscribed());
  sink.on_next(2);
  EXPECT_EQ(values, (std::vector<int>{1}));
}

TEST(SubscriberTest, CopiesShareTheLifetime) {
  subscriber<int> original(composite_subscription(), [](const int&) {});
  subscriber<int> copy = original;
  copy.get_subscription().unsubscribe();
  EXPECT_FALSE(original.is_subscribed());
}

TEST(SubscriberDeathTest, AHandlerThatThrowsEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  subscriber<int> sink(composite_subscription(), [](const int&) { throw std::runtime_error("thrown by a handler"); });
  EXPECT_DEATH(sink.on_next(1), "");
}

}  // namespace
