#include "audio_service/product_info.h"

#include <gtest/gtest.h>

#include "audio_service/product_identity.h"
#include "tests/audio_service/product_identity_fixture.h"

namespace {

using DataSystem::ProductDesc;

constexpr const char* kWrongTypeName =
    "Quillon::GetProductInfo::<lambda_8d7fd92c3cfc436300b86d54bc0558e7>::operator ()";
constexpr const char* kFailedCallName =
    "Quillon::GetProductInfoT::<lambda_537042dc0381da82ad019bbd547556e2>::operator ()";

class ProductInfoTest : public Testing::ProductIdentityTest {};

TEST_F(ProductInfoTest, GetProductDescTakesWhatTheLibrarySaysAndZeroPathFlags) {
  SetVariable(u"HALCYRA_TEST_COMPANY", u"Acme");
  SetVariable(u"HALCYRA_TEST_PRODUCT", u"Sound");
  SetVariable(u"HALCYRA_TEST_VERSION_MAJOR", u"4");
  SetVariable(u"HALCYRA_TEST_VERSION_MINOR", u"9");
  ProductDesc desc{u"a", u"b", u"c", u"d", 5};
  ASSERT_EQ(DataSystem::GetProductDesc(desc), ErrorNone);
  EXPECT_EQ(desc.company, u"Acme");
  EXPECT_EQ(desc.product, u"Sound");
  EXPECT_EQ(desc.versionMajor, u"4");
  EXPECT_EQ(desc.versionMinor, u"9");
  EXPECT_EQ(desc.pathFlags, 0u);
  EXPECT_EQ(capture.Text(), "");
}

TEST_F(ProductInfoTest, AnUnknownOrEmptyCompanyOrProductIsNotFoundAndLeavesTheRecord) {
  const struct {
    const char16_t* variable;
    const char16_t* value;
  } answers[] = {
      {u"HALCYRA_TEST_PRODUCT", u"PRODUCT_NAME_UNKNOWN"},
      {u"HALCYRA_TEST_COMPANY", u"COMPANY_NAME_UNKNOWN"},
      {u"HALCYRA_TEST_PRODUCT", u"<null>"},
      {u"HALCYRA_TEST_COMPANY", u"<null>"},
  };
  for (const auto& answer : answers) {
    Clean();
    capture.Clear();
    SetVariable(answer.variable, answer.value);
    ProductDesc desc{u"a", u"b", u"c", u"d", 5};
    EXPECT_EQ(DataSystem::GetProductDesc(desc), ErrorNotFound);
    EXPECT_EQ(desc.company, u"a");
    EXPECT_EQ(desc.product, u"b");
    EXPECT_EQ(desc.pathFlags, 5u);
    EXPECT_TRUE(Logged("Error 14 in function DataSystem::GetProductDesc: Product infos not found")) << capture.Text();
  }
}

TEST_F(ProductInfoTest, AnUnknownVersionTextIsTakenAsTheVersion) {
  SetVariable(u"HALCYRA_TEST_VERSION_MAJOR", u"PRODUCT_VERSION_MAJOR_UNKNOWN");
  ProductDesc desc;
  ASSERT_EQ(DataSystem::GetProductDesc(desc), ErrorNone);
  EXPECT_EQ(desc.versionMajor, u"PRODUCT_VERSION_MAJOR_UNKNOWN");
  EXPECT_EQ(desc.versionMinor, u"3");
}

TEST_F(ProductInfoTest, GetProductInfoAsksForTheKeyWithPropertyIdZeroAndGivesTheString) {
  SetVariable(u"HALCYRA_TEST_INFO_TEXT", u"VelorinV9");
  const Quillon::ProductInfoText answer = Quillon::GetProductInfo(kProductNameProperty, u"fallback");
  EXPECT_EQ(answer.text, u"VelorinV9");
  EXPECT_EQ(answer.status, ErrorNone);
  EXPECT_EQ(Variable(u"HALCYRA_TEST_INFO_ASKED"), u"{3A76CD51-A0DC-47B6-B7AD-9DA54A3C44AB},0,0");
  EXPECT_EQ(capture.Text(), "");
}

TEST_F(ProductInfoTest, AnySuccessWithAStringCounts) {
  SetVariable(u"HALCYRA_TEST_INFO_RESULT", u"1");
  EXPECT_EQ(Quillon::GetProductInfo(kProductNameProperty, u"fallback").text, u"TestProductName");
}

TEST_F(ProductInfoTest, ASuccessWithAnotherTypeGivesTheFallbackAndCode11) {
  SetVariable(u"HALCYRA_TEST_INFO_TYPE", u"number");
  const Quillon::ProductInfoText answer = Quillon::GetProductInfo(kProductNameProperty, u"fallback");
  EXPECT_EQ(answer.text, u"fallback");
  EXPECT_EQ(answer.status, ErrorInvalidParameter);
  EXPECT_TRUE(Logged(std::string("Error 11 (invalid parameter) in function ") + kWrongTypeName)) << capture.Text();
}

TEST_F(ProductInfoTest, EachFailureGivesTheFallbackWithItsStatusAndReport) {
  const struct {
    const char16_t* result;
    ErrorCode status;
    const char* report;  // null: no report
  } rows[] = {
      {u"8000000B", ErrorOutOfBounds, "Error 10 (argument is out of bounds) in function "},
      {u"80004001", ErrorNotImplemented, nullptr},
      {u"80070057", ErrorInvalidParameter, "Error 11 (invalid parameter) in function "},
      {u"80004005", ErrorSystem, "Error 2 in function "},
      {u"8007000E", ErrorSystem, "Error 2 in function "},
  };
  for (const auto& row : rows) {
    capture.Clear();
    SetVariable(u"HALCYRA_TEST_INFO_RESULT", row.result);
    const Quillon::ProductInfoText answer = Quillon::GetProductInfo(kProductNameProperty, u"fallback");
    EXPECT_EQ(answer.text, u"fallback");
    EXPECT_EQ(answer.status, row.status);
    if (row.report == nullptr) {
      EXPECT_EQ(capture.Text(), "");
    } else {
      EXPECT_TRUE(Logged(std::string(row.report) + kFailedCallName)) << capture.Text();
    }
  }
}

}  // namespace
