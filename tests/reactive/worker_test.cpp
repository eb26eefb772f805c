#include "reactive/worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "reactive/coordination.h"
#include "tests/reactive/delivery_recorder.h"

namespace {

using namespace std::chrono_literals;
using Reactive::worker;
using Testing::DeliveryRecorder;
using Testing::Gate;

worker NewWorker() { return Reactive::observe_on_new_thread().create_worker(); }

TEST(WorkerTest, RunsActionsOnAThreadOfItsOwn) {
  worker w = NewWorker();
  DeliveryRecorder<int> recorder;
  w.schedule([&] { recorder.Record(1); });
  ASSERT_TRUE(recorder.WaitFor(1));
  EXPECT_NE(recorder.Deliveries()[0].thread, std::this_thread::get_id());
}

TEST(WorkerTest, RunsActionsDueTogetherInTheOrderTheyWereScheduled) {
  worker w = NewWorker();
  DeliveryRecorder<int> recorder;
  Gate gate;
  // Holding the worker makes sure that all of the following are queued before any runs.
  w.schedule([&] { gate.Wait(); });
  const worker::clock::time_point due = w.now() + 10ms;
  for (int i = 0; i < 20; ++i) w.schedule(due, [&recorder, i] { recorder.Record(i); });
  gate.Open();
  ASSERT_TRUE(recorder.WaitFor(20));
  std::vector<int> expected;
  for (int i = 0; i < 20; ++i) expected.push_back(i);
  EXPECT_EQ(recorder.Values(), expected);
}

TEST(WorkerTest, RunsAnActionNotBeforeItsDueTime) {
  worker w = NewWorker();
  DeliveryRecorder<int> recorder;
  const worker::clock::time_point due = w.now() + 60ms;
  w.schedule(due, [&] { recorder.Record(1); });
  ASSERT_TRUE(recorder.WaitFor(1));
  EXPECT_GE(recorder.Deliveries()[0].time, due);
}

TEST(WorkerTest, AnActionDueEarlierRunsFirstWhateverTheOrderOfScheduling) {
  worker w = NewWorker();
  DeliveryRecorder<int> recorder;
  w.schedule(w.now() + 80ms, [&] { recorder.Record(2); });
  w.schedule(w.now() + 20ms, [&] { recorder.Record(1); });
  ASSERT_TRUE(recorder.WaitFor(2));
  EXPECT_EQ(recorder.Values(), (std::vector<int>{1, 2}));
}

TEST(WorkerTest, RunsOneActionAtATime) {
  worker w = NewWorker();
  DeliveryRecorder<int> recorder;
  Gate firstStarted;
  Gate releaseFirst;
  std::atomic<int> running{0};
  std::atomic<int> mostAtOnce{0};
  auto action = [&](int number) {
    const int now = ++running;
    mostAtOnce = std::max(mostAtOnce.load(), now);
    if (number == 0) {
      firstStarted.Open();
      releaseFirst.Wait();
    }
    --running;
    recorder.Record(number);
  };
  w.schedule([&] { action(0); });
  ASSERT_TRUE(firstStarted.Wait());
  w.schedule([&] { action(1); });
  w.schedule([&] { action(2); });
  EXPECT_TRUE(recorder.Deliveries().empty());
  releaseFirst.Open();
  ASSERT_TRUE(recorder.WaitFor(3));
  EXPECT_EQ(recorder.Values(), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(mostAtOnce.load(), 1);
}

TEST(WorkerTest, AnActionMayScheduleTheNextOnItsOwnWorker) {
  worker w = NewWorker();
  DeliveryRecorder<int> recorder;
  w.schedule([&] {
    recorder.Record(1);
    w.schedule(w.now() + 5ms, [&] { recorder.Record(2); });
  });
  ASSERT_TRUE(recorder.WaitFor(2));
  const auto deliveries = recorder.Deliveries();
  EXPECT_EQ(deliveries[0].thread, deliveries[1].thread);
}

TEST(WorkerTest, SchedulingFromManyThreadsLosesNothing) {
  worker w = NewWorker();
  DeliveryRecorder<int> recorder;
  std::vector<std::thread> givers;
  for (int t = 0; t < 4; ++t) {
    givers.emplace_back([&, t] {
      for (int i = 0; i < 100; ++i) w.schedule([&recorder, t, i] { recorder.Record(t * 100 + i); });
    });
  }
  for (std::thread& giver : givers) giver.join();
  ASSERT_TRUE(recorder.WaitFor(400));
  EXPECT_EQ(recorder.Values().size(), 400u);
}

TEST(WorkerDeathTest, AnActionThatThrowsEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        worker w = NewWorker();
        Gate never;
        w.schedule([] { throw std::runtime_error("thrown by an action"); });
        never.Wait();
      },
      "");
}

}  // namespace
