#include "reactive/coordination.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/reactive/delivery_recorder.h"

namespace {

TEST(CoordinationTest, ObserveOnNewThreadIsOneObjectForEveryCaller) {
  const Reactive::coordination* fromHere = &Reactive::observe_on_new_thread();
  const Reactive::coordination* fromThere = nullptr;
  std::thread([&] { fromThere = &Reactive::observe_on_new_thread(); }).join();
  EXPECT_EQ(fromHere, fromThere);
}

TEST(CoordinationTest, EachWorkerItMakesHasAThreadOfItsOwn) {
  const Reactive::coordination& where = Reactive::observe_on_new_thread();
  const std::size_t before = where.worker_count();
  Reactive::worker first = where.create_worker();
  Reactive::worker second = where.create_worker();
  EXPECT_EQ(where.worker_count(), before + 2);

  Testing::DeliveryRecorder<int> recorder;
  first.schedule([&] { recorder.Record(1); });
  second.schedule([&] { recorder.Record(2); });
  ASSERT_TRUE(recorder.WaitFor(2));
  const auto deliveries = recorder.Deliveries();
  EXPECT_NE(deliveries[0].thread, deliveries[1].thread);
  EXPECT_NE(deliveries[0].thread, std::this_thread::get_id());
  EXPECT_NE(deliveries[1].thread, std::this_thread::get_id());
}

TEST(CoordinationTest, CopiesOfAWorkerShareItsThread) {
  Reactive::worker original = Reactive::observe_on_new_thread().create_worker();
  Reactive::worker copy = original;
  Testing::DeliveryRecorder<int> recorder;
  original.schedule([&] { recorder.Record(1); });
  copy.schedule([&] { recorder.Record(2); });
  ASSERT_TRUE(recorder.WaitFor(2));
  const auto deliveries = recorder.Deliveries();
  EXPECT_EQ(deliveries[0].thread, deliveries[1].thread);
}

}  // namespace
