#include "platform/prop_variant.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/com.h"

namespace {

using namespace Platform;

LPWSTR TaskString(const char16_t* text) {
  std::size_t bytes = (std::char_traits<char16_t>::length(text) + 1) * sizeof(char16_t);
  auto* copy = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
  std::memcpy(copy, text, bytes);
  return copy;
}

TEST(PropVariantTest, ClearingAStringFreesItAndLeavesEmpty) {
  PROPVARIANT value{};
  value.vt = VT_LPWSTR;
  value.pwszVal = TaskString(u"Quillon.Halcyra3");
  EXPECT_EQ(PropVariantClear(&value), S_OK);
  EXPECT_EQ(value.vt, VT_EMPTY);
  EXPECT_EQ(value.pwszVal, nullptr);
}

TEST(PropVariantTest, ClearingAStringVectorFreesEveryElement) {
  PROPVARIANT value{};
  value.vt = VT_VECTOR | VT_LPWSTR;
  value.calpwstr.cElems = 2;
  value.calpwstr.pElems = static_cast<LPWSTR*>(CoTaskMemAlloc(2 * sizeof(LPWSTR)));
  value.calpwstr.pElems[0] = TaskString(u"a");
  value.calpwstr.pElems[1] = TaskString(u"b");
  EXPECT_EQ(PropVariantClear(&value), S_OK);
  EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST(PropVariantTest, ClearingNumbersAndEmptyValuesSucceeds) {
  PROPVARIANT value{};
  EXPECT_EQ(PropVariantClear(&value), S_OK);
  value.vt = VT_UI4;
  value.ulVal = 7;
  EXPECT_EQ(PropVariantClear(&value), S_OK);
  EXPECT_EQ(value.vt, VT_EMPTY);
  EXPECT_EQ(value.ulVal, 0u);
}

TEST(PropVariantTest, ClearingNullSucceedsAsOnWindows) { EXPECT_EQ(PropVariantClear(nullptr), S_OK); }

TEST(PropVariantTest, LayoutIsThePlatformsOf24Bytes) {
  EXPECT_EQ(sizeof(PROPVARIANT), 24u);
  EXPECT_EQ(offsetof(PROPVARIANT, ulVal), 8u);
  EXPECT_EQ(sizeof(PROPERTYKEY), 20u);
}

TEST(PropVariantTest, KeyTextWithACommaParses) {
  PROPERTYKEY key{};
  ASSERT_EQ(PSPropertyKeyFromString(u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},5", &key), S_OK);
  EXPECT_EQ(key.fmtid.Data1, 0xD04E05A6u);
  EXPECT_EQ(key.fmtid.Data2, 0x594B);
  EXPECT_EQ(key.fmtid.Data3, 0x4FB6);
  EXPECT_EQ(key.fmtid.Data4[0], 0xA8);
  EXPECT_EQ(key.fmtid.Data4[7], 0x1D);
  EXPECT_EQ(key.pid, 5u);
}

TEST(PropVariantTest, KeyTextWithASpaceParses) {
  PROPERTYKEY key{};
  ASSERT_EQ(PSPropertyKeyFromString(u"{9b8844fe-1650-40e5-a5ea-11b8c83821a1} 12", &key), S_OK);
  EXPECT_EQ(key.fmtid.Data1, 0x9B8844FEu);
  EXPECT_EQ(key.pid, 12u);
  ASSERT_EQ(PSPropertyKeyFromString(u"{8A80F57F-E31A-40BB-BB7B-B1F6F5AA9369},0", &key), S_OK);
  EXPECT_EQ(key.pid, 0u);
}

TEST(PropVariantTest, KeyTextsThatDoNotParseAreInvalidArguments) {
  PROPERTYKEY key{};
  for (const char16_t* text :
       {u"", u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D}", u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},",
        u"D04E05A6-594B-4fb6-A80D-01AF5EED7D1D,5", u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1},5",
        u"{G04E05A6-594B-4fb6-A80D-01AF5EED7D1D},5"}) {
    EXPECT_EQ(PSPropertyKeyFromString(text, &key), E_INVALIDARG) << static_cast<int>(text[0]);
  }
}

}  // namespace
