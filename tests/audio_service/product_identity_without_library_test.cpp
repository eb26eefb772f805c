// The product identity on a machine without "ProductInfo.dll": nothing above this program holds
// one (the identity suite with the stand-in runs from a folder of its own).
#include <gtest/gtest.h>

#include "audio_service/product_identity.h"
#include "audio_service/product_info.h"
#include "audio_service/product_library_cache.h"
#include "tests/audio_service/product_identity_fixture.h"

namespace {

using DataSystem::ProductDesc;

class ProductIdentityWithoutLibraryTest : public Testing::ProductIdentityTest {};

TEST_F(ProductIdentityWithoutLibraryTest, NoLibraryIsFoundAboveThisProgram) {
  EXPECT_TRUE(CProductLibraryCache::FindAbove(kProductInfoLibrary).empty());
  EXPECT_EQ(CProductLibraryCache::Instance().Load(kProductInfoLibrary), nullptr);
}

TEST_F(ProductIdentityWithoutLibraryTest, WithoutRootKeyAndLibraryTheResultIsVelorinVelorinV3Version15) {
  const ProductDesc resolved = ResolveProductDesc(ProductDesc{});
  EXPECT_EQ(resolved.company, u"Velorin");
  EXPECT_EQ(resolved.product, u"VelorinV3");
  EXPECT_EQ(resolved.versionMajor, u"1");
  EXPECT_EQ(resolved.versionMinor, u"5");
  EXPECT_EQ(resolved.pathFlags, 0u);
  // Both misses are reported, and neither stops the resolution.
  EXPECT_TRUE(Logged("Error 14 in function DataSystem::GetProductDesc: Product infos not found")) << capture.Text();
  EXPECT_TRUE(
      Logged("Error 2 in function Quillon::GetProductInfoT::<lambda_537042dc0381da82ad019bbd547556e2>"
             "::operator ()"))
      << capture.Text();
}

TEST_F(ProductIdentityWithoutLibraryTest, GetProductDescIsNotFoundAndLeavesTheRecord) {
  ProductDesc desc = DataSystem::DefaultProductDesc();
  EXPECT_EQ(DataSystem::GetProductDesc(desc), ErrorNotFound);
  EXPECT_EQ(desc.company, u"Quillon");
  EXPECT_EQ(desc.product, u"Velorin");
}

TEST_F(ProductIdentityWithoutLibraryTest, GetProductInfoGivesTheFallbackWithTheStatusOfItsReport) {
  const Quillon::ProductInfoText answer = Quillon::GetProductInfo(kProductNameProperty, u"VelorinV3");
  EXPECT_EQ(answer.text, u"VelorinV3");
  EXPECT_EQ(answer.status, ErrorSystem);
}

TEST_F(ProductIdentityWithoutLibraryTest, WithoutTheRootKeyNoProductIsReady) {
  EXPECT_FALSE(IsCohabitingProductReady(ProductDesc{}));
}

TEST_F(ProductIdentityWithoutLibraryTest, WithoutTheCohabitationValueNoProductIsReady) {
  SetMachineNumber(u"SOFTWARE\\Velorin\\Ready", u"AppIsReady", 1);
  EXPECT_FALSE(IsCohabitingProductReady(ProductDesc{}));
}

}  // namespace
