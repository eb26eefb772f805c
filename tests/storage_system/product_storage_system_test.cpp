#include "storage_system/product_storage_system.h"

#include <gtest/gtest.h>

#include "storage_system/interface_ids.h"
#include "storage_system/registry/registry_properties.h"
#include "storage_system/storage_flags.h"
#include "tests/storage_system/product_storage_fixture.h"

namespace {

using namespace StorageSystem;
using ProductStorageSystem::OpenProductStorageSystem;

// Read, write, create and reset on a type mismatch: what a writable data system opens with.
constexpr std::uint32_t kOpenFlags = SF_READ | SF_WRITE | SF_CREATE | SF_RESET_ON_TYPE_MISMATCH;

Registry::IRegistryProperties* PropertiesOf(IStorageSystem* storage) {
  return static_cast<Registry::IRegistryProperties*>(
      storage->GetProperties()->GetInterface(&Registry::IID_IRegistryProperties));
}

class ProductStorageSystemTest : public Testing::ProductStorageTest {};

TEST_F(ProductStorageSystemTest, OpensTheProductsTreeInTheUsersHiveAndCreatesIt) {
  IStorageSystem* storage = nullptr;
  ASSERT_EQ(OpenProductStorageSystem(0, &storage, desc, kOpenFlags, nullptr, nullptr, false), ErrorNone);
  ASSERT_NE(storage, nullptr);
  EXPECT_TRUE(KeyExists(Platform::HKEY_CURRENT_USER, u"Software\\HalcyraTests\\ProductStorage\\Tree"));
  EXPECT_FALSE(KeyExists(Platform::HKEY_LOCAL_MACHINE, u"Software\\HalcyraTests\\ProductStorage\\Tree"));
  Registry::IRegistryProperties* properties = PropertiesOf(storage);
  ASSERT_NE(properties, nullptr);
  EXPECT_EQ(std::u16string(properties->GetRootText()),
            u"HKEY_CURRENT_USER\\Software\\HalcyraTests\\ProductStorage\\Tree\\");
  EXPECT_EQ(properties->GetAccessMask(), Platform::KEY_WOW64_64KEY);
  EXPECT_EQ(storage->Release(), 0u);
}

TEST_F(ProductStorageSystemTest, RootSelectorOneIsTheMachineHiveAndAnyOtherTheUsers) {
  for (std::int32_t selector : {-1, 2}) {
    IStorageSystem* storage = nullptr;
    ASSERT_EQ(OpenProductStorageSystem(selector, &storage, desc, kOpenFlags, nullptr, nullptr, false), ErrorNone);
    EXPECT_EQ(std::u16string(PropertiesOf(storage)->GetRootText()).rfind(u"HKEY_CURRENT_USER\\", 0), 0u);
    storage->Release();
  }
  IStorageSystem* storage = nullptr;
  ASSERT_EQ(OpenProductStorageSystem(ProductStorageSystem::kMachineRootSelector, &storage, desc, kOpenFlags, nullptr,
                                     nullptr, false),
            ErrorNone);
  EXPECT_TRUE(KeyExists(Platform::HKEY_LOCAL_MACHINE, u"Software\\HalcyraTests\\ProductStorage\\Tree"));
  EXPECT_EQ(std::u16string(PropertiesOf(storage)->GetRootText()),
            u"HKEY_LOCAL_MACHINE\\Software\\HalcyraTests\\ProductStorage\\Tree\\");
  storage->Release();
}

TEST_F(ProductStorageSystemTest, WithoutAttributesTheKeysGetTheProductStoragesOwn) {
  IStorageSystem* storage = nullptr;
  ASSERT_EQ(OpenProductStorageSystem(0, &storage, desc, kOpenFlags, nullptr, nullptr, false), ErrorNone);
  const Platform::SECURITY_ATTRIBUTES* own = ProductStorageSystem::GetProductStorageSecurityAttributes();
  ASSERT_NE(own, nullptr);
  EXPECT_EQ(PropertiesOf(storage)->GetSecurityAttributes(), own);
  storage->Release();
}

TEST_F(ProductStorageSystemTest, GivenAttributesAreTheOnesUsed) {
  Platform::SECURITY_ATTRIBUTES given{};
  IStorageSystem* storage = nullptr;
  ASSERT_EQ(OpenProductStorageSystem(0, &storage, desc, kOpenFlags, nullptr, &given, false), ErrorNone);
  EXPECT_EQ(PropertiesOf(storage)->GetSecurityAttributes(), &given);
  storage->Release();
}

TEST_F(ProductStorageSystemTest, TheProcessWideAttributesAreBuiltOnce) {
  EXPECT_EQ(ProductStorageSystem::GetProductStorageSecurityAttributes(),
            ProductStorageSystem::GetProductStorageSecurityAttributes());
}

TEST_F(ProductStorageSystemTest, ThePathFlagsNameTheTree) {
  desc.pathFlags = 1 | 2;
  IStorageSystem* storage = nullptr;
  ASSERT_EQ(OpenProductStorageSystem(0, &storage, desc, kOpenFlags, nullptr, nullptr, false), ErrorNone);
  EXPECT_TRUE(KeyExists(Platform::HKEY_CURRENT_USER, u"Software\\HalcyraTests\\ProductStorage\\Tree_1.0"));
  storage->Release();
}

TEST_F(ProductStorageSystemTest, AFailedOpenGivesItsCodeAndNoStorage) {
  IStorageSystem* storage = nullptr;
  // A root cannot take over the flags of a parent it does not have.
  EXPECT_EQ(OpenProductStorageSystem(0, &storage, desc, kOpenFlags | SF_INHERIT, nullptr, nullptr, false),
            ErrorInvalidParameter);
  EXPECT_EQ(storage, nullptr);
}

// Hears the final release of a storage system.
class RecordingReleaseHandler final : public IReleaseHandler {
public:
  void OnFinalRelease(Common::IExtensible* storageSystem) override {
    released = static_cast<IStorageSystem*>(storageSystem->GetInterface(&IID_IStorageSystem));
  }
  IStorageSystem* released = nullptr;
};

TEST_F(ProductStorageSystemTest, TheReleaseHandlerHearsTheFinalRelease) {
  RecordingReleaseHandler handler;
  IStorageSystem* storage = nullptr;
  ASSERT_EQ(OpenProductStorageSystem(0, &storage, desc, kOpenFlags, &handler, nullptr, false), ErrorNone);
  EXPECT_EQ(handler.released, nullptr);
  storage->Release();
  EXPECT_EQ(handler.released, storage);
}

}  // namespace
