// Tests of the bounded scanner: where the C library's sscanf means the same by a format, both must
// give the same result and the same fields; the GUID text, the LLP64 lengths and the end-of-text
// rule are checked against fixed values.
#include "foundation/scan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

std::u16string WidenAscii(const char* text) {
  std::u16string wide;
  for (; *text != 0; ++text) {
    wide.push_back(static_cast<unsigned char>(*text));
  }
  return wide;
}

std::string NarrowAscii(const char16_t* text) {
  std::string narrow;
  for (; *text != 0; ++text) {
    narrow.push_back(*text < 0x80 ? static_cast<char>(*text) : '?');
  }
  return narrow;
}

struct ScanCase {
  const char* format;
  const char* text;
};

constexpr int kUntouched = 0x5A5A5A5A;

const char16_t* kGuidFormat = u"%8lX-%4hX-%4hX-%2hX%2hX-%2hX%2hX%2hX%2hX%2hX%2hX";

// The eleven numbers of a GUID text, filled by the GUID format.
struct GuidFields {
  std::uint32_t data1 = 0;
  std::uint16_t rest[10] = {};

  int Scan(const char16_t* text) {
    return ScanBounded(text, kGuidFormat, &data1, &rest[0], &rest[1], &rest[2], &rest[3], &rest[4], &rest[5], &rest[6],
                       &rest[7], &rest[8], &rest[9]);
  }
};

int CallV(const char16_t* text, const char16_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = ScanBoundedV(text, format, arguments);
  va_end(arguments);
  return result;
}

}  // namespace

TEST(ScanBoundedTest, IntegersScanAsTheCLibraryScansThem) {
  const ScanCase cases[] = {
      {"%d", "42"},
      {"%d", "  -17"},
      {"%d", "+5"},
      {"%d", "abc"},
      {"%d", ""},
      {"%d", "   "},
      {"%d", "2147483647"},
      {"%d", "-2147483648"},
      {"%d", "-"},
      {"%d", "12abc"},
      {"%x", "ff"},
      {"%X", "FF"},
      {"%x", "0x1A"},
      {"%X", "0X1a"},
      {"%x", "-0x10"},
      {"%x", "0xg"},
      {"%1x", "0x1f"},
      {"%2x", "0x1f"},
      {"%3x", "0x1f"},
      {"%4X", "12345"},
      {"%i", "0x1f"},
      {"%i", "017"},
      {"%i", "-0x10"},
      {"%i", "089"},
      {"%i", "42"},
      {"%o", "777"},
      {"%o", "0778"},
      {"%u", "4294967295"},
      {"%u", "-1"},
      {"%3d", "12345"},
      {"%2d%d", "12345"},
      {"%*d %d", "1 2"},
      {"%d %d %d", "1\t\n 2\r\v\f3"},
      {"%d,%d", "1 ,2"},
      {"%d ,%d", "1 ,2"},
      {"%d%%", "50%"},
      {"%d %%%d", "50 % 7"},
      {"%d%n", "123abc"},
      {"%d %n%d", "1   2"},
      {"a%db", "a7b"},
      {"a %d", "a    9"},
      {"a b%d", "ab3"},
      {"x%d", "y3"},
      {"abc", ""},
      {"%d%d", "5"},
      {"%d-%d-%d", "1-2-"},
      {"%1d%1d%1d", "9876"},
      {"%d", "-0"},
      {"%x", "DeadBeef"},
      {"%*x%x", "ff ee"},
      {"%*d", "abc"},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(std::string(testCase.format) + " on \"" + testCase.text + "\"");
    int expected[3] = {kUntouched, kUntouched, kUntouched};
    const int expectedResult = std::sscanf(testCase.text, testCase.format, &expected[0], &expected[1], &expected[2]);

    int actual[3] = {kUntouched, kUntouched, kUntouched};
    const std::u16string text = WidenAscii(testCase.text);
    const std::u16string format = WidenAscii(testCase.format);
    EXPECT_EQ(ScanBounded(text.c_str(), format.c_str(), &actual[0], &actual[1], &actual[2]), expectedResult);
    EXPECT_EQ(actual[0], expected[0]);
    EXPECT_EQ(actual[1], expected[1]);
    EXPECT_EQ(actual[2], expected[2]);
  }
}

TEST(ScanBoundedTest, TextConversionsScanAsTheCLibraryScansThem) {
  const ScanCase cases[] = {
      {"%s", "word rest"},
      {"%s", "   lead"},
      {"%3s", "abcdef"},
      {"%c", " x"},
      {"%3c", "abcdef"},
      {"%c%c", "ab"},
      {"%[a-z]", "abcXYZ"},
      {"%[0-9a-f]", "12abXY"},
      {"%[^-]-%s", "abc-def"},
      {"%[]a]", "]a]b"},
      {"%[^]]", "ab]c"},
      {"%[a-]", "a-a-b"},
      {"%[-a]", "-a-b"},
      {"%[abc]", "xyz"},
      {"%[abc]", ""},
      {"%2[abc]", "abcabc"},
      {"%s %s", "one two"},
      {"%*s %s", "one two"},
      {" %[^,],%s", "  a b,c"},
      {"%5s", "ab"},
      {"%[^\n]", "line one\n"},
      {"x%s", "x"},
      {"%s", ""},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(std::string(testCase.format) + " on \"" + testCase.text + "\"");
    char expected[2][32] = {"untouched", "untouched"};
    const int expectedResult = std::sscanf(testCase.text, testCase.format, expected[0], expected[1]);

    char16_t actual[2][32] = {u"untouched", u"untouched"};
    const std::u16string text = WidenAscii(testCase.text);
    const std::u16string format = WidenAscii(testCase.format);
    EXPECT_EQ(ScanBounded(text.c_str(), format.c_str(), actual[0], actual[1]), expectedResult);
    EXPECT_EQ(NarrowAscii(actual[0]), expected[0]);
    EXPECT_EQ(NarrowAscii(actual[1]), expected[1]);
  }
}

TEST(ScanBoundedTest, FloatingPointScansAsTheCLibraryScansIt) {
  const std::string longInteger = "1" + std::string(999, '0') + "e-999";
  const std::string longFraction = "0." + std::string(1000, '0') + "1e1001";
  const ScanCase cases[] = {
      {"%lf", "1.5"},
      {"%lf", "-2.25"},
      {"%lf", "+3"},
      {"%lf", ".5"},
      {"%lf", "5."},
      {"%lf", "1e10"},
      {"%lf", "1E-5"},
      {"%lf", "1.5e+3x"},
      {"%lf", "  42"},
      {"%lf", "abc"},
      {"%lf", ""},
      {"%lf", "   "},
      {"%lf", "-"},
      {"%lf", "."},
      {"%lf", "-.e1"},
      {"%lf", "inf"},
      {"%lf", "INF"},
      {"%lf", "-Infinity"},
      {"%lf", "infx"},
      {"%lf", "nan"},
      {"%lf", "-NaN"},
      {"%lf", "1e400"},
      {"%lf", "-1e400"},
      {"%lf", "1e-400"},
      {"%lf", "1e99999999999999999999"},
      {"%lf", "0.000001"},
      {"%lf", "0.1"},
      {"%lf", "-0"},
      {"%lf", "123456789012345678901234567890"},
      {"%lf", "00000.000001e6"},
      {"%lf", "3.14159265358979323846"},
      {"%lf", "2.4703282292062328e-324"},
      {"%lf", "1.7976931348623158e308"},
      {"%lf", "1.7976931348623159e308"},
      {"%lf", longInteger.c_str()},
      {"%lf", longFraction.c_str()},
      {"%3lf", "1.2345"},
      {"%2lf", "-1"},
      {"%4lf", "1e+5"},
      {"%lf,%lf", "1.5,2.5"},
      {"%lf %lf", "1.5	-2e-3"},
      {"%*lf %lf", "1 2"},
      {"%le|%lg|%lE|%lG|%lF|%la", "1|2|3|4|5|6"},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(std::string(testCase.format) + " on \"" + std::string(testCase.text).substr(0, 60) + "\"");
    double expected[6] = {-99, -99, -99, -99, -99, -99};
    const int expectedResult = std::sscanf(testCase.text, testCase.format, &expected[0], &expected[1], &expected[2],
                                           &expected[3], &expected[4], &expected[5]);
    double actual[6] = {-99, -99, -99, -99, -99, -99};
    const std::u16string text = WidenAscii(testCase.text);
    const std::u16string format = WidenAscii(testCase.format);
    EXPECT_EQ(ScanBounded(text.c_str(), format.c_str(), &actual[0], &actual[1], &actual[2], &actual[3], &actual[4],
                          &actual[5]),
              expectedResult);
    for (int i = 0; i < 6; ++i) {
      if (std::isnan(expected[i])) {
        EXPECT_TRUE(std::isnan(actual[i])) << i;
        EXPECT_EQ(std::signbit(actual[i]), std::signbit(expected[i])) << i;
      } else {
        EXPECT_EQ(std::memcmp(&actual[i], &expected[i], sizeof(double)), 0)
            << i << ": " << actual[i] << " and " << expected[i];
      }
    }
  }
}

// Halfway between 1 and the next double, then a non-zero digit far beyond the 800th: the digit
// decides the rounding. (MinGW's C library drops it and rounds down.)
TEST(ScanBoundedTest, DigitsBeyondTheEightHundredthStillDecideTheRounding) {
  const std::u16string halfway = u"1.00000000000000011102230246251565404236316680908203125";
  double value = 0;
  EXPECT_EQ(ScanBounded((halfway + std::u16string(900, u'0') + u"1").c_str(), u"%lf", &value), 1);
  EXPECT_EQ(value, std::nextafter(1.0, 2.0));
  EXPECT_EQ(ScanBounded((halfway + std::u16string(900, u'0')).c_str(), u"%lf", &value), 1);
  EXPECT_EQ(value, 1.0);
}

TEST(ScanBoundedTest, FloatTargetIsRoundedAsTheCLibraryRoundsIt) {
  const char* texts[] = {"0.1",     "3.4028235e38",   "3.4028236e38", "1e39", "1e-46",
                         "7.1e-46", "1.17549435e-38", "16777217",     "-2.5"};
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    float expected = -99;
    ASSERT_EQ(std::sscanf(text, "%f", &expected), 1);
    float actual = -99;
    EXPECT_EQ(ScanBounded(WidenAscii(text).c_str(), u"%f", &actual), 1);
    EXPECT_EQ(std::memcmp(&actual, &expected, sizeof(float)), 0) << actual << " and " << expected;
  }
}

TEST(ScanBoundedTest, LongDoubleTargetGetsTheValueOfADouble) {
  long double value = -99;
  EXPECT_EQ(ScanBounded(u"0.1", u"%Lf", &value), 1);
  EXPECT_EQ(value, static_cast<long double>(0.1));
}

TEST(ScanBoundedTest, FloatingPointFieldIsTheLongestCompleteNumber) {
  double value = -99;
  int consumed = -1;
  EXPECT_EQ(ScanBounded(u"1e", u"%lf%n", &value, &consumed), 1);
  EXPECT_EQ(value, 1.0);
  EXPECT_EQ(consumed, 1);
  EXPECT_EQ(ScanBounded(u"2e+x", u"%lf%n", &value, &consumed), 1);
  EXPECT_EQ(value, 2.0);
  EXPECT_EQ(consumed, 1);
  EXPECT_EQ(ScanBounded(u"infin", u"%lf%n", &value, &consumed), 1);
  EXPECT_TRUE(std::isinf(value));
  EXPECT_EQ(consumed, 3);
  EXPECT_EQ(ScanBounded(u"nan(abc)x", u"%lf%n", &value, &consumed), 1);
  EXPECT_TRUE(std::isnan(value));
  EXPECT_EQ(consumed, 8);
  EXPECT_EQ(ScanBounded(u"nan(abc", u"%lf%n", &value, &consumed), 1);
  EXPECT_EQ(consumed, 3);
  EXPECT_EQ(ScanBounded(u"0x1p3", u"%lf%n", &value, &consumed), 1);
  EXPECT_EQ(value, 0.0);
  EXPECT_EQ(consumed, 1);
}

TEST(ScanBoundedTest, GuidTextWithElevenGroupsGivesElevenFields) {
  GuidFields fields;
  EXPECT_EQ(fields.Scan(u"2d892502-1f2c-4141-b46b-2a6bd660e61d"), 11);
  EXPECT_EQ(fields.data1, 0x2D892502u);
  const std::uint16_t expected[10] = {0x1F2C, 0x4141, 0xB4, 0x6B, 0x2A, 0x6B, 0xD6, 0x60, 0xE6, 0x1D};
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(fields.rest[i], expected[i]) << i;
  }
}

TEST(ScanBoundedTest, GuidTextInCapitalsWithClosingBraceAndMoreGivesElevenFields) {
  GuidFields fields;
  EXPECT_EQ(fields.Scan(u"2D892502-1F2C-4141-B46B-2A6BD660E61D}trailing"), 11);
  EXPECT_EQ(fields.data1, 0x2D892502u);
  EXPECT_EQ(fields.rest[9], 0x1D);
}

TEST(ScanBoundedTest, GuidTextWithTenGroupsGivesTenFields) {
  GuidFields fields;
  EXPECT_EQ(fields.Scan(u"2d892502-1f2c-4141-b46b-2a6bd660e6"), 10);
  EXPECT_EQ(fields.Scan(u"2d892502-1f2c-4141-b46b-2a6bd660e6zz"), 10);
  EXPECT_EQ(fields.Scan(u"2d892502-1f2c-4141-b46b"), 5);
}

TEST(ScanBoundedTest, GuidTextThatDoesNotMatchGivesFewerFields) {
  GuidFields fields;
  EXPECT_EQ(fields.Scan(u"{2d892502-1f2c-4141-b46b-2a6bd660e61d}"), 0);
  EXPECT_EQ(fields.Scan(u"2d892502_1f2c-4141-b46b-2a6bd660e61d"), 1);
  EXPECT_EQ(fields.Scan(u"zz"), 0);
  EXPECT_EQ(fields.Scan(u""), -1);
}

TEST(ScanBoundedTest, HexPrefixCountsInTheFieldWidth) {
  GuidFields fields;
  EXPECT_EQ(fields.Scan(u"0x892502-1f2c-4141-b46b-2a6bd660e61d"), 11);
  EXPECT_EQ(fields.data1, 0x892502u);

  std::uint32_t value = 0;
  std::uint32_t next = 0;
  EXPECT_EQ(ScanBounded(u"0x12", u"%2lX%lX", &value, &next), 2);
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(next, 0x12u);
}

TEST(ScanBoundedTest, LongModifierStoresThirtyTwoBitsAsOnWindows) {
  struct {
    std::uint32_t value;
    std::uint32_t guard;
  } target = {0, 0xA5A5A5A5};
  EXPECT_EQ(ScanBounded(u"ffffffff", u"%lx", &target.value), 1);
  EXPECT_EQ(target.value, 0xFFFFFFFFu);
  EXPECT_EQ(target.guard, 0xA5A5A5A5u);

  std::int32_t negative = 0;
  EXPECT_EQ(ScanBounded(u"-12", u"%ld", &negative), 1);
  EXPECT_EQ(negative, -12);
}

TEST(ScanBoundedTest, LengthModifiersStoreTheirWidthAndLeaveTheRestAlone) {
  struct {
    std::uint8_t value;
    std::uint8_t guard;
  } byte = {0, 0xA5};
  EXPECT_EQ(ScanBounded(u"1ff", u"%hhx", &byte.value), 1);
  EXPECT_EQ(byte.value, 0xFF);
  EXPECT_EQ(byte.guard, 0xA5);

  struct {
    std::uint16_t value;
    std::uint16_t guard;
  } word = {0, 0xA5A5};
  EXPECT_EQ(ScanBounded(u"12345", u"%hX", &word.value), 1);
  EXPECT_EQ(word.value, 0x2345);
  EXPECT_EQ(word.guard, 0xA5A5);

  std::uint64_t wide = 0;
  std::int64_t negative = 0;
  std::size_t size = 0;
  EXPECT_EQ(ScanBounded(u"ffffffffffffffff -9223372036854775808 77", u"%llx %I64d %zu", &wide, &negative, &size), 3);
  EXPECT_EQ(wide, UINT64_MAX);
  EXPECT_EQ(negative, INT64_MIN);
  EXPECT_EQ(size, 77u);
}

TEST(ScanBoundedTest, IntegerOverflowKeepsTheLowBits) {
  std::int32_t value = 0;
  EXPECT_EQ(ScanBounded(u"4294967298", u"%d", &value), 1);
  EXPECT_EQ(value, 2);
}

TEST(ScanBoundedTest, CountStoresCharactersReadSoFarWithoutCountingAsAField) {
  std::int32_t number = 0;
  std::int32_t consumed = 0;
  std::int64_t consumedWide = 0;
  EXPECT_EQ(ScanBounded(u"  123 rest", u"%d%n %lln", &number, &consumed, &consumedWide), 1);
  EXPECT_EQ(consumed, 5);
  EXPECT_EQ(consumedWide, 6);
}

TEST(ScanBoundedTest, CharacterFieldCutShortByTheEndIsStoredAsFarAsItGoes) {
  char16_t buffer[8] = u"#######";
  EXPECT_EQ(ScanBounded(u"ab", u"%5c", buffer), 1);
  EXPECT_EQ(std::u16string(buffer), u"ab#####");
}

TEST(ScanBoundedTest, NonAsciiTextIsScannedAsCodeUnits) {
  char16_t word[8] = {};
  char16_t set[8] = {};
  EXPECT_EQ(ScanBounded(u"\u00E9t\u00E9 \u20AC\u20AC!", u"%s %[\u20AC]", word, set), 2);
  EXPECT_EQ(std::u16string(word), u"\u00E9t\u00E9");
  EXPECT_EQ(std::u16string(set), u"\u20AC\u20AC");
}

TEST(ScanBoundedTest, EndOfTextBeforeTheFirstConversionGivesMinusOne) {
  int value = kUntouched;
  EXPECT_EQ(ScanBounded(u"", u"%d", &value), -1);
  EXPECT_EQ(ScanBounded(u" \t ", u"%d", &value), -1);
  EXPECT_EQ(ScanBounded(u"ab", u"abc%d", &value), -1);
  EXPECT_EQ(value, kUntouched);
  EXPECT_EQ(ScanBounded(u"", u""), 0);
  EXPECT_EQ(ScanBounded(u"", u"  "), 0);
}

TEST(ScanBoundedTest, SuppressedConversionCountsAsTheFirstConversion) {
  int value = kUntouched;
  EXPECT_EQ(ScanBounded(u"5", u"%*d%d", &value), 0);
  EXPECT_EQ(value, kUntouched);
}

TEST(ScanBoundedTest, NullTextOrFormatGivesMinusOne) {
  int value = 0;
  EXPECT_EQ(ScanBounded(nullptr, u"%d", &value), -1);
  EXPECT_EQ(ScanBounded(u"1", nullptr), -1);
}

TEST(ScanBoundedTest, MalformedFormatEndsTheScanWithTheFieldsSoFar) {
  const char16_t* formats[] = {u"%d %y", u"%d %", u"%d %Ld", u"%d %[abc", u"%d %hs", u"%d %wd", u"%d %hf", u"%d %llf"};
  for (const char16_t* format : formats) {
    SCOPED_TRACE(NarrowAscii(format));
    int first = 0;
    int second = kUntouched;
    EXPECT_EQ(ScanBounded(u"1 2 3", format, &first, &second), 1);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, kUntouched);
  }
}

TEST(ScanBoundedTest, VariantTakesAnArgumentList) {
  int first = 0;
  int second = 0;
  EXPECT_EQ(CallV(u"3,4", u"%d,%d", &first, &second), 2);
  EXPECT_EQ(first, 3);
  EXPECT_EQ(second, 4);
}
