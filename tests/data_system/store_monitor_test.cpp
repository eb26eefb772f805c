// Monitors and the scan that finds changes: order, nesting, deletions and asynchronous delivery.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "data_system/interface_ids.h"
#include "data_system/notification_completion_list.h"
#include "data_system/store_monitor_async_adapter.h"
#include "data_system/store_monitor_dispatch_list.h"
#include "tests/data_system/data_system_fixture.h"

namespace Testing {
namespace {

using namespace DataSystem;

// Appends its name and what it heard to a shared list.
class NamedMonitor : public IStoreMonitor {
public:
  NamedMonitor(std::string name, std::vector<std::string>& journal) : m_name(std::move(name)), m_journal(journal) {}
  void OnValueChange(IValue* value, CNotificationCompletionList*) override { Note("value", value); }
  void OnItemInsert(IItem* item, CNotificationCompletionList*) override { Note("insert", item); }
  void OnItemErase(IItem* item, CNotificationCompletionList*) override { Note("erase", item); }

private:
  void Note(const char* kind, IItem* item) {
    m_journal.push_back(m_name + " " + kind + " " + (item != nullptr ? Narrow16(item->GetModelName()) : "null"));
  }
  std::string m_name;
  std::vector<std::string>& m_journal;
};

class StoreMonitorTest : public SettingsStoreTest {
protected:
  std::u16string ProfileKey(unsigned index) { return SettingsKey() + u"\\" + Name(Schema::kProfileGuid, index); }
  std::vector<std::string> journal;
};

TEST_F(StoreMonitorTest, AScanWithNoChangeCallsNoMonitor) {
  RecordingMonitor monitor;
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  IItem* item = nullptr;
  TreeLock hold(dataSystem);
  ASSERT_EQ(settings->InsertDefaultItem(u"Profile", &item), ErrorNone);
  ASSERT_EQ(settings->Update(), ErrorNone);
  ASSERT_EQ(settings->Update(), ErrorNone);
  EXPECT_EQ(monitor.Count(), 0u);
  ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(StoreMonitorTest, TwoMonitorsOnOneStoreAreCalledInOrderOfRegistration) {
  NamedMonitor first("first", journal), second("second", journal);
  ASSERT_EQ(settings->RegisterMonitor(&first, MONITOR_DIRECT), ErrorNone);
  ASSERT_EQ(settings->RegisterMonitor(&second, MONITOR_DIRECT), ErrorNone);
  TreeLock hold(dataSystem);
  WriteDword(SettingsKey(), Name(Schema::kLevelGuid), 7);
  ASSERT_EQ(settings->Update(), ErrorNone);
  EXPECT_EQ(journal, (std::vector<std::string>{"first value Level", "second value Level"}));
  ASSERT_EQ(settings->UnregisterMonitor(&first), ErrorNone);
  ASSERT_EQ(settings->UnregisterMonitor(&second), ErrorNone);
}

TEST_F(StoreMonitorTest, AMonitorOnAParentHearsAChangeInAnInheritingSubStoreBeforeTheSubStoresMonitors) {
  NamedMonitor parent("parent", journal), child("child", journal);
  IStore* inner = Store(u"Settings.Inner");
  ASSERT_EQ(inner->RegisterMonitor(&child, MONITOR_DIRECT), ErrorNone);
  ASSERT_EQ(settings->RegisterMonitor(&parent, MONITOR_DIRECT), ErrorNone);
  TreeLock hold(dataSystem);
  WriteDword(SettingsKey() + u"\\" + Name(Schema::kInnerGuid), Name(Schema::kCountGuid), 3);
  ASSERT_EQ(settings->Update(), ErrorNone);
  EXPECT_EQ(journal, (std::vector<std::string>{"parent value Count", "child value Count"}));
  ASSERT_EQ(settings->UnregisterMonitor(&parent), ErrorNone);
  ASSERT_EQ(inner->UnregisterMonitor(&child), ErrorNone);
}

TEST_F(StoreMonitorTest, AMonitorOnAParentDoesNotHearASubStoreThatHasASubscriptionOfItsOwn) {
  NamedMonitor parent("parent", journal), child("child", journal);
  IStore* archive = Store(u"Archive");
  IStore* watched = Store(u"Archive.Watched");
  ASSERT_EQ(archive->RegisterMonitor(&parent, MONITOR_DIRECT), ErrorNone);
  ASSERT_EQ(watched->RegisterMonitor(&child, MONITOR_DIRECT), ErrorNone);
  TreeLock hold(dataSystem);
  WriteDword(ArchiveKey() + u"\\" + Name(Schema::kWatchedGuid), Name(Schema::kWatchedValueGuid), 4);
  ASSERT_EQ(archive->Update(), ErrorNone);
  EXPECT_TRUE(journal.empty());
  ASSERT_EQ(watched->Update(), ErrorNone);
  EXPECT_EQ(journal, (std::vector<std::string>{"child value Value"}));
  ASSERT_EQ(archive->UnregisterMonitor(&parent), ErrorNone);
  ASSERT_EQ(watched->UnregisterMonitor(&child), ErrorNone);
}

TEST_F(StoreMonitorTest, DuringOnItemEraseTheItemIsAliveAndAfterTheTopScanItReadsDeleted) {
  IItem* profile = nullptr;
  ASSERT_EQ(settings->InsertDefaultItemByNameRef(u"Profile", &profile), ErrorNone);
  RecordingMonitor monitor;
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  TreeLock hold(dataSystem);
  ASSERT_EQ(Platform::RegDeleteTreeW(sandbox.Root(), ProfileKey(0).c_str()), Platform::ERROR_SUCCESS);
  ASSERT_EQ(settings->Update(), ErrorNone);
  std::vector<HeardNotification> heard = monitor.Heard();
  ASSERT_EQ(heard.size(), 1u);
  EXPECT_EQ(heard[0].kind, HeardNotification::ItemErase);
  EXPECT_EQ(heard[0].item, profile);
  EXPECT_TRUE(heard[0].alive);
  EXPECT_TRUE(heard[0].direct);
  EXPECT_EQ(heard[0].path, "TestData.Settings.Profile[0]");
  EXPECT_EQ(Narrow16(profile->GetPath()), "[item was deleted]");
  EXPECT_EQ(settings->GetItemCount(&Schema::kProfileGuid), 0u);
  ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
  profile->Release();
}

TEST_F(StoreMonitorTest, AMonitorOnAnErasedInstanceHearsItsOwnErasureToo) {
  IItem* profile = nullptr;
  ASSERT_EQ(settings->InsertDefaultItemByNameRef(u"Profile", &profile), ErrorNone);
  NamedMonitor onSettings("settings", journal), onInstance("instance", journal);
  auto* instance = static_cast<IStore*>(profile->GetInterface(&IID_IStore));
  ASSERT_EQ(settings->RegisterMonitor(&onSettings, MONITOR_DIRECT), ErrorNone);
  ASSERT_EQ(instance->RegisterMonitor(&onInstance, MONITOR_DIRECT), ErrorNone);
  TreeLock hold(dataSystem);
  ASSERT_EQ(Platform::RegDeleteTreeW(sandbox.Root(), ProfileKey(0).c_str()), Platform::ERROR_SUCCESS);
  ASSERT_EQ(settings->Update(), ErrorNone);
  EXPECT_EQ(journal, (std::vector<std::string>{"settings erase Profile", "instance erase Profile"}));
  ASSERT_EQ(instance->UnregisterMonitor(&onInstance), ErrorNone);
  ASSERT_EQ(settings->UnregisterMonitor(&onSettings), ErrorNone);
  profile->Release();
}

TEST_F(StoreMonitorTest, AnInstanceAddedInStorageIsInsertedAndHeardWithItsLogicalIndex) {
  IItem* item = nullptr;
  ASSERT_EQ(settings->InsertDefaultItem(u"Profile", &item), ErrorNone);
  RecordingMonitor monitor;
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  TreeLock hold(dataSystem);
  WriteDword(ProfileKey(3), Name(Schema::kWeightGuid), 33);
  ASSERT_EQ(settings->Update(), ErrorNone);
  std::vector<HeardNotification> heard = monitor.Heard();
  ASSERT_EQ(heard.size(), 1u);
  EXPECT_EQ(heard[0].kind, HeardNotification::ItemInsert);
  EXPECT_EQ(heard[0].path, "TestData.Settings.Profile[1]");
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Profile[1].Weight")->Get(), 33u);
  ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(StoreMonitorTest, InsertsAndErasesComeBeforeValueChangesAndSubStoresComeLast) {
  NamedMonitor monitor("m", journal);
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  TreeLock hold(dataSystem);
  WriteDword(SettingsKey() + u"\\" + Name(Schema::kInnerGuid), Name(Schema::kCountGuid), 3);
  WriteDword(SettingsKey(), Name(Schema::kLevelGuid), 7);
  WriteDword(ProfileKey(0), Name(Schema::kWeightGuid), 1);
  ASSERT_EQ(settings->Update(), ErrorNone);
  EXPECT_EQ(journal, (std::vector<std::string>{"m insert Profile", "m value Level", "m value Count"}));
  ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(StoreMonitorTest, AProcessDoesNotHearItsOwnWritesButDoesInLocalOnMode) {
  RecordingMonitor monitor;
  {
    TreeLock hold(dataSystem);
    ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
    ASSERT_EQ(Value<std::uint32_t>(u"Settings.Level")->Set(std::array<std::uint32_t, 1>{6}.data()), ErrorNone);
    ASSERT_EQ(settings->Update(), ErrorNone);
    EXPECT_EQ(monitor.Count(), 0u) << monitor.Summary();
    ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
  }
  ASSERT_EQ(Open(DS_LOCAL_ON), ErrorNone);
  settings = Store(u"Settings");
  TreeLock hold(dataSystem);
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  ASSERT_EQ(Value<std::uint32_t>(u"Settings.Level")->Set(std::array<std::uint32_t, 1>{8}.data()), ErrorNone);
  ASSERT_EQ(settings->Update(), ErrorNone);
  ASSERT_EQ(monitor.Count(), 1u) << monitor.Summary();
  EXPECT_EQ(monitor.Heard()[0].path, "TestData.Settings.Level");
  ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(StoreMonitorTest, AValueThatCannotBeReadIsLoggedAndTheScanGoesOnWithTheNext) {
  LogSetLevel(LogLevelInfo);
  RecordingMonitor monitor;
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  TreeLock hold(dataSystem);
  ASSERT_EQ(Platform::RegDeleteKeyValueW(sandbox.Root(), SettingsKey().c_str(), Name(Schema::kLevelGuid).c_str()),
            Platform::ERROR_SUCCESS);
  ASSERT_EQ(SetRawString(SettingsKey().c_str(), Name(Schema::kTitleGuid).c_str(), u"Changed"), Platform::ERROR_SUCCESS);
  ASSERT_EQ(settings->Update(), ErrorNone);
  EXPECT_TRUE(
      Logged("Failed to update value 'TestData.Settings.Level'. The value was probably deleted, trying with "
             "next one."))
      << capture.Text();
  std::vector<HeardNotification> heard = monitor.Heard();
  ASSERT_EQ(heard.size(), 1u);
  EXPECT_EQ(heard[0].path, "TestData.Settings.Title");
  EXPECT_EQ(Narrow16(Value<WideString>(u"Settings.Title")->Get()), "Changed");
  ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(StoreMonitorTest, AFailingVectorScanIsLoggedAndTheOtherIndexersAreScannedAnyway) {
  ASSERT_EQ(OpenFaulty(), ErrorNone);
  settings = Store(u"Settings");
  RecordingMonitor monitor;
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  faults.failOpenValue = Name(Schema::kWeightGuid);
  TreeLock hold(dataSystem);
  WriteDword(ProfileKey(2), Name(Schema::kStateGuid), 1);
  WriteDword(SettingsKey(), Name(Schema::kTagGuid, 4), 104);
  EXPECT_EQ(settings->Update(), ErrorNone);
  EXPECT_TRUE(Logged("Warning: error raised during event - scanning remaining indexers anyway")) << capture.Text();
  std::vector<HeardNotification> heard = monitor.Heard();
  ASSERT_EQ(heard.size(), 1u);
  EXPECT_EQ(heard[0].path, "TestData.Settings.Tag[0]");
  EXPECT_EQ(settings->GetItemCount(&Schema::kProfileGuid), 0u);
  ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
}

// Waits for the test's word before it looks at the item it was told of.
class GatedAsyncMonitor : public IStoreMonitor {
public:
  void OnValueChange(IValue* value, CNotificationCompletionList* list) override { Note(value, list); }
  void OnItemInsert(IItem* item, CNotificationCompletionList* list) override { Note(item, list); }
  void OnItemErase(IItem* item, CNotificationCompletionList* list) override { Note(item, list); }
  std::promise<void> gate;
  std::promise<std::pair<std::string, bool>> seen;

private:
  void Note(IItem* item, CNotificationCompletionList* list) {
    gate.get_future().wait();
    seen.set_value({Narrow16(item->GetPath()), list == nullptr});
  }
};

TEST_F(StoreMonitorTest, AsynchronousDeliveryHasANullListAndAnItemDeletedMeanwhileStaysValid) {
  IItem* item = nullptr;
  ASSERT_EQ(settings->InsertDefaultItem(u"Profile", &item), ErrorNone);
  // A reference of the test's own, by which it sees the worker give its reference back.
  item->AddRef();
  GatedAsyncMonitor monitor;
  {
    TreeLock hold(dataSystem);
    ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_ASYNC), ErrorNone);
    ASSERT_EQ(Platform::RegDeleteTreeW(sandbox.Root(), ProfileKey(0).c_str()), Platform::ERROR_SUCCESS);
    ASSERT_EQ(settings->Update(), ErrorNone);
    EXPECT_EQ(settings->GetItemCount(&Schema::kProfileGuid), 0u);
    ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
  }
  monitor.gate.set_value();
  auto seen = monitor.seen.get_future();
  ASSERT_EQ(seen.wait_for(std::chrono::seconds(5)), std::future_status::ready);
  auto [path, nullList] = seen.get();
  EXPECT_EQ(path, "[item was deleted]");
  EXPECT_TRUE(nullList);
  // The worker gives its reference on the item back after the monitor has returned; nothing
  // announces that, so look until only this test's own reference is left: then the worker is done
  // with the monitor and its promises before they go. The count is read under the tree's lock,
  // which the worker's Release takes.
  auto* internal = static_cast<IItemInternal*>(item->GetInterface(&IID_IItemInternal));
  auto count = [&] {
    TreeLock hold(dataSystem);
    return internal->GetRefCount();
  };
  for (auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
       count() > 1 && std::chrono::steady_clock::now() < end;) {
    std::this_thread::yield();
  }
  EXPECT_EQ(count(), 1u);
  item->Release();
}

TEST_F(StoreMonitorTest, AStoreDestroyedWithAMonitorStillRegisteredLogsTheWarningWithItsListsAddress) {
  RecordingMonitor monitor;
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  Close();
  const std::string text = capture.Text();
  const std::string start = "WARNING: Monitor list for CStoreMonitorDispatchList 0x";
  std::size_t at = text.find(start);
  ASSERT_NE(at, std::string::npos) << text;
  std::size_t end = text.find(" is not empty. This may indicate a memory leak on the caller side.", at);
  ASSERT_NE(end, std::string::npos);
  EXPECT_EQ(end - at - start.size(), 2 * sizeof(void*)) << "the list's address in hexadecimal digits";
}

// Records the order in which a completion list's targets are told.
class CompletionJournal : public INotificationCompletionTarget {
public:
  explicit CompletionJournal(std::vector<IItem*>& order) : m_order(order) {}
  void OnNotificationComplete(IItem* item) override { m_order.push_back(item); }

private:
  std::vector<IItem*>& m_order;
};

TEST(CNotificationCompletionListTest, TellsItsTargetsInOrderOfArrivalWhenItEnds) {
  std::vector<IItem*> order;
  CompletionJournal journal(order);
  auto* first = reinterpret_cast<IItem*>(0x10);
  auto* second = reinterpret_cast<IItem*>(0x20);
  {
    CNotificationCompletionList list;
    ASSERT_EQ(list.Queue(&journal, first), ErrorNone);
    ASSERT_EQ(list.Queue(&journal, second), ErrorNone);
    EXPECT_TRUE(order.empty());
  }
  EXPECT_EQ(order, (std::vector<IItem*>{first, second}));
}

TEST(CStoreMonitorDispatchListTest, PassesEachCallToItsMonitorsInOrderAndListsNest) {
  std::vector<std::string> journal;
  NamedMonitor a("a", journal), b("b", journal);
  CStoreMonitorDispatchList inner, outer;
  ASSERT_EQ(inner.Push(&b), ErrorNone);
  ASSERT_EQ(outer.Push(&a), ErrorNone);
  ASSERT_EQ(outer.Push(&inner), ErrorNone);
  outer.OnItemInsert(nullptr, nullptr);
  outer.Pop();
  outer.Pop();
  inner.Pop();
  EXPECT_EQ(journal, (std::vector<std::string>{"a insert null", "b insert null"}));
}

}  // namespace
}  // namespace Testing
