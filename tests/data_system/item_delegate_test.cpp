// Items: references that hold the tree, paths, indexes and deletion.
#include "data_system/item_delegate.h"

#include <gtest/gtest.h>

#include "data_system/interface_ids.h"
#include "tests/data_system/data_system_fixture.h"

namespace Testing {
namespace {

using namespace DataSystem;

class CItemDelegateTest : public DataSystemTest {
protected:
  void SetUp() override {
    DataSystemTest::SetUp();
    ASSERT_EQ(Open(), ErrorNone) << capture.Text();
  }
  static IItemInternal* Internal(IItem* item) {
    return static_cast<IItemInternal*>(item->GetInterface(&IID_IItemInternal));
  }
};

TEST_F(CItemDelegateTest, ADeletedInstanceAndAChildValueAClientHoldsBothReadItemWasDeleted) {
  IItem* profile = nullptr;
  ASSERT_EQ(Store(u"Settings")->InsertDefaultItemByNameRef(u"Profile", &profile), ErrorNone);
  IItem* state = nullptr;
  ASSERT_EQ(static_cast<IStore*>(profile->GetInterface(&IID_IStore))->GetItemRef(u"bState", &state), ErrorNone);
  EXPECT_EQ(Narrow16(state->GetPath()), "TestData.Settings.Profile[0].bState");
  ASSERT_EQ(profile->Erase(), ErrorNone);
  EXPECT_EQ(Narrow16(profile->GetPath()), "[item was deleted]");
  EXPECT_EQ(Narrow16(state->GetPath()), "[item was deleted]");
  EXPECT_EQ(state->IsAlive(), 0);
  // The value became part of the deleted instance's chain: its reference holds the instance.
  EXPECT_EQ(Internal(state)->GetRoot(), profile);
  EXPECT_EQ(Internal(profile)->GetRefCount(), 2u);
  profile->Release();
  state->Release();
}

TEST_F(CItemDelegateTest, AnItemThatIsNoVectorInstanceHasNoIndexAndNoBracketsInItsPath) {
  IItem* level = Item(u"Settings.Level");
  EXPECT_EQ(level->GetIndex(), kNoIndex);
  EXPECT_EQ(level->GetPhysicalIndex(), kNoIndex);
  EXPECT_EQ(Narrow16(level->GetPath()), "TestData.Settings.Level");
  EXPECT_EQ(dataSystem->GetIndex(), kNoIndex);
}

TEST_F(CItemDelegateTest, AReferenceOnAValueAlsoCountsOnTheDataSystem) {
  IItem* level = nullptr;
  ASSERT_EQ(dataSystem->GetItemRef(u"Settings.Level", &level), ErrorNone);
  EXPECT_EQ(Internal(level)->GetRefCount(), 1u);
  EXPECT_EQ(Internal(dataSystem)->GetRefCount(), 2u);
  EXPECT_EQ(Internal(level)->GetRoot(), static_cast<IItem*>(dataSystem));
  EXPECT_EQ(Internal(dataSystem)->GetSubtreeRefCount(), 1);
  level->Release();
  EXPECT_EQ(Internal(dataSystem)->GetRefCount(), 1u);
  EXPECT_EQ(Internal(dataSystem)->GetSubtreeRefCount(), 0);
}

TEST_F(CItemDelegateTest, GetStoreFlagsOfAnInheritingStoreAreItsParents) {
  EXPECT_EQ(Store(u"Settings.Inner")->GetStoreFlags(), static_cast<std::uint32_t>(SM_READ | SM_WRITE | SM_MONITORED));
  EXPECT_EQ(Store(u"Archive.Watched")->GetStoreFlags(), static_cast<std::uint32_t>(SM_READ | SM_WRITE | SM_MONITORED));
  EXPECT_EQ(Store(u"Archive")->GetStoreFlags(), static_cast<std::uint32_t>(SM_READ | SM_WRITE));
  EXPECT_EQ(dataSystem->GetStoreFlags(), 0u);
}

TEST_F(CItemDelegateTest, GetRightsOnTheDataSystemObjectIsZero) {
  EXPECT_EQ(dataSystem->GetRights(), 0u);
  EXPECT_EQ(Store(u"Settings")->GetRights(), static_cast<std::uint32_t>(RIGHT_READ | RIGHT_WRITE | RIGHT_MONITOR));
  EXPECT_EQ(Store(u"Settings.Inner")->GetRights(),
            static_cast<std::uint32_t>(RIGHT_READ | RIGHT_WRITE | RIGHT_MONITOR));
}

TEST_F(CItemDelegateTest, AComputedDefaultGetsTheItemsLogicalIndex) {
  IStore* settings = Store(u"Settings");
  IItem* item = nullptr;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(settings->InsertDefaultItem(u"Tag", &item), ErrorNone);
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Tag[0]")->GetDefault(), 100u);
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Tag[2]")->GetDefault(), 102u);
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Tag[2]")->Get(), 102u);
  std::uint32_t size = 0;
  EXPECT_EQ(*static_cast<const std::uint32_t*>(Schema::TagModel().GetDefaultValue(7, &size)), 107u);
  EXPECT_EQ(size, 4u);
}

TEST_F(CItemDelegateTest, ModelsAnswerTheirNamesGuidsAndBounds) {
  IItem* level = Item(u"Settings.Level");
  EXPECT_EQ(*level->GetModelGuid(), Schema::kLevelGuid);
  EXPECT_EQ(Narrow16(level->GetModelName()), "Level");
  std::uint32_t size = 0;
  EXPECT_EQ(*static_cast<const std::uint32_t*>(Schema::LevelModel().GetMaximum(&size)), 10u);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(*static_cast<const bool*>(Schema::EnabledModel().GetMaximum(&size)), true);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(*static_cast<const std::uint32_t*>(Schema::CountModel().GetMaximum(&size)), 4294967295u);
  EXPECT_EQ(Schema::TitleModel().GetMinimum(&size), nullptr);
  EXPECT_EQ(Schema::IdModel().GetMaximum(&size), nullptr);
  Schema::TitleModel().GetDefaultValue(0, &size);
  EXPECT_EQ(size, 16u);
  Schema::ExeNameModel().GetDefaultValue(0, &size);
  EXPECT_EQ(size, 2u);
  EXPECT_NE(Schema::SettingsModel().GetInterface(&IID_IStoreModel), nullptr);
  EXPECT_EQ(Schema::SettingsModel().GetInterface(&IID_IValueModel), nullptr);
}

}  // namespace
}  // namespace Testing
