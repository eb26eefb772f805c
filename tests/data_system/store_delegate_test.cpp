// Stores: lookups by path and by GUID, inserts and erases, enumeration and monitor registration.
#include "data_system/store_delegate.h"

#include <gtest/gtest.h>

#include <array>
#include <new>
#include <vector>

#include "data_system/access_flags.h"
#include "data_system/interface_ids.h"
#include "storage_system/interface_ids.h"
#include "tests/data_system/data_system_fixture.h"

namespace Testing {
namespace {

using namespace DataSystem;

class CStoreDelegateTest : public SettingsStoreTest {
protected:
  // Inserts `count` Profile instances into Settings.
  void InsertProfiles(int count) {
    for (int i = 0; i < count; ++i) {
      IItem* item = nullptr;
      ASSERT_EQ(settings->InsertDefaultItem(u"Profile", &item), ErrorNone) << capture.Text();
    }
  }
};

// Collects the paths of enumerated items.
class PathCollector : public IItemEnumTarget {
public:
  ErrorCode OnEnumeratedItem(IItem* item, bool* stop) override {
    paths.push_back(Narrow16(item->GetPath()));
    if (stopAfter != 0 && paths.size() == stopAfter) *stop = true;
    return ErrorNone;
  }
  std::vector<std::string> paths;
  std::size_t stopAfter = 0;
};

class NullMonitor : public IStoreMonitor {
public:
  void OnValueChange(IValue*, CNotificationCompletionList*) override {}
  void OnItemInsert(IItem*, CNotificationCompletionList*) override {}
  void OnItemErase(IItem*, CNotificationCompletionList*) override {}
};

TEST_F(CStoreDelegateTest, GetItemByDottedPathReachesTheValueOfTheThirdInstance) {
  InsertProfiles(4);
  IItem* third = nullptr;
  ASSERT_EQ(settings->GetItem(u"Profile[2]", &third), ErrorNone);
  IItem* byInstance = nullptr;
  ASSERT_EQ(static_cast<IStore*>(third->GetInterface(&IID_IStore))->GetItem(u"bState", &byInstance), ErrorNone);
  IItem* byPath = nullptr;
  ASSERT_EQ(dataSystem->GetItem(u"Settings.Profile[2].bState", &byPath), ErrorNone);
  EXPECT_EQ(byPath, byInstance);
  EXPECT_EQ(Narrow16(byPath->GetPath()), "TestData.Settings.Profile[2].bState");
}

TEST_F(CStoreDelegateTest, GetItemReportsWholePathWhenIndexIsOutOfRange) {
  InsertProfiles(4);
  IItem* item = nullptr;
  EXPECT_EQ(dataSystem->GetItem(u"Settings.Profile[7].bState", &item), ErrorNotFound);
  EXPECT_EQ(item, nullptr);
  EXPECT_TRUE(
      Logged("Error 14 in function DataSystem::CStoreDelegate::GetItem: Could not find item "
             "'Profile[7].bState' in store 'Settings'"))
      << capture.Text();
}

TEST_F(CStoreDelegateTest, PathSegmentIsComparedInItsFirst127CharactersOnly) {
  std::u16string longName = Schema::kLongName;
  IItem* exact = nullptr;
  ASSERT_EQ(dataSystem->GetItem((u"Archive." + longName).c_str(), &exact), ErrorNone);
  // Characters past the 127th of the segment and of the name are never compared.
  std::u16string otherTail = longName.substr(0, 127) + u"DIFFERENT";
  IItem* cut = nullptr;
  ASSERT_EQ(dataSystem->GetItem((u"Archive." + otherTail).c_str(), &cut), ErrorNone);
  EXPECT_EQ(cut, exact);
  IItem* shorter = nullptr;
  EXPECT_EQ(dataSystem->GetItem((u"Archive." + longName.substr(0, 126)).c_str(), &shorter), ErrorNotFound);
}

TEST_F(CStoreDelegateTest, GetItemByStepOfAnUnknownGuidWithAnIndexReportsGuidAndIndex) {
  const Common::GUID unknown = Common::GuidLiteral("11111111-2222-3333-4444-555555555555");
  ItemPathStep step{&unknown, 3, nullptr};
  IItem* item = nullptr;
  EXPECT_EQ(dataSystem->GetItem(&step, &item), ErrorNotFound);
  EXPECT_TRUE(
      Logged("Error 14 in function DataSystem::CStoreDelegate::GetDirectChildItem: Could not find item "
             "'{11111111-2222-3333-4444-555555555555}[3]'"))
      << capture.Text();
  ItemPathStep plain{&unknown, kNoIndex, nullptr};
  EXPECT_EQ(dataSystem->GetItem(&plain, &item), ErrorNotFound);
  EXPECT_TRUE(Logged("Could not find item '{11111111-2222-3333-4444-555555555555}' in store 'TestData'"));
}

TEST_F(CStoreDelegateTest, GetItemByStepsBelowAValueReportsThatItIsNoStoreUnderTheLabelOfGetItem) {
  const ItemPathStep below{&Schema::kCountGuid, kNoIndex, nullptr};
  const ItemPathStep level{&Schema::kLevelGuid, kNoIndex, &below};
  const ItemPathStep top{&Schema::kSettingsGuid, kNoIndex, &level};
  IItem* item = nullptr;
  EXPECT_EQ(dataSystem->GetItem(&top, &item), ErrorNotFound);
  EXPECT_TRUE(
      Logged("Error 14 in function DataSystem::CStoreDelegate::GetItem: Could not find item: item "
             "'TestData.Settings.Level' is not a store"))
      << capture.Text();
}

TEST_F(CStoreDelegateTest, GetItemByStepsWalksToAVectorInstanceAndAddsAReferenceInTheRefForm) {
  InsertProfiles(2);
  const ItemPathStep state{&Schema::kStateGuid, kNoIndex, nullptr};
  const ItemPathStep profile{&Schema::kProfileGuid, 1, &state};
  const ItemPathStep top{&Schema::kSettingsGuid, kNoIndex, &profile};
  IItem* item = nullptr;
  ASSERT_EQ(dataSystem->GetItemRef(&top, &item), ErrorNone);
  EXPECT_EQ(Narrow16(item->GetPath()), "TestData.Settings.Profile[1].bState");
  auto* internal = static_cast<IItemInternal*>(item->GetInterface(&IID_IItemInternal));
  EXPECT_EQ(internal->GetRefCount(), 1u);
  item->Release();
  EXPECT_EQ(internal->GetRefCount(), 0u);
}

TEST_F(CStoreDelegateTest, AttachingTheSameItemTwiceMakesInitFailWithAlreadyExists) {
  Close();
  ASSERT_EQ(OpenStorage(AccessFromFlags(&Schema::RootModel(), 0), &dataStorage), ErrorNone);
  auto* root = static_cast<StorageSystem::IStore*>(dataStorage->GetInterface(&StorageSystem::IID_IStore));
  auto* tree = new Schema::CTestDataSystem(0, root);
  auto& settingsStore = tree->settings.item;
  auto* internal = static_cast<IStoreInternal*>(settingsStore.GetInterface(&IID_IStoreInternal));
  EXPECT_EQ(internal->Attach(&settingsStore.level.item), ErrorAlreadyExists);
  EXPECT_TRUE(Logged("Error 13 (")) << capture.Text();
  EXPECT_TRUE(Logged("in function DataSystem::AddUnique"));
  IDataSystem* opened = nullptr;
  EXPECT_EQ(CDataSystem::Open(tree, &opened), ErrorAlreadyExists);
  EXPECT_EQ(opened, nullptr);
}

TEST_F(CStoreDelegateTest, InsertAndEraseOnAReadOnlyDataSystemFailWith12AndNameTheDataSystem) {
  InsertProfiles(1);
  ASSERT_EQ(Open(DS_READ_ONLY), ErrorNone) << capture.Text();
  settings = Store(u"Settings");
  IItem* item = nullptr;
  EXPECT_EQ(settings->InsertDefaultItem(u"Profile", &item), ErrorInvalidOperation);
  EXPECT_TRUE(
      Logged("Error 12 in function DataSystem::CStoreDelegate::InsertDefaultItem: Cannot create new item: "
             "Data system 'TestData' is read-only"))
      << capture.Text();
  IItem* profile = Item(u"Settings.Profile[0]");
  ASSERT_NE(profile, nullptr);
  EXPECT_EQ(profile->Erase(), ErrorInvalidOperation);
  EXPECT_TRUE(
      Logged("Error 12 in function DataSystem::CStoreDelegate::EraseItem: Cannot delete item: "
             "Data system 'TestData' is read-only"));
  EXPECT_EQ(settings->GetItemCount(&Schema::kProfileGuid), 1u);
}

TEST_F(CStoreDelegateTest, EraseOfAnItemThatIsNoVectorInstanceReturns12AndReportsNothing) {
  capture.Clear();
  IItem* level = Item(u"Settings.Level");
  EXPECT_EQ(level->Erase(), ErrorInvalidOperation);
  auto* internal = static_cast<IStoreInternal*>(settings->GetInterface(&IID_IStoreInternal));
  EXPECT_EQ(internal->EraseItem(level), ErrorInvalidOperation);
  EXPECT_EQ(dataSystem->Erase(), ErrorInvalidOperation);
  EXPECT_EQ(capture.Text(), "");
}

TEST_F(CStoreDelegateTest, EnumItemsWithAModelIdFailsWithNotImplemented) {
  PathCollector collector;
  ItemEnumFilter filter{0, nullptr, &Schema::kLevelGuid};
  EXPECT_EQ(settings->EnumItems(&collector, &filter), ErrorNotImplemented);
  EXPECT_TRUE(
      Logged("Error 20 in function DataSystem::CStoreDelegate::EnumItemsBase: Support for model GUID "
             "enumeration not implemented yet"));
  EXPECT_TRUE(collector.paths.empty());
}

TEST_F(CStoreDelegateTest, EnumItemsGivesValuesThenStoresThenDescendsAfterAllDirectItems) {
  PathCollector collector;
  ItemEnumFilter filter{1, nullptr, nullptr};
  ASSERT_EQ(dataSystem->EnumItems(&collector, &filter), ErrorNone);
  std::vector<std::string> expected = {"TestData.Settings", "TestData.Archive", "TestData.Settings.Enabled",
                                       "TestData.Settings.Level", "TestData.Settings.Title", "TestData.Settings.Id",
                                       "TestData.Settings.Inner", "TestData.Settings.Inner.Count",
                                       "TestData.Archive.Plain",
                                       // A display name keeps 127 characters.
                                       "TestData.Archive." + Narrow16(Schema::kLongName).substr(0, 127),
                                       "TestData.Archive.Watched", "TestData.Archive.Watched.Value"};
  EXPECT_EQ(collector.paths, expected);
}

TEST_F(CStoreDelegateTest, EnumItemsWithAnInterfaceFilterAndAStopEndsEarly) {
  PathCollector values;
  ItemEnumFilter onlyValues{0, &IID_IValue, nullptr};
  ASSERT_EQ(settings->EnumItems(&values, &onlyValues), ErrorNone);
  EXPECT_EQ(values.paths.size(), 4u);
  PathCollector guids;
  ItemEnumFilter onlyGuids{0, &IID_IValueGuid, nullptr};
  ASSERT_EQ(settings->EnumItems(&guids, &onlyGuids), ErrorNone);
  EXPECT_EQ(guids.paths, std::vector<std::string>{"TestData.Settings.Id"});
  PathCollector stopping;
  stopping.stopAfter = 2;
  ItemEnumFilter all{1, nullptr, nullptr};
  ASSERT_EQ(dataSystem->EnumItems(&stopping, &all), ErrorNone);
  EXPECT_EQ(stopping.paths.size(), 2u);
}

TEST_F(CStoreDelegateTest, RegisterMonitorWithAnUnknownModeFailsWith11AndTwiceWith13) {
  NullMonitor monitor;
  EXPECT_EQ(settings->RegisterMonitor(&monitor, 2), ErrorInvalidParameter);
  EXPECT_TRUE(Logged("Error 11 (")) << capture.Text();
  EXPECT_TRUE(Logged("in function DataSystem::CStoreDelegate::RegisterMonitor"));
  ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  EXPECT_EQ(settings->RegisterMonitor(&monitor, MONITOR_ASYNC), ErrorAlreadyExists);
  EXPECT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
  EXPECT_EQ(settings->UnregisterMonitor(&monitor), ErrorNotFound);
  EXPECT_TRUE(Logged("in function DataSystem::CStoreDelegate::UnregisterMonitor"));
}

TEST_F(CStoreDelegateTest, RegisterMonitorOnTheDataSystemObjectFailsWithAccessDenied) {
  NullMonitor monitor;
  EXPECT_EQ(dataSystem->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorAccessDenied);
  EXPECT_TRUE(
      Logged("Error 8 in function DataSystem::CStoreDelegate::RegisterMonitor: Store 'TestData' does not "
             "have monitoring rights"));
}

TEST_F(CStoreDelegateTest, RegisterMonitorOnAStoreWithoutWatchLogsWhatItWillNotHear) {
  LogSetLevel(LogLevelInfo);
  NullMonitor monitor;
  IStore* archive = Store(u"Archive");
  ASSERT_EQ(archive->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
  EXPECT_TRUE(Logged("Warning: Store 'TestData.Archive' must be manually updated in order to generate notifications"));
  EXPECT_TRUE(Logged("Warning: Store 'TestData.Archive' will not generate OnValueChange notifications"));
  EXPECT_FALSE(Logged("will not generate OnItemInsert/OnItemErase notifications"));
  EXPECT_EQ(archive->UnregisterMonitor(&monitor), ErrorNone);
}

TEST_F(CStoreDelegateTest, InsertByUnknownNameReportsTheStorePath) {
  IItem* item = nullptr;
  EXPECT_EQ(settings->InsertDefaultItem(u"NoSuchModel", &item), ErrorNotFound);
  EXPECT_TRUE(
      Logged("Error 14 in function DataSystem::CStoreDelegate::InsertDefaultItem: Could not find item "
             "'NoSuchModel' in store 'TestData.Settings'"));
  const Common::GUID unknown = Common::GuidLiteral("11111111-2222-3333-4444-555555555555");
  EXPECT_EQ(settings->InsertDefaultItemByGuid(&unknown, &item), ErrorNotFound);
}

TEST_F(CStoreDelegateTest, GetItemCountGivesInstancesAndNoIndexForAPlainChildOrAnUnknownModel) {
  InsertProfiles(3);
  EXPECT_EQ(settings->GetItemCount(&Schema::kProfileGuid), 3u);
  EXPECT_EQ(settings->GetItemCount(&Schema::kLevelGuid), kNoIndex);
  const Common::GUID unknown = Common::GuidLiteral("11111111-2222-3333-4444-555555555555");
  EXPECT_EQ(settings->GetItemCount(&unknown), kNoIndex);
  EXPECT_TRUE(Logged("in function DataSystem::CStoreDelegate::GetItemCount"));
}

TEST_F(CStoreDelegateTest, GetStoreFlagsOfAStoreModelWithoutParentIsItsOwnOrZeroForInherit) {
  CStoreDelegate orphan(nullptr, &Schema::InnerModel(), nullptr);
  EXPECT_EQ(orphan.GetStoreFlags(), 0u);
  EXPECT_EQ(orphan.GetRights(), 0u);
  CStoreDelegate own(nullptr, &Schema::SettingsModel(), nullptr);
  EXPECT_EQ(own.GetStoreFlags(), static_cast<std::uint32_t>(SM_READ | SM_WRITE | SM_MONITORED));
}

TEST_F(CStoreDelegateTest, ResetOfAStoreResetsItsChildrenToTheirDefaults) {
  ASSERT_EQ(Value<std::uint32_t>(u"Settings.Level")->Set(std::array<std::uint32_t, 1>{9}.data()), ErrorNone);
  ASSERT_EQ(Value<WideString>(u"Settings.Title")->Set(u"Changed"), ErrorNone);
  ASSERT_EQ(settings->Reset(0), ErrorNone);
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Level")->Get(), 5u);
  EXPECT_EQ(Narrow16(Value<WideString>(u"Settings.Title")->Get()), "Halcyra");
}

}  // namespace
}  // namespace Testing
