#include "reactive/observable.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Reactive::observable;
using Reactive::subscriber;

TEST(ObservableTest, SubscribeHandsASubscriberToTheSource) {
  std::vector<subscriber<int>> subscribed;
  observable<int> source([&](subscriber<int> destination) { subscribed.push_back(destination); });
  std::vector<int> values;
  source.subscribe([&](const int& value) { values.push_back(value); });
  ASSERT_EQ(subscribed.size(), 1u);
  subscribed[0].on_next(3);
  EXPECT_EQ(values, (std::vector<int>{3}));
}

TEST(ObservableTest, SubscribeReturnsTheNewSubscribersSubscription) {
  std::vector<subscriber<int>> subscribed;
  observable<int> source([&](subscriber<int> destination) { subscribed.push_back(destination); });
  Reactive::composite_subscription lifetime = source.subscribe([](const int&) {});
  ASSERT_EQ(subscribed.size(), 1u);
  EXPECT_TRUE(subscribed[0].is_subscribed());
  lifetime.unsubscribe();
  EXPECT_FALSE(subscribed[0].is_subscribed());
}

TEST(ObservableTest, EachSubscribeCallsTheSourceAgain) {
  int subscriptions = 0;
  observable<int> source([&](subscriber<int>) { ++subscriptions; });
  source.subscribe([](const int&) {});
  source.subscribe([](const int&) {});
  EXPECT_EQ(subscriptions, 2);
}

}  // namespace
