// Values as text: the /t names and /d data of "reg add", and the data column of "reg query".
#include "tools/halcyra-reg/reg_value_text.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/utf.h"
#include "tests/support/registry_bytes.h"

namespace {

using namespace RegTool;
using Platform::BYTE;
using Platform::DWORD;
using Bytes = std::vector<BYTE>;
using namespace std::string_literals;

using Testing::Utf16Bytes;

// One /d case: the type, the data (absent: no /d), the separator, and what is stored (absent:
// refused).
struct DataCase {
  const char* label;
  DWORD type;
  std::optional<std::u16string> data;
  char16_t separator;
  std::optional<Bytes> stored;
};

void PrintTo(const DataCase& c, std::ostream* out) { *out << c.label; }

class ParseDataTest : public ::testing::TestWithParam<DataCase> {};

TEST_P(ParseDataTest, StoresWhatRegExeStores) {
  const DataCase& c = GetParam();
  Bytes bytes;
  const bool accepted = ParseData(c.type, c.data, c.separator, bytes);
  ASSERT_EQ(c.stored.has_value(), accepted);
  if (accepted) {
    EXPECT_EQ(*c.stored, bytes);
  }
}

const Bytes kNothing;
const std::optional<Bytes> kRefused;
using Platform::REG_BINARY;
using Platform::REG_DWORD;
using Platform::REG_DWORD_BIG_ENDIAN;
using Platform::REG_EXPAND_SZ;
using Platform::REG_MULTI_SZ;
using Platform::REG_NONE;
using Platform::REG_QWORD;
using Platform::REG_SZ;

INSTANTIATE_TEST_SUITE_P(
    Strings, ParseDataTest,
    ::testing::Values(
        DataCase{"StringWithoutData", REG_SZ, std::nullopt, 0, Utf16Bytes(std::u16string(1, u'\0'))},
        DataCase{"String", REG_SZ, u"foo\\0bar", 0, Utf16Bytes(std::u16string(u"foo\\0bar") + u'\0')},
        DataCase{"ExpandString", REG_EXPAND_SZ, u"%PATH%", 0, Utf16Bytes(std::u16string(u"%PATH%") + u'\0')},
        DataCase{"NoneIsText", REG_NONE, u"0102", 0, Utf16Bytes(std::u16string(u"0102") + u'\0')},
        DataCase{"NoneWithoutData", REG_NONE, std::nullopt, 0, Bytes{0, 0}},
        DataCase{"SeparatorLeavesAStringWhole", REG_SZ, u"a,b", u',', Utf16Bytes(std::u16string(u"a,b") + u'\0')}));

INSTANTIATE_TEST_SUITE_P(
    Numbers, ParseDataTest,
    ::testing::Values(
        DataCase{"DwordDecimal", REG_DWORD, u"456", 0, Bytes{0xC8, 0x01, 0, 0}},
        DataCase{"DwordLeadingZeroIsDecimal", REG_DWORD, u"0123", 0, Bytes{123, 0, 0, 0}},
        DataCase{"DwordHex", REG_DWORD, u"0X123", 0, Bytes{0x23, 0x01, 0, 0}},
        DataCase{"DwordLargest", REG_DWORD, u"0xffffffff", 0, Bytes{0xFF, 0xFF, 0xFF, 0xFF}},
        DataCase{"DwordEmptyIsZero", REG_DWORD, u"", 0, Bytes{0, 0, 0, 0}},
        DataCase{"DwordWithoutData", REG_DWORD, std::nullopt, 0, kRefused},
        DataCase{"DwordTooLarge", REG_DWORD, u"4294967296", 0, kRefused},
        DataCase{"DwordHexTooLarge", REG_DWORD, u"0x01ffffffff", 0, kRefused},
        DataCase{"DwordNegative", REG_DWORD, u"-1", 0, kRefused}, DataCase{"DwordPlus", REG_DWORD, u"+1", 0, kRefused},
        DataCase{"DwordBareHex", REG_DWORD, u"deadbeef", 0, kRefused},
        DataCase{"DwordDoublePrefix", REG_DWORD, u"00x123", 0, kRefused},
        DataCase{"DwordPrefixAlone", REG_DWORD, u"0x", 0, kRefused},
        DataCase{"DwordTrailingText", REG_DWORD, u"123xyz", 0, kRefused},
        DataCase{"DwordSignAfterPrefix", REG_DWORD, u"0x-5", 0, kRefused},
        DataCase{"DwordLeadingBlank", REG_DWORD, u" 5", 0, kRefused},
        DataCase{"BigEndianInMachineOrder", REG_DWORD_BIG_ENDIAN, u"0x12345678", 0, Bytes{0x78, 0x56, 0x34, 0x12}},
        DataCase{"BigEndianWithoutData", REG_DWORD_BIG_ENDIAN, std::nullopt, 0, kRefused},
        DataCase{"QwordWithoutDataIsZero", REG_QWORD, std::nullopt, 0, Bytes(8, 0)},
        DataCase{"QwordLargest", REG_QWORD, u"0xffffffffffffffff", 0, Bytes(8, 0xFF)},
        DataCase{"QwordNegativeDecimal", REG_QWORD, u"-5", 0, Bytes{0xFB, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
        DataCase{"QwordNegativeHex", REG_QWORD, u"-0x1", 0, kRefused},
        DataCase{"QwordTooLarge", REG_QWORD, u"18446744073709551616", 0, kRefused}));

INSTANTIATE_TEST_SUITE_P(Binary, ParseDataTest,
                         ::testing::Values(DataCase{"Even", REG_BINARY, u"deadbeef", 0, Bytes{0xDE, 0xAD, 0xBE, 0xEF}},
                                           DataCase{"OddGetsAZeroInFront", REG_BINARY, u"123", 0, Bytes{0x01, 0x23}},
                                           DataCase{"OddLonger", REG_BINARY, u"DeAdBeEf0DD", 0,
                                                    Bytes{0x0D, 0xEA, 0xDB, 0xEE, 0xF0, 0xDD}},
                                           DataCase{"Empty", REG_BINARY, u"", 0, kNothing},
                                           DataCase{"WithoutData", REG_BINARY, std::nullopt, 0, kNothing},
                                           DataCase{"Prefixed", REG_BINARY, u"0xDeAdBeEf", 0, kRefused},
                                           DataCase{"OddNotHex", REG_BINARY, u"x01", 0, kRefused},
                                           DataCase{"EvenNotHex", REG_BINARY, u"01x", 0, kRefused}));

std::optional<Bytes> Multi(std::u16string_view strings) { return Utf16Bytes(strings); }

INSTANTIATE_TEST_SUITE_P(
    MultiStrings, ParseDataTest,
    ::testing::Values(
        DataCase{"Three", REG_MULTI_SZ, u"three\\0little\\0strings", 0, Multi(u"three\0little\0strings\0\0"s)},
        DataCase{"OwnSeparator", REG_MULTI_SZ, u"three#little#strings", u'#', Multi(u"three\0little\0strings\0\0"s)},
        DataCase{"NoSeparatorInData", REG_MULTI_SZ, u"threelittlestrings", u'#', Multi(u"threelittlestrings\0\0"s)},
        DataCase{"Empty", REG_MULTI_SZ, u"", 0, Multi(std::u16string(1, u'\0'))},
        DataCase{"WithoutData", REG_MULTI_SZ, std::nullopt, 0, Multi(std::u16string(1, u'\0'))},
        DataCase{"TrailingSeparator", REG_MULTI_SZ, u"a\\0", 0, Multi(u"a\0\0"s)},
        DataCase{"TrailingOwnSeparator", REG_MULTI_SZ, u"a#", u'#', Multi(u"a\0\0"s)},
        DataCase{"SeparatorAlone", REG_MULTI_SZ, u"#", u'#', Multi(u"\0\0"s)},
        DataCase{"DefaultSeparatorAlone", REG_MULTI_SZ, u"\\0", 0, Multi(u"\0\0"s)},
        DataCase{"OwnSeparatorKeepsBackslashZero", REG_MULTI_SZ, u"two\\0#strings", u'#',
                 Multi(u"two\\0\0strings\0\0"s)},
        DataCase{"TwoSeparators", REG_MULTI_SZ, u"##", u'#', kRefused},
        DataCase{"EmptyInside", REG_MULTI_SZ, u"two##strings", u'#', kRefused},
        DataCase{"LeadingSeparator", REG_MULTI_SZ, u"#a", u'#', kRefused},
        DataCase{"LeadingDefaultSeparator", REG_MULTI_SZ, u"\\0a", 0, kRefused},
        DataCase{"TwoTrailingSeparators", REG_MULTI_SZ, u"a##", u'#', kRefused},
        DataCase{"TerminatorInside", REG_MULTI_SZ, u"a\0b"s, u'#', kRefused}));

TEST(RegValueTextTest, TakesTheTypeNamesRegAddTakesInAnyCase) {
  DWORD type = 99;
  EXPECT_TRUE(TypeByName("reg_dword", type));
  EXPECT_EQ(Platform::REG_DWORD, type);
  EXPECT_TRUE(TypeByName("REG_DWORD_LITTLE_ENDIAN", type));
  EXPECT_EQ(Platform::REG_DWORD, type);
  EXPECT_TRUE(TypeByName("REG_DWORD_BIG_ENDIAN", type));
  EXPECT_EQ(Platform::REG_DWORD_BIG_ENDIAN, type);
  EXPECT_TRUE(TypeByName("REG_EXpand_sz", type));
  EXPECT_EQ(Platform::REG_EXPAND_SZ, type);
  EXPECT_FALSE(TypeByName("REG_LINK", type));
  EXPECT_FALSE(TypeByName("", type));
  EXPECT_FALSE(TypeByName("REG_WHATEVER", type));
}

TEST(RegValueTextTest, NamesEveryTypeAndShowsOthersAsNumbers) {
  EXPECT_EQ("REG_DWORD_BIG_ENDIAN", TypeName(Platform::REG_DWORD_BIG_ENDIAN));
  EXPECT_EQ("REG_RESOURCE_LIST", TypeName(8));
  EXPECT_EQ("0x100", TypeName(0x100));
}

TEST(RegValueTextTest, ShowsDataAsRegQueryDoes) {
  EXPECT_EQ("text", QueryText(Value{u"", Platform::REG_SZ, Utf16Bytes(u"text\0rest"s)}));
  EXPECT_EQ("0x1c8", QueryText(Value{u"", Platform::REG_DWORD, {0xC8, 0x01, 0, 0}}));
  EXPECT_EQ("0x12345678", QueryText(Value{u"", Platform::REG_DWORD_BIG_ENDIAN, {0x78, 0x56, 0x34, 0x12}}));
  EXPECT_EQ("010203", QueryText(Value{u"", Platform::REG_DWORD_BIG_ENDIAN, {1, 2, 3}}));
  EXPECT_EQ("0xffffffffffffffff", QueryText(Value{u"", Platform::REG_QWORD, Bytes(8, 0xFF)}));
  EXPECT_EQ("a\\0b", QueryText(Value{u"", Platform::REG_MULTI_SZ, Utf16Bytes(u"a\0b\0\0"s)}));
  EXPECT_EQ("", QueryText(Value{u"", Platform::REG_MULTI_SZ, Utf16Bytes(u"\0\0"s)}));
  EXPECT_EQ("30003100", QueryText(Value{u"", Platform::REG_NONE, {0x30, 0, 0x31, 0}}));
  EXPECT_EQ("(Default)", DisplayName(u""));
}

TEST(RegValueTextTest, ReadsBackWhatRegQueryShowsOfNumbersAndBytes) {
  const Value dword{u"", Platform::REG_DWORD, {0x78, 0x56, 0x34, 0x12}};
  Bytes bytes;
  ASSERT_TRUE(ParseData(Platform::REG_DWORD, Platform::Utf8ToUtf16(QueryText(dword)), 0, bytes));
  EXPECT_EQ(dword.data, bytes);
  const Value binary{u"", Platform::REG_BINARY, {0x00, 0x0A, 0xFF}};
  ASSERT_TRUE(ParseData(Platform::REG_BINARY, Platform::Utf8ToUtf16(QueryText(binary)), 0, bytes));
  EXPECT_EQ(binary.data, bytes);
}

}  // namespace
