#include "reactive/subject.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/reactive/delivery_recorder.h"

namespace {

using Reactive::composite_subscription;
using Reactive::subject;
using Testing::DeliveryRecorder;

TEST(SubjectTest, AValueGoesToEverySubscriberInOrderOfSubscriptionOnTheGiversThread) {
  subject<int> stream;
  std::vector<std::pair<int, int>> seen;
  std::vector<std::thread::id> threads;
  for (int which = 0; which < 3; ++which) {
    stream.get_observable().subscribe([&, which](const int& value) {
      seen.emplace_back(which, value);
      threads.push_back(std::this_thread::get_id());
    });
  }
  stream.get_subscriber().on_next(5);
  EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{0, 5}, {1, 5}, {2, 5}}));
  for (std::thread::id thread : threads) EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(SubjectTest, WithoutSubscribersAValueGoesNowhere) {
  subject<bool> stream;
  EXPECT_FALSE(stream.has_observers());
  stream.get_subscriber().on_next(true);
  std::vector<bool> seen;
  stream.get_observable().subscribe([&](const bool& value) { seen.push_back(value); });
  EXPECT_TRUE(stream.has_observers());
  EXPECT_TRUE(seen.empty());
}

TEST(SubjectTest, SubscribingTwiceMakesTwoSubscribersThatEachGetTheValue) {
  subject<bool> stream;
  int deliveries = 0;
  for (int i = 0; i < 2; ++i) stream.get_observable().subscribe([&](const bool&) { ++deliveries; });
  stream.get_subscriber().on_next(true);
  EXPECT_EQ(deliveries, 2);
}

TEST(SubjectTest, DroppingTheSubscriptionLeavesTheSubscriberSubscribed) {
  subject<int> stream;
  int deliveries = 0;
  static_cast<void>(stream.get_observable().subscribe([&](const int&) { ++deliveries; }));
  stream.get_subscriber().on_next(1);
  stream.get_subscriber().on_next(2);
  EXPECT_EQ(deliveries, 2);
}

TEST(SubjectTest, ItsSubscriberIsSubscribedUntilTheSubjectsLifetimeEnds) {
  composite_subscription lifetime;
  subject<bool> stream(lifetime);
  int deliveries = 0;
  stream.get_observable().subscribe([&](const bool&) { ++deliveries; });
  auto giver = stream.get_subscriber();
  EXPECT_TRUE(giver.is_subscribed());
  giver.on_next(true);
  lifetime.unsubscribe();
  EXPECT_FALSE(giver.is_subscribed());
  EXPECT_FALSE(stream.get_subscriber().is_subscribed());
  giver.on_next(true);
  EXPECT_EQ(deliveries, 1);
}

TEST(SubjectTest, ASubscriptionMadeDuringADeliveryGetsOnlyLaterValues) {
  subject<int> stream;
  std::vector<int> late;
  bool subscribed = false;
  stream.get_observable().subscribe([&](const int&) {
    if (subscribed) return;
    subscribed = true;
    stream.get_observable().subscribe([&](const int& value) { late.push_back(value); });
  });
  stream.get_subscriber().on_next(1);
  stream.get_subscriber().on_next(2);
  EXPECT_EQ(late, (std::vector<int>{2}));
}

TEST(SubjectTest, GiversAndSubscribersOnManyThreadsLoseNoValueOfAnEarlierSubscriber) {
  subject<int> stream;
  std::atomic<int> first{0};
  stream.get_observable().subscribe([&](const int&) { ++first; });
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i) {
        if (t == 0 && i % 20 == 0) stream.get_observable().subscribe([](const int&) {});
        stream.get_subscriber().on_next(i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(first.load(), 800);
}

}  // namespace
