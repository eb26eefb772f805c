// Vectors: instances with physical and logical indexes, inserts, erases, clears and scans.
#include "data_system/item_vector_indexer.h"

#include <gtest/gtest.h>

#include <array>

#include "data_system/interface_ids.h"
#include "tests/data_system/data_system_fixture.h"

namespace Testing {
namespace {

using namespace DataSystem;

class CItemVectorIndexerTest : public DataSystemTest {
protected:
  // Makes the key of Profile instance `index` in storage, as another program would.
  void MakeProfileInStorage(unsigned index) {
    WriteDword(SettingsKey() + u"\\" + Name(Schema::kProfileGuid, index), Name(Schema::kWeightGuid), 1000 + index);
  }
  IStore* Settings() { return Store(u"Settings"); }
};

TEST_F(CItemVectorIndexerTest, LogicalIndexesFollowPhysicalOnesAndErasingRenumbersThePaths) {
  ASSERT_EQ(Open(), ErrorNone);
  for (unsigned index : {0u, 2u, 5u}) MakeProfileInStorage(index);
  ASSERT_EQ(Open(), ErrorNone) << capture.Text();
  ASSERT_EQ(Settings()->GetItemCount(&Schema::kProfileGuid), 3u);
  IItem* last = nullptr;
  ASSERT_EQ(Settings()->GetItemRef(u"Profile[2]", &last), ErrorNone);
  EXPECT_EQ(last->GetPhysicalIndex(), 5u);
  EXPECT_EQ(last->GetIndex(), 2u);
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Profile[2].Weight")->Get(), 1005u);
  EXPECT_EQ(Narrow16(last->GetPath()), "TestData.Settings.Profile[2]");
  EXPECT_EQ(Item(u"Settings.Profile[1]")->GetPhysicalIndex(), 2u);
  ASSERT_EQ(Item(u"Settings.Profile[1]")->Erase(), ErrorNone);
  EXPECT_EQ(last->GetIndex(), 1u);
  EXPECT_EQ(last->GetPhysicalIndex(), 5u);
  EXPECT_EQ(Narrow16(last->GetPath()), "TestData.Settings.Profile[1]");
  IItem* weight = nullptr;
  ASSERT_EQ(static_cast<IStore*>(last->GetInterface(&IID_IStore))->GetItem(u"Weight", &weight), ErrorNone);
  EXPECT_EQ(Narrow16(weight->GetPath()), "TestData.Settings.Profile[1].Weight");
  EXPECT_FALSE(KeyExists((SettingsKey() + u"\\" + Name(Schema::kProfileGuid, 2)).c_str()));
  last->Release();
}

TEST_F(CItemVectorIndexerTest, GetItemWithoutIndexOnAVectorReportsOutOfBounds) {
  ASSERT_EQ(Open(), ErrorNone);
  ItemPathStep step{&Schema::kProfileGuid, kNoIndex, nullptr};
  IItem* item = nullptr;
  EXPECT_EQ(Settings()->GetItem(&step, &item), ErrorOutOfBounds);
  EXPECT_TRUE(
      Logged("Error 10 in function DataSystem::CItemVectorIndexerDelegate::GetItem: Trying to access item "
             "vector 'Profile' without index"))
      << capture.Text();
  ItemPathStep beyond{&Schema::kProfileGuid, 4, nullptr};
  EXPECT_EQ(Settings()->GetItem(&beyond, &item), ErrorOutOfBounds);
}

TEST_F(CItemVectorIndexerTest, GetItemIndexOfAnItemThatIsNoInstanceReturnsNoIndexAndReports11) {
  ASSERT_EQ(Open(), ErrorNone);
  IItem* profile = nullptr;
  ASSERT_EQ(Settings()->InsertDefaultItemByNameRef(u"Profile", &profile), ErrorNone);
  ASSERT_EQ(profile->Erase(), ErrorNone);
  auto* internal = static_cast<IStoreInternal*>(Settings()->GetInterface(&IID_IStoreInternal));
  EXPECT_EQ(internal->GetItemIndex(profile), kNoIndex);
  EXPECT_TRUE(
      Logged("Error 11 in function DataSystem::CItemVectorIndexerDelegate::GetItemIndex: Item '[item was "
             "deleted]' not found - was probably deleted"))
      << capture.Text();
  EXPECT_EQ(internal->GetItemPhysicalIndex(profile), kNoIndex);
  EXPECT_TRUE(Logged("in function DataSystem::CItemVectorIndexerDelegate::GetItemPhysicalIndex"));
  profile->Release();
}

TEST_F(CItemVectorIndexerTest, AFirstFailingInitOfANewInstanceReturnsAtOnceWithoutRetrying) {
  ASSERT_EQ(OpenFaulty(), ErrorNone);
  LogSetLevel(LogLevelInfo);
  faults.failOpenValue = Name(Schema::kWeightGuid);
  IItem* item = nullptr;
  EXPECT_EQ(Settings()->InsertDefaultItem(u"Profile", &item), ErrorCannotOpen);
  EXPECT_EQ(faults.opens[Name(Schema::kWeightGuid)], 1);
  EXPECT_FALSE(Logged("retrying"));
  EXPECT_EQ(Settings()->GetItemCount(&Schema::kProfileGuid), 0u);
  // The place allocated for it went again.
  EXPECT_FALSE(KeyExists((SettingsKey() + u"\\" + Name(Schema::kProfileGuid, 0)).c_str()));
}

TEST_F(CItemVectorIndexerTest, ClearWithBitZeroRemovesTheStoragePlacesAndWithoutItResetsInPlace) {
  ASSERT_EQ(Open(), ErrorNone);
  IItem* item = nullptr;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(Settings()->InsertDefaultItem(u"Profile", &item), ErrorNone);
  auto* weight = Value<std::uint32_t>(u"Settings.Profile[1].Weight");
  ASSERT_EQ(weight->Set(std::array<std::uint32_t, 1>{77}.data()), ErrorNone);
  ASSERT_EQ(Settings()->Reset(0), ErrorNone);
  EXPECT_EQ(Settings()->GetItemCount(&Schema::kProfileGuid), 3u);
  EXPECT_EQ(*weight->Get(), 0u);
  ASSERT_EQ(Settings()->Reset(1), ErrorNone);
  EXPECT_EQ(Settings()->GetItemCount(&Schema::kProfileGuid), 0u);
  for (unsigned index = 0; index < 3; ++index) {
    EXPECT_FALSE(KeyExists((SettingsKey() + u"\\" + Name(Schema::kProfileGuid, index)).c_str()));
  }
}

TEST_F(CItemVectorIndexerTest, AVectorOfValuesKeepsEachInstanceAsAValueNamedWithItsIndex) {
  ASSERT_EQ(Open(), ErrorNone);
  IItem* tag = nullptr;
  ASSERT_EQ(Settings()->InsertDefaultItem(u"Tag", &tag), ErrorNone);
  ASSERT_EQ(Settings()->InsertDefaultItem(u"Tag", &tag), ErrorNone);
  EXPECT_EQ(Narrow16(tag->GetPath()), "TestData.Settings.Tag[1]");
  EXPECT_EQ(*static_cast<IValueT<std::uint32_t>*>(tag->GetInterface(&IID_IValueUInt))->Get(), 101u);
  EXPECT_EQ(GetRaw(SettingsKey().c_str(), Name(Schema::kTagGuid, 1).c_str()).data,
            (std::vector<unsigned char>{101, 0, 0, 0}));
  ASSERT_EQ(Open(), ErrorNone);
  EXPECT_EQ(Settings()->GetItemCount(&Schema::kTagGuid), 2u);
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Tag[0]")->Get(), 100u);
}

TEST_F(CItemVectorIndexerTest, AnInstanceHeldByAClientOutlivesItsErasureAsADeletedItem) {
  ASSERT_EQ(Open(), ErrorNone);
  IItem* profile = nullptr;
  ASSERT_EQ(Settings()->InsertDefaultItemByNameRef(u"Profile", &profile), ErrorNone);
  ASSERT_EQ(profile->Erase(), ErrorNone);
  EXPECT_EQ(profile->IsAlive(), 0);
  EXPECT_EQ(profile->GetIndex(), kNoIndex);
  EXPECT_EQ(profile->GetPhysicalIndex(), kNoIndex);
  EXPECT_EQ(profile->Erase(), ErrorInvalidOperation);
  EXPECT_EQ(Settings()->GetItemCount(&Schema::kProfileGuid), 0u);
  profile->Release();
}

}  // namespace
}  // namespace Testing
