#include "audio_service/product_identity.h"

#include <gtest/gtest.h>

#include "storage_system/registry/registry_properties.h"
#include "storage_system/storage_flags.h"
#include "tests/audio_service/product_identity_fixture.h"

namespace {

using DataSystem::ProductDesc;

constexpr std::uint32_t kSharedStorage = 0x1000;
constexpr std::uint32_t kPerUser = 0x2000;

class ProductIdentityWithLibraryTest : public Testing::ProductIdentityTest {
protected:
  // Products cohabit; the subkeys of "SOFTWARE\Velorin" are made in the order given.
  static void Cohabit(Platform::DWORD cohabitation) {
    SetMachineNumber(Testing::kCohabitationKey, u"ProductCohabitation", cohabitation);
  }

  // The library names one of the tests' products, whose tree lies below "Software\HalcyraTests".
  static void NameTestProduct() {
    SetVariable(u"HALCYRA_TEST_COMPANY", u"HalcyraTests\\Identity");
    SetVariable(u"HALCYRA_TEST_PRODUCT", u"Tree");
  }

  static std::u16string RootText(StorageSystem::IStorageSystem* storage) {
    auto* properties = static_cast<StorageSystem::Registry::IRegistryProperties*>(
        storage->GetProperties()->GetInterface(&StorageSystem::Registry::IID_IRegistryProperties));
    return properties->GetRootText();
  }
};

TEST_F(ProductIdentityWithLibraryTest, ACohabitingProductWhoseKeyHoldsAppIsReady0EndsTheScanWithNo) {
  Cohabit(2);
  SetMachineNumber(u"SOFTWARE\\Velorin\\A\\Tree", u"AppIsReady", 0);
  SetMachineNumber(u"SOFTWARE\\Velorin\\B\\Tree", u"AppIsReady", 1);
  EXPECT_FALSE(IsCohabitingProductReady(ProductDesc{u"", u"Tree", u"", u"", 0}));
}

TEST_F(ProductIdentityWithLibraryTest, ASubkeyWithoutTheProductsKeyOrValueIsPassedOver) {
  Cohabit(2);
  CreateMachineKey(u"SOFTWARE\\Velorin\\A");
  CreateMachineKey(u"SOFTWARE\\Velorin\\B\\Tree");
  SetMachineNumber(u"SOFTWARE\\Velorin\\C\\Tree", u"AppIsReady", 1);
  EXPECT_TRUE(IsCohabitingProductReady(ProductDesc{u"", u"Tree", u"", u"", 0}));
}

TEST_F(ProductIdentityWithLibraryTest, AnEmptyProductNameReadsTheSubkeyItself) {
  Cohabit(3);
  SetMachineNumber(u"SOFTWARE\\Velorin\\Ready", u"AppIsReady", 1);
  EXPECT_TRUE(IsCohabitingProductReady(ProductDesc{}));
}

TEST_F(ProductIdentityWithLibraryTest, CohabitationBelowTwoIsOneProductEvenWithAReadyApplication) {
  Cohabit(1);
  SetMachineNumber(u"SOFTWARE\\Velorin\\Ready", u"AppIsReady", 1);
  EXPECT_FALSE(IsCohabitingProductReady(ProductDesc{}));
  SetVariable(u"HALCYRA_TEST_INFO_TEXT", u"VelorinV9");
  const ProductDesc resolved = ResolveProductDesc(ProductDesc{});
  // The library's company is dropped, its versions stay.
  EXPECT_EQ(resolved.company, u"Velorin");
  EXPECT_EQ(resolved.product, u"VelorinV9");
  EXPECT_EQ(resolved.versionMajor, u"7");
  EXPECT_EQ(resolved.versionMinor, u"3");
  EXPECT_EQ(resolved.pathFlags, 0u);
}

TEST_F(ProductIdentityWithLibraryTest, AReadyCohabitingProductWithEmptyInputIsWhatTheLibrarySaysAndItsTreeIsOpened) {
  Cohabit(2);
  SetMachineNumber(u"SOFTWARE\\Velorin\\Ready", u"AppIsReady", 1);
  NameTestProduct();
  const ProductDesc resolved = ResolveProductDesc(ProductDesc{});
  EXPECT_EQ(resolved.company, u"HalcyraTests\\Identity");
  EXPECT_EQ(resolved.product, u"Tree");
  EXPECT_EQ(resolved.versionMajor, u"7");
  EXPECT_EQ(resolved.versionMinor, u"3");

  StorageSystem::IStorageSystem* storage = nullptr;
  ASSERT_EQ(OpenProductStorage(&storage, 0, nullptr, resolved), ErrorNone);
  EXPECT_EQ(RootText(storage), u"HKEY_LOCAL_MACHINE\\Software\\HalcyraTests\\Identity\\Tree\\");
  EXPECT_TRUE(KeyExists(Platform::HKEY_LOCAL_MACHINE, u"Software\\HalcyraTests\\Identity\\Tree"));
  storage->Release();
}

TEST_F(ProductIdentityWithLibraryTest, AReadyCohabitingProductNamedByTheCallerStaysAsGiven) {
  Cohabit(2);
  SetMachineNumber(u"SOFTWARE\\Velorin\\Other\\Mine", u"AppIsReady", 1);
  const ProductDesc given{u"Mine Inc", u"Mine", u"2", u"0", 0};
  const ProductDesc resolved = ResolveProductDesc(given);
  EXPECT_EQ(resolved.company, u"Mine Inc");
  EXPECT_EQ(resolved.product, u"Mine");
  EXPECT_EQ(resolved.versionMajor, u"2");
}

TEST_F(ProductIdentityWithLibraryTest, ALibraryThatSaysProductNameUnknownIsTreatedAsNoLibrary) {
  SetVariable(u"HALCYRA_TEST_PRODUCT", u"PRODUCT_NAME_UNKNOWN");
  SetVariable(u"HALCYRA_TEST_INFO_RESULT", u"80004005");
  const ProductDesc alone = ResolveProductDesc(ProductDesc{});
  EXPECT_EQ(alone.company, u"Velorin");
  EXPECT_EQ(alone.product, u"VelorinV3");
  EXPECT_EQ(alone.versionMajor, u"1");
  EXPECT_EQ(alone.versionMinor, u"5");

  Cohabit(2);
  SetMachineNumber(u"SOFTWARE\\Velorin\\Ready", u"AppIsReady", 1);
  const ProductDesc cohabiting = ResolveProductDesc(ProductDesc{});
  EXPECT_EQ(cohabiting.company, u"Quillon");
  EXPECT_EQ(cohabiting.product, u"Velorin");
  EXPECT_EQ(cohabiting.versionMajor, u"1");
  EXPECT_EQ(cohabiting.versionMinor, u"5");
  EXPECT_TRUE(Logged("Product infos not found"));
}

TEST_F(ProductIdentityWithLibraryTest, WithOneProductTheTreeIsTheFixedOneUnlessTheProductIsQuillonVelorin) {
  const ProductDesc fixed = ChooseStorageProduct(ProductDesc{u"Velorin", u"VelorinV9", u"7", u"3", 0});
  EXPECT_EQ(fixed.company, u"Velorin");
  EXPECT_EQ(fixed.product, u"VelorinV3");
  EXPECT_EQ(fixed.versionMajor, u"7");
  EXPECT_EQ(fixed.versionMinor, u"3");
  const ProductDesc own = ChooseStorageProduct(ProductDesc{u"qUILLON", u"velorin", u"1", u"5", 0});
  EXPECT_EQ(own.company, u"qUILLON");
  EXPECT_EQ(own.product, u"velorin");
}

TEST_F(ProductIdentityWithLibraryTest, WithCohabitingProductsTheTreeIsTheProductsOwn) {
  Cohabit(2);
  const ProductDesc chosen = ChooseStorageProduct(ProductDesc{u"Velorin", u"VelorinV9", u"7", u"3", 0});
  EXPECT_EQ(chosen.product, u"VelorinV9");
}

TEST_F(ProductIdentityWithLibraryTest, TheDefaultInstallOpensSoftwareVelorinVelorinV3OfTheMachine) {
  const ProductDesc resolved = ResolveProductDesc(ProductDesc{});
  StorageSystem::IStorageSystem* storage = nullptr;
  ASSERT_EQ(OpenProductStorage(&storage, 0, nullptr, resolved), ErrorNone);
  EXPECT_EQ(RootText(storage), u"HKEY_LOCAL_MACHINE\\Software\\Velorin\\VelorinV3\\");
  storage->Release();
}

TEST_F(ProductIdentityWithLibraryTest, ThePerUserFlagOpensTheTreeInTheUsersHive) {
  Cohabit(2);
  StorageSystem::IStorageSystem* storage = nullptr;
  ASSERT_EQ(
      OpenProductStorage(&storage, kPerUser, nullptr, ProductDesc{u"HalcyraTests\\Identity", u"Tree", u"1", u"0", 0}),
      ErrorNone);
  EXPECT_EQ(RootText(storage), u"HKEY_CURRENT_USER\\Software\\HalcyraTests\\Identity\\Tree\\");
  storage->Release();
}

TEST_F(ProductIdentityWithLibraryTest, TheSharedFlagGivesOneStorageSystemAndRefusesAttributes) {
  Cohabit(2);
  const ProductDesc desc{u"HalcyraTests\\Identity", u"Tree", u"1", u"0", 0};
  StorageSystem::IStorageSystem* first = nullptr;
  StorageSystem::IStorageSystem* second = nullptr;
  ASSERT_EQ(OpenProductStorage(&first, kSharedStorage, nullptr, desc), ErrorNone);
  ASSERT_EQ(OpenProductStorage(&second, kSharedStorage, nullptr, desc), ErrorNone);
  EXPECT_EQ(first, second);
  second->Release();
  first->Release();

  Platform::SECURITY_ATTRIBUTES attributes{};
  StorageSystem::IStorageSystem* refused = nullptr;
  EXPECT_EQ(OpenProductStorage(&refused, kSharedStorage, &attributes, desc), ErrorInvalidOperation);
  EXPECT_EQ(refused, nullptr);
}

}  // namespace
