// Change notifications of registry stores: monitors hear of every change under their store, in this
// process or another, with postponement while a handler cannot run, and a teardown after which no
// call comes.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "foundation/built_in_types.h"
#include "foundation/log.h"
#include "platform/utf.h"
#include "storage_system/registry/store_delegate.h"
#include "tests/support/child_process.h"
#include "tests/storage_system/registry/pool_probe.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"

namespace {

using namespace StorageSystem;
using namespace StorageSystem::Registry;
using Testing::ChildProcess;
using Testing::Held;
namespace PoolProbe = Testing::PoolProbe;
using Clock = std::chrono::steady_clock;

constexpr auto kNotificationWait = std::chrono::seconds(10);

// Counts its calls; can hold a call until released, and tells when a call comes after its removal.
class RecordingMonitor : public IStoreMonitor {
public:
  void OnStoreChange(std::uint32_t detail) override {
    if (removed.load()) lateCalls.fetch_add(1);
    if (detail != 0) nonZeroDetails.fetch_add(1);
    const Clock::time_point now = Clock::now();
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_calls;
    order.push_back(id);
    m_timerRuns.push_back(PoolProbe::CurrentTimerRun());
    m_callTimes.push_back(now);
    m_changed.notify_all();
    if (m_holdNext) {
      m_holdNext = false;
      m_held = true;
      m_changed.notify_all();
      m_changed.wait(lock, [this] { return !m_held; });
    }
  }

  int Calls() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
  }
  // Waits until the monitor has been called `count` times in all.
  bool WaitForCalls(int count, std::chrono::milliseconds limit = kNotificationWait) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, limit, [&] { return m_calls >= count; });
  }
  // The next call stays inside the monitor until Release.
  void HoldNextCall() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_holdNext = true;
  }
  bool WaitUntilHeld(std::chrono::milliseconds limit = kNotificationWait) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_held; });
  }
  void Release() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_held = false;
    m_changed.notify_all();
  }
  // The timer whose callback made call number `index` (from 0), if a timer's callback made it.
  std::optional<PoolProbe::TimerRun> TimerRunOfCall(std::size_t index) {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_timerRuns.at(index);
  }
  Clock::time_point TimeOfCall(std::size_t index) {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_callTimes.at(index);
  }

  int id = 0;
  std::atomic<bool> removed{false};
  std::atomic<int> lateCalls{0};
  std::atomic<int> nonZeroDetails{0};
  std::vector<int> order;

private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_calls = 0;
  bool m_holdNext = false;
  bool m_held = false;
  std::vector<std::optional<PoolProbe::TimerRun>> m_timerRuns;
  std::vector<Clock::time_point> m_callTimes;
};

// Work items held by the probe for the life of the object.
class HeldWorkItems {
public:
  HeldWorkItems() { PoolProbe::HoldWorkItems(); }
  ~HeldWorkItems() { PoolProbe::ReleaseWorkItems(); }
  HeldWorkItems(const HeldWorkItems&) = delete;
  HeldWorkItems& operator=(const HeldWorkItems&) = delete;
};

// Timers created or moved later by the probe's delay, for the life of the object.
class DelayedTimers {
public:
  explicit DelayedTimers(Platform::DWORD milliseconds) { PoolProbe::DelayTimers(milliseconds); }
  ~DelayedTimers() { PoolProbe::DelayTimers(0); }
  DelayedTimers(const DelayedTimers&) = delete;
  DelayedTimers& operator=(const DelayedTimers&) = delete;
};

class StoreNotificationsTest : public Testing::RegistryStorageTest {
protected:
  void SetUp() override {
    // Handlers on several pool threads log at once here; the log's lock keeps their lines whole
    // (the library leaves it off, a host may turn it on).
    m_logLockWas = logLockEnabled;
    logLockEnabled = 1;
    RegistryStorageTest::SetUp();
    ASSERT_EQ(storage->OpenStore(u"watched", &store, SF_READ | SF_WRITE | SF_CREATE), ErrorNone);
    ASSERT_EQ(store->OpenValue(u"deep/er/value", &value, SF_READ | SF_CREATE, TypeOfUnsignedInt(), nullptr, 0),
              ErrorNone);
  }
  void TearDown() override {
    if (value != nullptr) value->Release();
    if (store != nullptr) store->Release();
    RegistryStorageTest::TearDown();
    logLockEnabled = m_logLockWas;
  }

  void Write(std::uint32_t number) { ASSERT_EQ(value->Write(&number, sizeof number), ErrorNone); }

  // The watch of a store is armed by a pool work item after RegisterMonitor and after each event,
  // so a change made before that work item ran goes unseen; changes are made again until one is
  // seen. True when `monitor` has been called `count` times in all.
  bool WriteUntilCalled(RecordingMonitor& monitor, int count) {
    const auto deadline = Clock::now() + kNotificationWait;
    while (Clock::now() < deadline) {
      const std::uint32_t number = m_next++;
      if (value->Write(&number, sizeof number) != ErrorNone) return false;
      if (monitor.WaitForCalls(count, std::chrono::milliseconds(50))) return true;
    }
    return false;
  }

  // The same until the monitor holds a call.
  bool WriteUntilHeld(RecordingMonitor& monitor) {
    const auto deadline = Clock::now() + kNotificationWait;
    while (Clock::now() < deadline) {
      const std::uint32_t number = m_next++;
      if (value->Write(&number, sizeof number) != ErrorNone) return false;
      if (monitor.WaitUntilHeld(std::chrono::milliseconds(50))) return true;
    }
    return false;
  }

  // The same until the debug channel shows `text`.
  bool WriteUntilLogged(const std::string& text) {
    const auto deadline = Clock::now() + kNotificationWait;
    while (Clock::now() < deadline && !Logged(text)) {
      const std::uint32_t number = m_next++;
      if (value->Write(&number, sizeof number) != ErrorNone) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return Logged(text);
  }

  // Polls `condition` until it holds; false when the wait for notifications passed first. For
  // the outcomes that give no event to wait on: log lines and the probe's counts.
  template <class Condition>
  bool WaitUntil(Condition condition) {
    const auto deadline = Clock::now() + kNotificationWait;
    while (!condition()) {
      if (Clock::now() >= deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
  }

  // Waits until every queued work item has run, and so the watch of the store is armed.
  bool WaitUntilArmed() { return PoolProbe::WaitForWorkItemsDone(kNotificationWait); }

  IStore* store = nullptr;
  IRegistryValue* value = nullptr;

private:
  std::uint32_t m_next = 1000;
  unsigned char m_logLockWas = 0;
};

TEST_F(StoreNotificationsTest, WriteUnderTheStoreReachesItsMonitorWithDetail0) {
  RecordingMonitor monitor;
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
  EXPECT_TRUE(WriteUntilCalled(monitor, 1));
  EXPECT_EQ(monitor.nonZeroDetails.load(), 0);
  // The watch is armed again for each change.
  EXPECT_TRUE(WriteUntilCalled(monitor, monitor.Calls() + 1));
  EXPECT_TRUE(WriteUntilCalled(monitor, monitor.Calls() + 1));
  ASSERT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(StoreNotificationsTest, MonitorOnTheStorageSystemHearsOfChangesFarBelow) {
  RecordingMonitor monitor;
  ASSERT_EQ(storage->RegisterMonitor(&monitor), ErrorNone);
  EXPECT_TRUE(WriteUntilCalled(monitor, 1));
  ASSERT_EQ(storage->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(StoreNotificationsTest, MonitorsAreCalledInTheOrderOfRegistration) {
  RecordingMonitor first;
  RecordingMonitor second;
  first.id = 1;
  second.id = 2;
  ASSERT_EQ(store->RegisterMonitor(&first), ErrorNone);
  ASSERT_EQ(store->RegisterMonitor(&second), ErrorNone);
  ILock* lock = storage->GetProperties()->GetLock();
  ASSERT_TRUE(WriteUntilCalled(second, 1));
  // Both are called inside one handler under the lock, the first before the second.
  lock->Lock();
  EXPECT_GE(first.Calls(), second.Calls());
  EXPECT_EQ(first.Calls(), second.Calls());
  lock->Unlock();
  ASSERT_EQ(store->UnregisterMonitor(&first), ErrorNone);
  ASSERT_EQ(store->UnregisterMonitor(&second), ErrorNone);
}

TEST_F(StoreNotificationsTest, RegisteringTheSameMonitorTwiceFailsAndNotificationsStayOn) {
  RecordingMonitor monitor;
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
  EXPECT_EQ(store->RegisterMonitor(&monitor), ErrorAlreadyExists);
  EXPECT_TRUE(
      Logged("Error 13 (resource or object already exists) in function "
             "StorageSystem::Registry::CStoreDelegate::QueueMonitor"));
  EXPECT_TRUE(WriteUntilCalled(monitor, 1));
  ASSERT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
  EXPECT_EQ(store->UnregisterMonitor(&monitor), ErrorNotFound);
}

TEST_F(StoreNotificationsTest, RemovingAnUnknownMonitorIsNotFound) {
  RecordingMonitor monitor;
  EXPECT_EQ(store->UnregisterMonitor(&monitor), ErrorNotFound);
  EXPECT_TRUE(
      Logged("Error 14 (resource or object not found) in function "
             "StorageSystem::Registry::CStoreDelegate::UnqueueMonitor"));
}

TEST_F(StoreNotificationsTest, NoCallAfterTheLastMonitorIsRemoved) {
  RecordingMonitor monitor;
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
  ASSERT_TRUE(WriteUntilCalled(monitor, 1));
  ASSERT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
  monitor.removed = true;
  const int calls = monitor.Calls();
  Write(7);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(monitor.Calls(), calls);
  EXPECT_EQ(monitor.lateCalls.load(), 0);
}

TEST_F(StoreNotificationsTest, FailedCreateEventLeavesTheMonitorsAsTheyWere) {
  RecordingMonitor monitor;
  Testing::PoolProbe::FailNextCreateEventOnThisThread();
  EXPECT_EQ(store->RegisterMonitor(&monitor), ErrorSystem);
  EXPECT_TRUE(
      Logged("Error 2 in function StorageSystem::Registry::CStoreDelegate::InitializeNotif::<lambda_"
             "8306077b3ab66265f1d8acda6a075ece>::operator (): CreateEventW raised error 8"))
      << capture.Text();
  EXPECT_EQ(store->UnregisterMonitor(&monitor), ErrorNotFound) << "the monitor is not in the list";
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone) << "and the next registration is a first one again";
  EXPECT_TRUE(WriteUntilCalled(monitor, 1));
  ASSERT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(StoreNotificationsTest, LastRemovalWaitsForAHandlerInItsMonitorCallback) {
  RecordingMonitor monitor;
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
  monitor.HoldNextCall();
  ASSERT_TRUE(WriteUntilHeld(monitor));

  std::atomic<bool> unregistered{false};
  std::thread remover([&] {
    EXPECT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
    unregistered = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_FALSE(unregistered.load()) << "the removal must wait for the callback";
  monitor.Release();
  remover.join();
  EXPECT_TRUE(unregistered.load());
  monitor.removed = true;
  Write(10);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(monitor.lateCalls.load(), 0);
}

TEST_F(StoreNotificationsTest, LastRemovalWaitsForAQueuedWorker) {
  ASSERT_TRUE(WaitUntilArmed());
  RecordingMonitor monitor;
  std::atomic<bool> unregistered{false};
  std::int64_t queued = 0;
  std::int64_t doneWhenRemoved = -1;
  {
    HeldWorkItems held;
    // The first monitor queues the worker that arms the watch; the probe keeps it from running.
    ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
    queued = PoolProbe::WorkItemsQueued();
    EXPECT_EQ(PoolProbe::WorkItemsDone(), queued - 1);
    std::thread remover([&] {
      EXPECT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
      doneWhenRemoved = PoolProbe::WorkItemsDone();
      unregistered = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(unregistered.load()) << "the removal must wait for the queued worker";
    PoolProbe::ReleaseWorkItems();
    remover.join();
  }
  EXPECT_TRUE(unregistered.load());
  EXPECT_EQ(doneWhenRemoved, queued) << "the worker had run when the removal returned";
  EXPECT_EQ(monitor.Calls(), 0);
}

TEST_F(StoreNotificationsTest, StoreReleasedRightAfterTheLastRemovalLeavesNoWorkBehind) {
  // Each round ends with queued work items of the store's watch; the store is gone at once after
  // the removal, so a worker that ran later would touch freed memory (the sanitizer builds see it).
  for (int round = 0; round < 100; ++round) {
    IStore* shortLived = nullptr;
    ASSERT_EQ(storage->OpenStore(u"watched", &shortLived, SF_READ), ErrorNone);
    RecordingMonitor monitor;
    ASSERT_EQ(shortLived->RegisterMonitor(&monitor), ErrorNone);
    Write(static_cast<std::uint32_t>(round));
    ASSERT_EQ(shortLived->UnregisterMonitor(&monitor), ErrorNone);
    monitor.removed = true;
    shortLived->Release();
    EXPECT_EQ(monitor.lateCalls.load(), 0);
  }
}

TEST_F(StoreNotificationsTest, EventDuringAHandlerIsPostponedAndRunsOnceMoreFromTheTimer15MsLater) {
  LogSetLevel(LogLevelInfo);
  RecordingMonitor monitor;
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
  // Two changes in all, each made once the watch is armed: the first is held in the monitor, the
  // second arrives during that handler.
  ASSERT_TRUE(WaitUntilArmed());
  monitor.HoldNextCall();
  Write(1);
  ASSERT_TRUE(monitor.WaitUntilHeld());
  ASSERT_TRUE(WaitUntilArmed()) << "the handler asks for the watch again first";
  Write(2);
  ASSERT_TRUE(WaitUntil([&] {
    return Logged("Previous Registry event still being processed, postponing event handling");
  })) << capture.Text();
  EXPECT_LE(PoolProbe::LiveTimers(), 1);
  EXPECT_EQ(monitor.Calls(), 1);
  monitor.Release();

  ASSERT_TRUE(monitor.WaitForCalls(2));
  EXPECT_FALSE(monitor.TimerRunOfCall(0).has_value()) << "the first run came from the watch";
  const std::optional<PoolProbe::TimerRun> run = monitor.TimerRunOfCall(1);
  ASSERT_TRUE(run.has_value()) << "the extra run comes from the postponement timer, not from the watch";
  EXPECT_EQ(run->dueTime, 15u);
  // The pool measures due times on a clock tick of its own; the run must not come anywhere near at once.
  EXPECT_GE(monitor.TimeOfCall(1) - run->armedAt, std::chrono::milliseconds(5));
  // Nothing else changes, and nothing else runs.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(monitor.Calls(), 2);
  ASSERT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
  LogSetLevel(LogLevelWarning);
  EXPECT_EQ(PoolProbe::LiveTimers(), 0);
}

TEST_F(StoreNotificationsTest, TimerThatCannotBeMovedIsLeftAloneAndANewOneIsMade) {
  LogSetLevel(LogLevelInfo);
  RecordingMonitor monitor;
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
  ASSERT_TRUE(WaitUntilArmed());
  monitor.HoldNextCall();
  Write(1);
  ASSERT_TRUE(monitor.WaitUntilHeld());
  std::uint64_t first = 0;
  {
    // The postponement timers wait long enough for the next change to find the first one pending.
    DelayedTimers delayed(2000);
    const std::int64_t created = PoolProbe::TimersCreated();
    ASSERT_TRUE(WaitUntilArmed());
    Write(2);
    ASSERT_TRUE(WaitUntil([&] { return PoolProbe::TimersCreated() == created + 1; }));
    ASSERT_TRUE(WaitUntilArmed());
    PoolProbe::FailNextChangeTimer();
    Write(3);
    ASSERT_TRUE(WaitUntil([&] { return PoolProbe::TimersCreated() == created + 2; })) << capture.Text();
    first = PoolProbe::FailedChangeTimer();
    ASSERT_NE(first, 0u);
    EXPECT_EQ(CountLogged("Error 2 in function StorageSystem::Registry::CStoreDelegate::RegEventPostponeRequest: "
                          "ChangeTimerQueueTimer raised error 8: "),
              2)
        << "one report, which shows twice on the channel without a debugger\n"
        << capture.Text();
    EXPECT_FALSE(PoolProbe::TimerDeleted(first)) << "the timer that could not be moved is left alone";
    EXPECT_EQ(PoolProbe::LiveTimers(), 2) << "and the new one stands beside it";
  }
  monitor.Release();

  // The first timer fires at its own time: its callback takes the new timer out and deletes it, and
  // runs the handler once.
  ASSERT_TRUE(monitor.WaitForCalls(2));
  const std::optional<PoolProbe::TimerRun> run = monitor.TimerRunOfCall(1);
  ASSERT_TRUE(run.has_value());
  EXPECT_EQ(run->timer, first);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(monitor.Calls(), 2);
  ASSERT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
  LogSetLevel(LogLevelWarning);
  // Nothing deletes the timer that was left alone; the test does, so that the count ends at zero.
  EXPECT_EQ(PoolProbe::LiveTimers(), 1);
  if (!PoolProbe::TimerDeleted(first)) {
    EXPECT_TRUE(
        Platform::DeleteTimerQueueTimer(nullptr, PoolProbe::TimerHandle(first), Platform::INVALID_HANDLE_VALUE));
  }
  EXPECT_EQ(PoolProbe::LiveTimers(), 0);
}

TEST_F(StoreNotificationsTest, BurstWhileTheLockIsHeldLeavesAtMostOneTimer) {
  LogSetLevel(LogLevelInfo);
  RecordingMonitor monitor;
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
  Testing::PoolProbe::ResetPeakTimers();
  const std::int64_t createdBefore = Testing::PoolProbe::TimersCreated();
  ILock* lock = storage->GetProperties()->GetLock();
  lock->Lock();
  // Handlers give up on the lock after a thousand tries and postpone; the burst keeps them coming
  // for a while after the first gave up.
  const auto limit = Clock::now() + std::chrono::seconds(20);
  auto end = limit;
  std::uint32_t number = 100;
  while (Clock::now() < end) {
    Write(number++);
    EXPECT_LE(Testing::PoolProbe::LiveTimers(), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (end == limit && Logged("Could not process Registry event fast enough, postponing event handling")) {
      end = Clock::now() + std::chrono::milliseconds(500);
    }
  }
  lock->Unlock();
  EXPECT_TRUE(monitor.WaitForCalls(1));
  ASSERT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
  LogSetLevel(LogLevelWarning);
  EXPECT_TRUE(Logged("Could not process Registry event fast enough, postponing event handling"));
  EXPECT_GT(Testing::PoolProbe::TimersCreated(), createdBefore);
  EXPECT_LE(Testing::PoolProbe::PeakTimers(), 1);
  EXPECT_EQ(Testing::PoolProbe::LiveTimers(), 0);
}

// The notifications of changes that other processes make.
class CrossProcessNotificationsTest : public StoreNotificationsTest {};

#ifdef HALCYRA_REG_TOOL
TEST_F(CrossProcessNotificationsTest, ValueWrittenByHalcyraRegReachesAMonitorOnAnAncestorStore) {
  RecordingMonitor monitor;
  ASSERT_EQ(store->RegisterMonitor(&monitor), ErrorNone);
  // An own change first, so that the watch is known to be armed.
  ASSERT_TRUE(WriteUntilCalled(monitor, 1));
  // Let the notifications of the own changes run out before counting.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const std::string key = sandbox.RootCommandPath() + "\\watched\\deep\\er";
  const int calls = monitor.Calls();
  bool heard = false;
  // Each attempt is a separate process; the watch may be in the middle of being armed again.
  for (int attempt = 0; attempt < 3 && !heard; ++attempt) {
    ChildProcess::Result added =
        ChildProcess::Run(HALCYRA_REG_TOOL, {"add", key, "/v", "value", "/t", "REG_DWORD", "/d", "77", "/f"});
    ASSERT_EQ(added.exitCode, 0) << added.output << added.error;
    heard = monitor.WaitForCalls(calls + 1, std::chrono::seconds(3));
  }
  EXPECT_TRUE(heard);
  EXPECT_EQ(monitor.nonZeroDetails.load(), 0);
  std::uint32_t read = 0;
  ASSERT_EQ(value->Read(&read, sizeof read), ErrorNone);
  EXPECT_EQ(read, 77u);
  ASSERT_EQ(store->UnregisterMonitor(&monitor), ErrorNone);
}
#endif

TEST_F(CrossProcessNotificationsTest, TeardownUnderLoadOfAWriterProcess) {
  const std::string key = Platform::Utf16ToUtf8(sandbox.RootPath()) + "\\watched\\load";
  ChildProcess writer;
  ASSERT_TRUE(writer.Start(HALCYRA_REGISTRY_CHILD, {"writer", key, "120"}));
  Testing::PoolProbe::ResetPeakTimers();

  RecordingMonitor watching;
  ASSERT_EQ(store->RegisterMonitor(&watching), ErrorNone);
  ASSERT_TRUE(watching.WaitForCalls(1)) << "the writer's changes arrive";
  ASSERT_EQ(store->UnregisterMonitor(&watching), ErrorNone);
  watching.removed = true;

  int totalCalls = 0;
  int lateCalls = 0;
  for (int cycle = 0; cycle < 1000; ++cycle) {
    // Every tenth round on a store of its own, released at once after the removal.
    IStore* target = store;
    if (cycle % 10 == 0) {
      ASSERT_EQ(storage->OpenStore(u"watched", &target, SF_READ), ErrorNone);
    }
    RecordingMonitor first;
    RecordingMonitor second;
    ASSERT_EQ(target->RegisterMonitor(&first), ErrorNone);
    ASSERT_EQ(target->RegisterMonitor(&second), ErrorNone);
    if (cycle % 3 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ASSERT_EQ(target->UnregisterMonitor(&second), ErrorNone);
    second.removed = true;
    ASSERT_EQ(target->UnregisterMonitor(&first), ErrorNone);
    first.removed = true;
    if (target != store) target->Release();
    totalCalls += first.Calls() + second.Calls();
    lateCalls += first.lateCalls.load() + second.lateCalls.load();
    ASSERT_LE(Testing::PoolProbe::LiveTimers(), 1);
  }
  writer.Kill();
  EXPECT_EQ(lateCalls, 0);
  EXPECT_EQ(watching.lateCalls.load(), 0);
  EXPECT_LE(Testing::PoolProbe::PeakTimers(), 1);
  EXPECT_EQ(Testing::PoolProbe::LiveTimers(), 0);
  std::printf("[          ] %d monitor calls during 1000 cycles\n", totalCalls);
}

}  // namespace
