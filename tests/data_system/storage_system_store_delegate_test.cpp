// Storage-backed stores: places and names in storage, rights and flags, and index allocation.
#include "data_system/storage_system_store_delegate.h"

#include <gtest/gtest.h>

#include "data_system/index_table.h"
#include "data_system/interface_ids.h"
#include "data_system/storage_system_index_enumerator.h"
#include "storage_system/interface_ids.h"
#include "storage_system/storage_flags.h"
#include "tests/data_system/data_system_fixture.h"

namespace Testing {
namespace {

using namespace DataSystem;

class CStorageSystemStoreDelegateTest : public DataSystemTest {
protected:
  IStore* Settings() { return Store(u"Settings"); }
  IStorageSystemStore* Facet(const char16_t* path) {
    return static_cast<IStorageSystemStore*>(Item(path)->GetInterface(&IID_IStorageSystemStore));
  }
  std::uint64_t InsertProfile() {
    IItem* item = nullptr;
    EXPECT_EQ(Settings()->InsertDefaultItem(u"Profile", &item), ErrorNone) << capture.Text();
    return item == nullptr ? kNoIndex : item->GetPhysicalIndex();
  }
  void MakeProfileInStorage(unsigned index) {
    WriteDword(SettingsKey() + u"\\" + Name(Schema::kProfileGuid, index), Name(Schema::kWeightGuid), index);
  }
};

TEST_F(CStorageSystemStoreDelegateTest, WithIndexes0And1InStorageAndATableValueOf5ANewInstanceGets5) {
  ASSERT_EQ(Open(), ErrorNone);
  MakeProfileInStorage(0);
  MakeProfileInStorage(1);
  ASSERT_EQ(Open(), ErrorNone);
  GetIndexTable()[Schema::kProfileGuid] = 5;
  LogSetLevel(LogLevelInfo);
  EXPECT_EQ(InsertProfile(), 5u);
  EXPECT_TRUE(Logged("New index created for model 'Profile': 5")) << capture.Text();
  EXPECT_EQ(GetIndexTable()[Schema::kProfileGuid], 6u);
}

TEST_F(CStorageSystemStoreDelegateTest, WithReusedIndexesAndIndexes0And2ANewInstanceGets1) {
  ASSERT_EQ(Open(), ErrorNone);
  MakeProfileInStorage(0);
  MakeProfileInStorage(2);
  ASSERT_EQ(Open(DS_REUSE_INDEXES), ErrorNone);
  GetIndexTable()[Schema::kProfileGuid] = 5;
  EXPECT_EQ(InsertProfile(), 1u);
  EXPECT_EQ(InsertProfile(), 3u);
}

TEST_F(CStorageSystemStoreDelegateTest, AfterErasingTheHighestInstanceTheNextNewOneDoesNotReuseItsNumber) {
  ASSERT_EQ(Open(), ErrorNone);
  EXPECT_EQ(InsertProfile(), 0u);
  EXPECT_EQ(InsertProfile(), 1u);
  EXPECT_EQ(InsertProfile(), 2u);
  ASSERT_EQ(Item(u"Settings.Profile[2]")->Erase(), ErrorNone);
  // Even a tree that never saw it, with the process's table forgotten, keeps above what it saw.
  EXPECT_EQ(InsertProfile(), 3u);
  GetIndexTable().clear();
  ASSERT_EQ(Item(u"Settings.Profile[2]")->Erase(), ErrorNone);
  EXPECT_EQ(InsertProfile(), 4u);
}

TEST_F(CStorageSystemStoreDelegateTest, AValueBelowAVectorInstanceHasTheStoragePathOfItsInstanceAndAStoresEndsInSlash) {
  ASSERT_EQ(Open(), ErrorNone);
  for (int i = 0; i < 4; ++i) InsertProfile();
  IItem* state = Item(u"Settings.Profile[3].bState");
  auto* valueFacet = static_cast<IStorageSystemItem*>(state->GetInterface(&IID_IStorageSystemItem));
  EXPECT_EQ(Narrow16(valueFacet->GetStoragePath()),
            "/" + Narrow16(Name(Schema::kProfileGuid, 3).c_str()) + "/" + Narrow16(Name(Schema::kStateGuid).c_str()));
  EXPECT_EQ(Narrow16(Facet(u"Settings.Profile[3]")->GetStoragePath()),
            "/" + Narrow16(Name(Schema::kProfileGuid, 3).c_str()) + "/");
  EXPECT_EQ(Narrow16(Facet(u"Settings.Inner")->GetStoragePath()),
            "/" + Narrow16(Name(Schema::kInnerGuid).c_str()) + "/");
  EXPECT_EQ(Narrow16(Facet(u"Settings")->GetStoragePath()), "/");
  EXPECT_EQ(valueFacet->GetStore(), static_cast<IStore*>(Settings()));
  EXPECT_EQ(
      GetRaw((SettingsKey() + u"\\" + Name(Schema::kProfileGuid, 3)).c_str(), Name(Schema::kStateGuid).c_str()).status,
      Platform::ERROR_SUCCESS);
}

TEST_F(CStorageSystemStoreDelegateTest, StorageNamesAreGuidTextOrModelNamesWithThePhysicalIndex) {
  char16_t name[128];
  FormatStorageName(&Schema::ProfileModel(), 0, 3, name, 128);
  EXPECT_EQ(Narrow16(name), "{0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1009}, 3");
  FormatStorageName(&Schema::ProfileModel(), DS_STORE_BY_NAME, 3, name, 128);
  EXPECT_EQ(Narrow16(name), "Profile, 3");
  FormatStorageName(&Schema::LevelModel(), DS_STORE_BY_NAME, kNoIndex, name, 128);
  EXPECT_EQ(Narrow16(name), "Level");
}

TEST_F(CStorageSystemStoreDelegateTest, TheIndexEnumeratorKeepsNamesWithTheModelsPrefixOnly) {
  ASSERT_EQ(Open(), ErrorNone);
  MakeProfileInStorage(3);
  WriteDword(SettingsKey() + u"\\" + Name(Schema::kInnerGuid, 4), u"x", 1);
  WriteDword(SettingsKey() + u"\\" + Name(Schema::kProfileGuid) + u", x", u"x", 1);
  auto* own = Facet(u"Settings")->GetOwnStorageStore();
  CStorageSystemIndexEnumerator enumerator(own, 0, &Schema::ProfileModel());
  ASSERT_EQ(enumerator.Run(), ErrorNone);
  EXPECT_EQ(enumerator.indexes, (std::set<std::uint64_t>{3}));
  CStorageSystemIndexEnumerator values(own, 0, &Schema::TagModel());
  ASSERT_EQ(values.Run(), ErrorNone);
  EXPECT_TRUE(values.indexes.empty());
}

TEST_F(CStorageSystemStoreDelegateTest, RightsFlagsAndCacheModesFollowModelsParentsAndDataSystemFlags) {
  ASSERT_EQ(Open(), ErrorNone);
  const std::uint32_t watched = NOTIFY_INSERT_ERASE | NOTIFY_AUTO_UPDATE | NOTIFY_VALUE_CHANGE;
  EXPECT_EQ(Settings()->GetNotificationFlags(), watched | NOTIFY_OWN_SUBSCRIPTION);
  EXPECT_EQ(Store(u"Settings.Inner")->GetNotificationFlags(), watched);
  EXPECT_EQ(Store(u"Archive")->GetNotificationFlags(), static_cast<std::uint32_t>(NOTIFY_INSERT_ERASE));
  EXPECT_EQ(Store(u"Archive.Watched")->GetNotificationFlags(), watched | NOTIFY_OWN_SUBSCRIPTION);
  EXPECT_EQ(Facet(u"Settings")->GetValueCacheMode(), static_cast<std::uint32_t>(CACHE_LAZY | CACHE_ON_WRITE));
  EXPECT_EQ(Facet(u"Settings.Inner")->GetValueCacheMode(), static_cast<std::uint32_t>(CACHE_LAZY | CACHE_ON_WRITE));
  EXPECT_EQ(Facet(u"Archive")->GetValueCacheMode(),
            static_cast<std::uint32_t>(CACHE_LAZY | CACHE_NONE | CACHE_ON_WRITE));
  EXPECT_EQ(Facet(u"Settings")->GetAccessMask(), 0x270u);
  EXPECT_EQ(Facet(u"Settings.Inner")->GetAccessMask(), 0u);
  EXPECT_EQ(Facet(u"Settings.Inner")->GetOwnStorageStore(), nullptr);
  ASSERT_EQ(Open(DS_LOCAL_ON), ErrorNone);
  EXPECT_EQ(Facet(u"Settings")->GetValueCacheMode(), static_cast<std::uint32_t>(CACHE_LAZY));
  EXPECT_TRUE(Logged("WARNING: Item insert/release notifications are not supported yet in LOCAL_ON mode"));
  ASSERT_EQ(Open(DS_NO_STORAGE_NOTIFICATIONS), ErrorNone);
  EXPECT_EQ(Settings()->GetNotificationFlags(), static_cast<std::uint32_t>(NOTIFY_INSERT_ERASE));
  ASSERT_EQ(Open(DS_READ_ONLY), ErrorNone);
  // Read-only takes away writing and creating, not the reset of a mismatched type.
  EXPECT_EQ(Facet(u"Settings")->GetAccessMask(),
            static_cast<std::uint32_t>(StorageSystem::SF_READ | StorageSystem::SF_RESET_ON_TYPE_MISMATCH));
}

TEST_F(CStorageSystemStoreDelegateTest, AStoreWhoseStorageLacksNotificationsHasInsertEraseAloneAndReadsEachTime) {
  faults.maskedCapabilities = StorageSystem::StorageCapabilityNotifications;
  ASSERT_EQ(OpenFaulty(), ErrorNone) << capture.Text();
  EXPECT_EQ(Settings()->GetNotificationFlags(), static_cast<std::uint32_t>(NOTIFY_INSERT_ERASE));
  EXPECT_EQ(Facet(u"Settings")->GetValueCacheMode(),
            static_cast<std::uint32_t>(CACHE_LAZY | CACHE_NONE | CACHE_ON_WRITE));
  auto* level = Value<std::uint32_t>(u"Settings.Level");
  EXPECT_EQ(*level->Get(), 5u);
  WriteDword(SettingsKey(), Name(Schema::kLevelGuid), 8);
  EXPECT_EQ(*level->Get(), 8u);
  int reads = faults.reads[Name(Schema::kLevelGuid)];
  static_cast<void>(level->Get());
  EXPECT_EQ(faults.reads[Name(Schema::kLevelGuid)], reads + 1);
}

TEST_F(CStorageSystemStoreDelegateTest, ReleaseIndexOfAnInstanceThatIsGoneReportsTheStoragesNotFound) {
  ASSERT_EQ(Open(), ErrorNone);
  auto* vector = static_cast<IStorageSystemItemVector*>(Settings()->GetInterface(&IID_IStorageSystemItemVector));
  EXPECT_EQ(vector->ReleaseIndex(&Schema::ProfileModel(), 42), ErrorNotFound);
}

}  // namespace
}  // namespace Testing
