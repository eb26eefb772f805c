#include "reactive/debounce.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "reactive/coordination.h"
#include "reactive/subject.h"
#include "tests/reactive/delivery_recorder.h"

namespace {

using namespace std::chrono_literals;
using Reactive::observe_on_new_thread;
using Reactive::subject;
using Testing::DeliveryRecorder;
using Testing::Gate;

// Long enough that a burst given in a loop stays within it on a busy machine.
constexpr auto kPeriod = 200ms;

TEST(DebounceTest, OnlyTheLastValueOfABurstComesThroughOnce) {
  subject<int> stream;
  DeliveryRecorder<int> recorder;
  stream.get_observable().debounce(kPeriod, observe_on_new_thread()).subscribe(recorder.Handler());
  auto giver = stream.get_subscriber();
  for (int i = 1; i <= 10; ++i) giver.on_next(i);
  ASSERT_TRUE(recorder.WaitFor(1));
  // A stray delivery of the burst would be due before the marker's.
  giver.on_next(-1);
  ASSERT_TRUE(recorder.WaitFor(2));
  EXPECT_EQ(recorder.Values(), (std::vector<int>{10, -1}));
}

TEST(DebounceTest, DeliversAPeriodAfterTheLastValueOfTheBurstAtTheEarliest) {
  subject<bool> stream;
  DeliveryRecorder<bool> recorder;
  stream.get_observable().debounce(kPeriod, observe_on_new_thread()).subscribe(recorder.Handler());
  auto giver = stream.get_subscriber();
  giver.on_next(true);
  giver.on_next(false);
  const auto lastGiven = std::chrono::steady_clock::now();
  ASSERT_TRUE(recorder.WaitFor(1));
  EXPECT_GE(recorder.Deliveries()[0].time - lastGiven, kPeriod);
  EXPECT_EQ(recorder.Values(), (std::vector<bool>{false}));
}

TEST(DebounceTest, AFurtherValueWithinThePeriodRestartsIt) {
  subject<int> stream;
  DeliveryRecorder<int> recorder;
  Gate firstDelivered;
  stream.get_observable().debounce(100ms, observe_on_new_thread()).subscribe(recorder.Handler());
  auto giver = stream.get_subscriber();
  const auto start = std::chrono::steady_clock::now();
  giver.on_next(1);
  std::this_thread::sleep_until(start + 60ms);
  // Stamped before the value is given: the worker may arm its period before on_next returns.
  const auto second = std::chrono::steady_clock::now();
  giver.on_next(2);
  ASSERT_TRUE(recorder.WaitFor(1));
  const auto deliveries = recorder.Deliveries();
  // Had the first value come through, it would have come before the second was given or alone.
  if (second - start < 100ms) {
    EXPECT_EQ(recorder.Values(), (std::vector<int>{2}));
    EXPECT_GE(deliveries[0].time - second, 100ms);
  }
}

TEST(DebounceTest, ValuesFurtherApartThanThePeriodEachComeThrough) {
  subject<int> stream;
  DeliveryRecorder<int> recorder;
  stream.get_observable().debounce(20ms, observe_on_new_thread()).subscribe(recorder.Handler());
  auto giver = stream.get_subscriber();
  for (int i = 1; i <= 3; ++i) {
    giver.on_next(i);
    ASSERT_TRUE(recorder.WaitFor(static_cast<std::size_t>(i)));
  }
  EXPECT_EQ(recorder.Values(), (std::vector<int>{1, 2, 3}));
}

TEST(DebounceTest, ARepeatOfTheSameValueAfterThePeriodComesThroughAgain) {
  subject<bool> stream;
  DeliveryRecorder<bool> recorder;
  stream.get_observable().debounce(20ms, observe_on_new_thread()).subscribe(recorder.Handler());
  stream.get_subscriber().on_next(true);
  ASSERT_TRUE(recorder.WaitFor(1));
  stream.get_subscriber().on_next(true);
  ASSERT_TRUE(recorder.WaitFor(2));
  EXPECT_EQ(recorder.Values(), (std::vector<bool>{true, true}));
}

TEST(DebounceTest, DeliversOnItsWorkerAlwaysTheSameThreadNotTheGivers) {
  subject<int> stream;
  DeliveryRecorder<int> recorder;
  stream.get_observable().debounce(10ms, observe_on_new_thread()).subscribe(recorder.Handler());
  std::thread([&] { stream.get_subscriber().on_next(1); }).join();
  ASSERT_TRUE(recorder.WaitFor(1));
  stream.get_subscriber().on_next(2);
  ASSERT_TRUE(recorder.WaitFor(2));
  const auto deliveries = recorder.Deliveries();
  EXPECT_NE(deliveries[0].thread, std::this_thread::get_id());
  EXPECT_EQ(deliveries[0].thread, deliveries[1].thread);
}

TEST(DebounceTest, AValueGivenDuringADeliveryWaitsUntilTheDeliveryHasReturned) {
  subject<int> stream;
  DeliveryRecorder<int> recorder;
  Gate firstStarted;
  Gate releaseFirst;
  std::atomic<int> running{0};
  std::atomic<bool> overlapped{false};
  stream.get_observable().debounce(10ms, observe_on_new_thread()).subscribe([&](const int& value) {
    if (++running > 1) overlapped = true;
    if (value == 1) {
      firstStarted.Open();
      releaseFirst.Wait();
    }
    --running;
    recorder.Record(value);
  });
  auto giver = stream.get_subscriber();
  giver.on_next(1);
  ASSERT_TRUE(firstStarted.Wait());
  giver.on_next(2);
  const auto released = std::chrono::steady_clock::now();
  releaseFirst.Open();
  ASSERT_TRUE(recorder.WaitFor(2));
  const auto deliveries = recorder.Deliveries();
  EXPECT_EQ(recorder.Values(), (std::vector<int>{1, 2}));
  EXPECT_FALSE(overlapped.load());
  // The second value was numbered only after the first delivery returned, so its period starts then.
  EXPECT_GE(deliveries[1].time - released, 10ms);
}

TEST(DebounceTest, EachSubscriptionGetsAWorkerThreadOfItsOwn) {
  const std::size_t before = observe_on_new_thread().worker_count();
  subject<bool> stream;
  auto debounced = stream.get_observable().debounce(kPeriod, observe_on_new_thread());
  EXPECT_EQ(observe_on_new_thread().worker_count(), before);
  DeliveryRecorder<bool> recorder;
  debounced.subscribe(recorder.Handler());
  EXPECT_EQ(observe_on_new_thread().worker_count(), before + 1);
}

// Two pipelines built on two subjects, then two more on the same subjects, as a service that is
// started, stopped without ending its pipelines, and started again.
TEST(DebounceTest, BuildingBothPipelinesAgainGivesTwoSubscribersPerSubjectAndFourWorkers) {
  subject<bool> deviceState;
  subject<bool> routingState;
  DeliveryRecorder<bool> deviceRecorder;
  DeliveryRecorder<bool> routingRecorder;
  const std::size_t before = observe_on_new_thread().worker_count();
  for (int start = 0; start < 2; ++start) {
    deviceState.get_observable().debounce(kPeriod, observe_on_new_thread()).subscribe(deviceRecorder.Handler());
    routingState.get_observable().debounce(kPeriod, observe_on_new_thread()).subscribe(routingRecorder.Handler());
  }
  EXPECT_EQ(observe_on_new_thread().worker_count(), before + 4);

  deviceState.get_subscriber().on_next(true);
  routingState.get_subscriber().on_next(false);
  ASSERT_TRUE(deviceRecorder.WaitFor(2));
  ASSERT_TRUE(routingRecorder.WaitFor(2));
  std::set<std::thread::id> threads;
  for (const auto& delivery : deviceRecorder.Deliveries()) threads.insert(delivery.thread);
  for (const auto& delivery : routingRecorder.Deliveries()) threads.insert(delivery.thread);
  EXPECT_EQ(threads.size(), 4u);
  EXPECT_EQ(deviceRecorder.Values(), (std::vector<bool>{true, true}));
  EXPECT_EQ(routingRecorder.Values(), (std::vector<bool>{false, false}));
}

TEST(DebounceTest, BurstsFromManyThreadsEndInOneDeliveryOfTheLastValueGiven) {
  subject<int> stream;
  DeliveryRecorder<int> recorder;
  stream.get_observable().debounce(kPeriod, observe_on_new_thread()).subscribe(recorder.Handler());
  std::vector<std::thread> givers;
  for (int t = 0; t < 4; ++t) {
    givers.emplace_back([&, t] {
      for (int i = 0; i < 100; ++i) stream.get_subscriber().on_next(t * 1000 + i);
    });
  }
  for (std::thread& giver : givers) giver.join();
  stream.get_subscriber().on_next(-1);
  ASSERT_TRUE(recorder.WaitFor(1));
  stream.get_subscriber().on_next(-2);
  ASSERT_TRUE(recorder.WaitFor(2));
  EXPECT_EQ(recorder.Values(), (std::vector<int>{-1, -2}));
}

}  // namespace
