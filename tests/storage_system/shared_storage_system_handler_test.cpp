#include "storage_system/shared_storage_system_handler.h"

#include <gtest/gtest.h>

#include <thread>

#include "storage_system/product_storage_system.h"
#include "storage_system/storage_flags.h"
#include "tests/storage_system/product_storage_fixture.h"

namespace {

using namespace StorageSystem;
using ProductStorageSystem::CSharedStorageSystemHandler;

constexpr std::uint32_t kOpenFlags = SF_READ | SF_WRITE | SF_CREATE | SF_RESET_ON_TYPE_MISMATCH;
constexpr const char* kFinalReleaseLine = "Final release on the product StorageSystem, resetting shared pointer";

class SharedStorageSystemHandlerTest : public Testing::ProductStorageTest {
protected:
  CSharedStorageSystemHandler handler;
};

TEST_F(SharedStorageSystemHandlerTest, TwoQueriesWithEqualIdentityAndFlagsGiveOneObjectWithASecondReference) {
  IStorageSystem* first = nullptr;
  IStorageSystem* second = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &first), ErrorNone);
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &second), ErrorNone);
  EXPECT_EQ(first, second);
  EXPECT_EQ(handler.GetEntryCount(), 1u);
  EXPECT_EQ(first->AddRef(), 3u);
  first->Release();
  EXPECT_EQ(second->Release(), 1u);
  EXPECT_EQ(first->Release(), 0u);
  EXPECT_EQ(handler.GetEntryCount(), 0u);
}

TEST_F(SharedStorageSystemHandlerTest, ThePathFlagsAreNotCompared) {
  IStorageSystem* first = nullptr;
  IStorageSystem* second = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &first), ErrorNone);
  DataSystem::ProductDesc other = desc;
  other.pathFlags = 1;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, other, &second), ErrorNone);
  EXPECT_EQ(first, second);
  second->Release();
  first->Release();
}

TEST_F(SharedStorageSystemHandlerTest, AQueryWithOtherFlagsOpensASecondStorageSystemOnTheSameTree) {
  IStorageSystem* first = nullptr;
  IStorageSystem* second = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &first), ErrorNone);
  ASSERT_EQ(handler.QueryStorageSystem(0, SF_READ, desc, &second), ErrorNone);
  EXPECT_NE(first, second);
  EXPECT_EQ(handler.GetEntryCount(), 2u);
  // Both stand on "Software\HalcyraTests\ProductStorage\Tree": what one writes the other reads.
  ASSERT_EQ(
      Platform::RegSetKeyValueW(Platform::HKEY_CURRENT_USER, u"Software\\HalcyraTests\\ProductStorage\\Tree\\Shared",
                                nullptr, Platform::REG_SZ, u"", 2),
      Platform::ERROR_SUCCESS);
  IStore* fromFirst = nullptr;
  IStore* fromSecond = nullptr;
  EXPECT_EQ(first->OpenStore(u"Shared", &fromFirst, SF_READ), ErrorNone);
  EXPECT_EQ(second->OpenStore(u"Shared", &fromSecond, SF_READ), ErrorNone);
  if (fromFirst != nullptr) fromFirst->Release();
  if (fromSecond != nullptr) fromSecond->Release();
  EXPECT_EQ(first->Release(), 0u);
  EXPECT_EQ(second->Release(), 0u);
}

TEST_F(SharedStorageSystemHandlerTest, OtherStringsOrAnotherRootOpenAnotherStorageSystem) {
  IStorageSystem* base = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &base), ErrorNone);
  for (int field = 0; field < 5; ++field) {
    DataSystem::ProductDesc other = desc;
    std::int32_t selector = 0;
    switch (field) {
      case 0:
        other.company = u"HalcyraTests\\ProductStorage\\Other";
        break;
      case 1:
        other.product = u"OtherTree";
        break;
      case 2:
        other.versionMajor = u"2";
        break;
      case 3:
        other.versionMinor = u"1";
        break;
      default:
        selector = ProductStorageSystem::kMachineRootSelector;
        break;
    }
    IStorageSystem* storage = nullptr;
    ASSERT_EQ(handler.QueryStorageSystem(selector, kOpenFlags, other, &storage), ErrorNone);
    EXPECT_NE(storage, base) << "field " << field;
    storage->Release();
  }
  base->Release();
}

TEST_F(SharedStorageSystemHandlerTest, AfterTheLastReleaseTheLogShowsTheLineAtInfoLevelAndTheNextQueryOpensAnew) {
  IStorageSystem* storage = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &storage), ErrorNone);
  EXPECT_EQ(CountLogged(kFinalReleaseLine), 0);
  storage->Release();
  EXPECT_EQ(CountLogged(kFinalReleaseLine), 1);
  EXPECT_EQ(handler.GetEntryCount(), 0u);

  IStorageSystem* again = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &again), ErrorNone);
  EXPECT_EQ(handler.GetEntryCount(), 1u);
  // A new object with a count of its own, not the old one found again.
  EXPECT_EQ(again->AddRef(), 2u);
  again->Release();
  again->Release();
  EXPECT_EQ(CountLogged(kFinalReleaseLine), 2);
}

TEST_F(SharedStorageSystemHandlerTest, TheFinalReleaseLineIsOfInfoLevel) {
  LogSetLevel(LogLevelWarning);
  IStorageSystem* storage = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &storage), ErrorNone);
  storage->Release();
  EXPECT_EQ(CountLogged(kFinalReleaseLine), 0);
  EXPECT_EQ(handler.GetEntryCount(), 0u);
}

TEST_F(SharedStorageSystemHandlerTest, AFailedOpenLeavesTheMapUnchanged) {
  IStorageSystem* kept = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &kept), ErrorNone);
  IStorageSystem* storage = nullptr;
  // A root cannot take over the flags of a parent it does not have.
  EXPECT_EQ(handler.QueryStorageSystem(0, kOpenFlags | SF_INHERIT, desc, &storage), ErrorInvalidParameter);
  EXPECT_EQ(storage, nullptr);
  EXPECT_EQ(handler.GetEntryCount(), 1u);
  IStorageSystem* same = nullptr;
  ASSERT_EQ(handler.QueryStorageSystem(0, kOpenFlags, desc, &same), ErrorNone);
  EXPECT_EQ(same, kept);
  same->Release();
  kept->Release();
}

TEST_F(SharedStorageSystemHandlerTest, TwoThreadsAskingForOneIdentityGetOneObject) {
  IStorageSystem* results[2] = {nullptr, nullptr};
  std::thread other([&] { static_cast<void>(handler.QueryStorageSystem(0, kOpenFlags, desc, &results[1])); });
  static_cast<void>(handler.QueryStorageSystem(0, kOpenFlags, desc, &results[0]));
  other.join();
  ASSERT_NE(results[0], nullptr);
  EXPECT_EQ(results[0], results[1]);
  results[0]->Release();
  results[1]->Release();
}

TEST_F(SharedStorageSystemHandlerTest, TheProcessWideHandlerSharesOneObjectPerIdentity) {
  IStorageSystem* first = nullptr;
  IStorageSystem* second = nullptr;
  ASSERT_EQ(ProductStorageSystem::QuerySharedStorageSystem(0, &first, desc, kOpenFlags), ErrorNone);
  ASSERT_EQ(ProductStorageSystem::QuerySharedStorageSystem(0, &second, desc, kOpenFlags), ErrorNone);
  EXPECT_EQ(first, second);
  second->Release();
  EXPECT_EQ(first->Release(), 0u);
  EXPECT_EQ(CountLogged(kFinalReleaseLine), 1);
}

}  // namespace
