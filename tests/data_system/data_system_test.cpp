// The data system object: the root of a tree, its lock, and its life.
#include "data_system/data_system.h"

#include <gtest/gtest.h>

#include "data_system/access_flags.h"
#include "data_system/interface_ids.h"
#include "storage_system/interface_ids.h"
#include "tests/data_system/data_system_fixture.h"

namespace Testing {
namespace {

using namespace DataSystem;

class CountingReleaseHandler : public StorageSystem::IReleaseHandler {
public:
  void OnFinalRelease(Common::IExtensible* object) override {
    ++calls;
    last = object;
  }
  int calls = 0;
  Common::IExtensible* last = nullptr;
};

using CDataSystemTest = DataSystemTest;

TEST_F(CDataSystemTest, OpensTheSchemaAndCreatesEveryValueWithItsDefault) {
  ASSERT_EQ(Open(), ErrorNone) << capture.Text();
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Level")->Get(), 5u);
  EXPECT_EQ(GetRaw(SettingsKey().c_str(), Name(Schema::kLevelGuid).c_str()).data.size(), 4u);
  EXPECT_TRUE(KeyExists(ArchiveKey().c_str()));
  EXPECT_EQ(Narrow16(Value<WideString>(u"Settings.Title")->Get()), "Halcyra");
  EXPECT_EQ(*Value<Common::GUID>(u"Settings.Id")->Get(), Schema::kDefaultId);
  EXPECT_EQ(Narrow16(dataSystem->GetPath()), "TestData");
  EXPECT_EQ(dataSystem->GetParent(), nullptr);
}

TEST_F(CDataSystemTest, TwoDataSystemsOverOneStorageSystemShareOneLock) {
  ASSERT_EQ(Open(), ErrorNone);
  auto* root = static_cast<StorageSystem::IStore*>(dataStorage->GetInterface(&StorageSystem::IID_IStore));
  IDataSystem* second = nullptr;
  ASSERT_EQ(Schema::OpenTestDataSystem(root, 0, &second), ErrorNone);
  EXPECT_EQ(second->GetLock(), dataSystem->GetLock());
  EXPECT_EQ(second->GetLock(), dataStorage->GetProperties()->GetLock());
  second->Release();
}

TEST_F(CDataSystemTest, AFailingInitOfOneValueLeavesNoObjectAndReturnsItsCode) {
  faults.failOpenValue = Name(Schema::kPlainGuid);
  CountingReleaseHandler handler;
  ASSERT_EQ(OpenStorage(AccessFromFlags(&Schema::RootModel(), 0), &dataStorage), ErrorNone);
  auto* root = static_cast<StorageSystem::IStore*>(dataStorage->GetInterface(&StorageSystem::IID_IStore));
  root->AddRef();
  auto* faulty = new FaultyStore(root, faults);
  IDataSystem* opened = nullptr;
  EXPECT_EQ(Schema::OpenTestDataSystem(faulty, 0, &opened, &handler), ErrorCannotOpen);
  faulty->Release();
  EXPECT_EQ(opened, nullptr);
  // The object was released at once: its final release was heard.
  EXPECT_EQ(handler.calls, 1);
}

TEST_F(CDataSystemTest, ReleasingTheOpenerWhileAClientHoldsAValueKeepsTheTreeUntilThatValueGoes) {
  CountingReleaseHandler handler;
  ASSERT_EQ(OpenStorage(AccessFromFlags(&Schema::RootModel(), 0), &dataStorage), ErrorNone);
  auto* root = static_cast<StorageSystem::IStore*>(dataStorage->GetInterface(&StorageSystem::IID_IStore));
  IDataSystem* opened = nullptr;
  ASSERT_EQ(Schema::OpenTestDataSystem(root, 0, &opened, &handler), ErrorNone);
  IItem* level = nullptr;
  ASSERT_EQ(opened->GetItemRef(u"Settings.Level", &level), ErrorNone);
  opened->Release();
  EXPECT_EQ(handler.calls, 0);
  auto* value = static_cast<IValueT<std::uint32_t>*>(level->GetInterface(&IID_IValueUInt));
  EXPECT_EQ(*value->Get(), 5u);
  EXPECT_EQ(Narrow16(level->GetPath()), "TestData.Settings.Level");
  level->Release();
  EXPECT_EQ(handler.calls, 1);
  EXPECT_EQ(handler.last, static_cast<Common::IExtensible*>(opened));
}

TEST_F(CDataSystemTest, RootAnswersItsStorageFacetWithThePathSlashAndItsOwnStore) {
  ASSERT_EQ(Open(), ErrorNone);
  auto* facet = static_cast<IStorageSystemStore*>(dataSystem->GetInterface(&IID_IStorageSystemStore));
  ASSERT_NE(facet, nullptr);
  EXPECT_EQ(Narrow16(facet->GetStoragePath()), "/");
  EXPECT_EQ(facet->GetStore(), static_cast<IStore*>(dataSystem));
  EXPECT_EQ(facet->GetOwnStorageStore(), facet->GetStorageStore());
  EXPECT_EQ(facet->GetValueCacheMode(), 0u);
  EXPECT_EQ(facet->GetAccessMask(), 0u);
  EXPECT_EQ(dataSystem->GetStoreFlags(), 0u);
  EXPECT_EQ(dataSystem->GetNotificationFlags(), 0u);
}

}  // namespace
}  // namespace Testing
