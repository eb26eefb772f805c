// Tests of the bounded formatter: where the C library's snprintf means the same by a format, both
// must print the same text, through the wide and the narrow entry; the Windows conventions (string
// widths, LLP64 lengths, %p, zero-padded strings) and the cut-off are checked against fixed texts.
#include "foundation/format.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <ostream>
#include <string>

#include "platform/utf.h"

namespace {

constexpr std::size_t kBufferSize = 2048;

// Prints one format with one set of arguments through snprintf, FormatBounded and FormatBoundedA
// and expects the same text and the same count from all three.
template <typename... Arguments>
void ExpectSameAsCLibrary(const char* format, Arguments... arguments) {
  SCOPED_TRACE(format);
  char expected[kBufferSize];
  const int expectedLength = std::snprintf(expected, sizeof expected, format, arguments...);
  ASSERT_GE(expectedLength, 0);
  ASSERT_LT(static_cast<std::size_t>(expectedLength), sizeof expected);

  char16_t wide[kBufferSize];
  const std::u16string wideFormat = Platform::Utf8ToUtf16(format);
  EXPECT_EQ(FormatBounded(wide, kBufferSize, wideFormat.c_str(), arguments...), expectedLength);
  EXPECT_EQ(Platform::Utf16ToUtf8(wide), expected);

  char narrow[kBufferSize];
  EXPECT_EQ(FormatBoundedA(narrow, kBufferSize, format, arguments...), expectedLength);
  EXPECT_STREQ(narrow, expected);
}

// One row of a table of formats that the C library prints the same way: a format with one value.
template <typename Value>
struct FormatCase {
  const char* format;
  Value value;
};

// A failing row names its format.
template <typename Value>
void PrintTo(const FormatCase<Value>& row, std::ostream* out) {
  *out << '"' << row.format << '"';
}

int CallV(char16_t* destination, std::size_t capacity, const char16_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = FormatBoundedV(destination, capacity, format, arguments);
  va_end(arguments);
  return result;
}

// Integers of int size, with every flag, width, precision and length modifier that narrows them.
const FormatCase<int> kIntegerRows[] = {
    {"%d", 0},        {"%d", 1},       {"%d", -1},       {"%d", INT_MAX}, {"%d", INT_MIN}, {"%i", -42},
    {"%5d", 42},      {"%-5d|", 42},   {"%05d", -42},    {"%+d", 42},     {"% d", 42},     {"%+d", -42},
    {"% 05d", 42},    {"%-05d|", 42},  {"%.3d", 7},      {"%.0d", 0},     {"%+.0d", 0},    {"%8.3d", -7},
    {"%08.3d", 7},    {"%02d", 5},     {"%02d", 123},    {"%u", -1},      {"%u", 3000000}, {"%x", 0xbeef},
    {"%X", 0xBEEF},   {"%#x", 0xbeef}, {"%#X", 0xbeef},  {"%#x", 0},      {"%08X", 0xABC}, {"%08X", -1},
    {"%#010x", 0xab}, {"%o", 8},       {"%#o", 8},       {"%#o", 0},      {"%#.3o", 0},    {"%.0x", 0},
    {"%#.5o", 8},     {"[%-8X]", 255}, {"%hX", 0x12345}, {"%hd", 40000},  {"%hu", -1},     {"%hhX", 0x1FF},
    {"%hhd", 200},    {"%%%d%%", 5},   {"%x", INT_MIN},
};

// Integers of 64 bits.
const FormatCase<long long> kSixtyFourBitRows[] = {
    {"%lld", 0},        {"%lld", LLONG_MIN}, {"%lld", LLONG_MAX}, {"%llu", -1LL},  {"%llX", -1LL},
    {"%016llx", 0xABC}, {"%+lld", 7},        {"%20lld|", -5},     {"%-20llu|", 5}, {"%#llo", 01234567},
};

// Floating point with every conversion, the rounding of halves, the longest texts and the
// infinities and NaN.
const FormatCase<double> kFloatingPointRows[] = {
    {"%f", 0.0},
    {"%f", -0.0},
    {"%f", 1.5},
    {"%f", -1.5},
    {"%f", 3.14159265358979},
    {"%f", 1e300},
    {"%f", DBL_MAX},
    {"%f", 1e-300},
    {"%.0f", 0.5},
    {"%.0f", 1.5},
    {"%.0f", 2.5},
    {"%.2f", 2.675},
    {"%10.3f", 3.14159},
    {"%-10.3f|", 3.14159},
    {"%010.3f", -3.14159},
    {"%+f", 2.0},
    {"% f", 2.0},
    {"%#.0f", 3.0},
    {"%F", 1234.5},
    {"%lf", 0.1},
    {"%.17f", 0.1},
    {"%.100f", 1.0 / 3.0},
    {"%.1100f", 5e-324},
    {"%.1100f", DBL_MAX},
    {"%e", 0.0},
    {"%e", 123456.789},
    {"%E", 0.000123},
    {"%.0e", 5.5},
    {"%#.0e", 5.0},
    {"%.3e", 9.9996},
    {"%e", 1e-310},
    {"%e", DBL_MAX},
    {"%+12.4e|", -1.0},
    {"%012.4e", 1.0},
    {"%.900e", 1.0 / 3.0},
    {"%g", 0.0},
    {"%g", 0.0001},
    {"%g", 0.00001},
    {"%g", 123456.0},
    {"%g", 1234567.0},
    {"%g", 100.0},
    {"%g", 9.9999996},
    {"%g", 999999.5},
    {"%G", 1e-10},
    {"%.3g", 3.14159},
    {"%.0g", 25.0},
    {"%#.0g", 25.0},
    {"%#g", 1.0},
    {"%#g", 1e-10},
    {"%#g", 123456789.0},
    {"%.20g", 0.1},
    {"%.17g", 1.0 / 3.0},
    {"%#.900g", 0.5},
    {"%.900g", 0.5},
    {"%-12g|", -2.5},
    {"%012g", 2.5},
    {"%f", HUGE_VAL},
    {"%F", HUGE_VAL},
    {"%e", -HUGE_VAL},
    {"%+G", HUGE_VAL},
    {"%010f", HUGE_VAL},
    {"%-6f|", -HUGE_VAL},
    {"%f", std::numeric_limits<double>::quiet_NaN()},
    {"%5F", std::numeric_limits<double>::quiet_NaN()},
};

template <typename Value>
class FormatSameAsCLibraryTest : public ::testing::TestWithParam<FormatCase<Value>> {
protected:
  void ExpectSame() { ExpectSameAsCLibrary(this->GetParam().format, this->GetParam().value); }
};

using IntegerFormatTest = FormatSameAsCLibraryTest<int>;
using SixtyFourBitFormatTest = FormatSameAsCLibraryTest<long long>;
using FloatingPointFormatTest = FormatSameAsCLibraryTest<double>;

TEST_P(IntegerFormatTest, PrintsAsTheCLibraryPrintsIt) { ExpectSame(); }
TEST_P(SixtyFourBitFormatTest, PrintsAsTheCLibraryPrintsIt) { ExpectSame(); }
TEST_P(FloatingPointFormatTest, PrintsAsTheCLibraryPrintsIt) { ExpectSame(); }

INSTANTIATE_TEST_SUITE_P(FormatBounded, IntegerFormatTest, ::testing::ValuesIn(kIntegerRows));
INSTANTIATE_TEST_SUITE_P(FormatBounded, SixtyFourBitFormatTest, ::testing::ValuesIn(kSixtyFourBitRows));
INSTANTIATE_TEST_SUITE_P(FormatBounded, FloatingPointFormatTest, ::testing::ValuesIn(kFloatingPointRows));

}  // namespace

TEST(FormatBoundedTest, SizeAndPointerDifferenceLengthsPrintAsTheCLibraryPrintsThem) {
  ExpectSameAsCLibrary("%zu %zx %zd", SIZE_MAX, std::size_t{0xABCDEF}, static_cast<std::size_t>(12));
  ExpectSameAsCLibrary("%jd %td", static_cast<std::intmax_t>(-3), static_cast<std::ptrdiff_t>(-4));
}

// Some C libraries differ here (MinGW's prints nothing for the first and drops the sign of the
// second), so the texts are fixed.
TEST(FormatBoundedTest, AlternateOctalZeroWithPrecisionZeroPrintsOneZero) {
  char16_t wide[8];
  EXPECT_EQ(FormatBounded(wide, 8, u"%#.0o|%.0o", 0, 0), 2);
  EXPECT_EQ(std::u16string(wide), u"0|");
}

TEST(FormatBoundedTest, NegativeNanKeepsItsSign) {
  char narrow[16];
  EXPECT_EQ(FormatBoundedA(narrow, 16, "%f|%6E", -std::numeric_limits<double>::quiet_NaN(),
                           -std::numeric_limits<double>::quiet_NaN()),
            11);
  EXPECT_STREQ(narrow, "-nan|  -NAN");
}

TEST(FormatBoundedTest, LongDoubleArgumentPrintsWithTheDigitsOfADouble) {
  ExpectSameAsCLibrary("%Lf %d", 1.5L, 7);
  ExpectSameAsCLibrary("%.3Le|%Lg", -0.25L, 1e10L);

  char16_t wide[64];
  EXPECT_EQ(FormatBounded(wide, 64, u"%.20Lf", 0.1L), 22);
  EXPECT_EQ(std::u16string(wide), u"0.10000000000000000555");
}

TEST(FormatBoundedTest, StarTakesWidthAndPrecisionFromTheArguments) {
  ExpectSameAsCLibrary("%*d|", 5, 42);
  ExpectSameAsCLibrary("%-*d|", 5, 42);
  ExpectSameAsCLibrary("%*d|", -5, 42);
  ExpectSameAsCLibrary("%.*f", 2, 3.14159);
  ExpectSameAsCLibrary("%.*f", -1, 3.14159);
  ExpectSameAsCLibrary("%*.*e|", 12, 2, 31.5);

  char16_t wide[16];
  EXPECT_EQ(FormatBounded(wide, 16, u"%.*s|%*s|", 3, u"abcdef", 4, u"x"), 9);
  EXPECT_EQ(std::u16string(wide), u"abc|   x|");
}

TEST(FormatBoundedTest, NarrowStringsInANarrowFormatPrintAsTheCLibraryPrintsThem) {
  const FormatCase<const char*> cases[] = {
      {"%s", "text"},     {"[%10s]", "text"}, {"[%-10s]", "text"}, {"%.2s", "text"},
      {"[%6.2s]", "abc"}, {"%.0s|", "text"},  {"%s", ""},          {"[%3s]", "longer"},
  };
  for (const auto& testCase : cases) {
    SCOPED_TRACE(testCase.format);
    char expected[kBufferSize];
    const int expectedLength = std::snprintf(expected, sizeof expected, testCase.format, testCase.value);
    char narrow[kBufferSize];
    EXPECT_EQ(FormatBoundedA(narrow, kBufferSize, testCase.format, testCase.value), expectedLength);
    EXPECT_STREQ(narrow, expected);

    const std::u16string wideFormat = Platform::Utf8ToUtf16(testCase.format);
    const std::u16string wideValue = Platform::Utf8ToUtf16(testCase.value);
    char16_t wide[kBufferSize];
    EXPECT_EQ(FormatBounded(wide, kBufferSize, wideFormat.c_str(), wideValue.c_str()), expectedLength);
    EXPECT_EQ(Platform::Utf16ToUtf8(wide), expected);
  }
}

TEST(FormatBoundedTest, WideFormatTakesWideStringForLowerSAndNarrowForUpperS) {
  char16_t buffer[64];
  EXPECT_EQ(FormatBounded(buffer, 64, u"%s and %S", u"wide", "narrow"), 15);
  EXPECT_EQ(std::u16string(buffer), u"wide and narrow");
  EXPECT_EQ(FormatBounded(buffer, 64, u"%hs|%ls|%ws|%hS|%lS", "a", u"b", u"c", "d", u"e"), 9);
  EXPECT_EQ(std::u16string(buffer), u"a|b|c|d|e");
}

TEST(FormatBoundedTest, NarrowFormatTakesNarrowStringForLowerSAndWideForUpperS) {
  char buffer[64];
  EXPECT_EQ(FormatBoundedA(buffer, 64, "%s and %S", "narrow", u"wide"), 15);
  EXPECT_STREQ(buffer, "narrow and wide");
  EXPECT_EQ(FormatBoundedA(buffer, 64, "%hs|%ls|%ws|%hS|%lS", "a", u"b", u"c", "d", u"e"), 9);
  EXPECT_STREQ(buffer, "a|b|c|d|e");
}

TEST(FormatBoundedTest, StringsOfTheOtherWidthAreReencodedBetweenUtf8AndUtf16) {
  char16_t wide[64];
  EXPECT_EQ(FormatBounded(wide, 64, u"%S", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), 4);
  EXPECT_EQ(std::u16string(wide), u"\u00E9\u20AC\U0001F600");

  char narrow[64];
  EXPECT_EQ(FormatBoundedA(narrow, 64, "%S", u"\u00E9\u20AC\U0001F600"), 9);
  EXPECT_STREQ(narrow, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(FormatBoundedTest, MalformedUtf8AndLoneSurrogatesBecomeReplacementCharacters) {
  char16_t wide[64];
  EXPECT_EQ(FormatBounded(wide, 64, u"%S",
                          "a\xFF"
                          "b\xC0\xAF"
                          "c\xE2\x82"),
            8);
  EXPECT_EQ(std::u16string(wide), u"a\uFFFDb\uFFFD\uFFFDc\uFFFD\uFFFD");

  const char16_t loneSurrogates[] = {u'x', 0xD800, u'y', 0xDC00, 0};
  char narrow[64];
  EXPECT_EQ(FormatBoundedA(narrow, 64, "%S", loneSurrogates), 8);
  EXPECT_STREQ(narrow, "x\xEF\xBF\xBDy\xEF\xBF\xBD");
}

TEST(FormatBoundedTest, PrecisionOfAReencodedStringNeverSplitsACharacter) {
  char16_t wide[64];
  EXPECT_EQ(FormatBounded(wide, 64, u"[%.2S]", "\xF0\x9F\x98\x80z"), 4);
  EXPECT_EQ(std::u16string(wide), u"[\U0001F600]");
  EXPECT_EQ(FormatBounded(wide, 64, u"[%.1S]", "\xF0\x9F\x98\x80z"), 2);
  EXPECT_EQ(std::u16string(wide), u"[]");

  char narrow[64];
  EXPECT_EQ(FormatBoundedA(narrow, 64, "[%.4S]", u"\u00E9\u20AC"), 4);
  EXPECT_STREQ(narrow, "[\xC3\xA9]");
  EXPECT_EQ(FormatBoundedA(narrow, 64, "[%4S]", u"\u00E9"), 6);
  EXPECT_STREQ(narrow, "[  \xC3\xA9]");
}

TEST(FormatBoundedTest, CharacterConversionsFollowTheWidthConventions) {
  char16_t wide[16];
  EXPECT_EQ(FormatBounded(wide, 16, u"%c%C%c|%3c|%-3c|", u'\u03A9', 'A', u'b', u'x', u'y'), 12);
  EXPECT_EQ(std::u16string(wide), u"\u03A9Ab|  x|y  |");

  char narrow[16];
  EXPECT_EQ(FormatBoundedA(narrow, 16, "%c%C%lc", 'A', u'\u03A9', u'\u20AC'), 6);
  EXPECT_STREQ(narrow, "A\xCE\xA9\xE2\x82\xAC");
}

TEST(FormatBoundedTest, NullStringPrintsNullInParentheses) {
  char16_t wide[32];
  EXPECT_EQ(FormatBounded(wide, 32, u"%s|%S", static_cast<const char16_t*>(nullptr), static_cast<const char*>(nullptr)),
            13);
  EXPECT_EQ(std::u16string(wide), u"(null)|(null)");
  EXPECT_EQ(FormatBounded(wide, 32, u"[%.3s][%8s]", static_cast<const char16_t*>(nullptr),
                          static_cast<const char16_t*>(nullptr)),
            15);
  EXPECT_EQ(std::u16string(wide), u"[(nu][  (null)]");

  char narrow[32];
  EXPECT_EQ(
      FormatBoundedA(narrow, 32, "%s|%S", static_cast<const char*>(nullptr), static_cast<const char16_t*>(nullptr)),
      13);
  EXPECT_STREQ(narrow, "(null)|(null)");
}

TEST(FormatBoundedTest, PointerPrintsSixteenUpperCaseHexDigitsWithoutPrefix) {
  char16_t wide[64];
  EXPECT_EQ(FormatBounded(wide, 64, u"%p", reinterpret_cast<void*>(std::uintptr_t{0x1234abcd})), 16);
  EXPECT_EQ(std::u16string(wide), u"000000001234ABCD");
  EXPECT_EQ(FormatBounded(wide, 64, u"%p", nullptr), 16);
  EXPECT_EQ(std::u16string(wide), u"0000000000000000");
  EXPECT_EQ(FormatBounded(wide, 64, u"[%20p][%-18p]", reinterpret_cast<void*>(std::uintptr_t{0xAB}),
                          reinterpret_cast<void*>(std::uintptr_t{0xCD})),
            42);
  EXPECT_EQ(std::u16string(wide), u"[    00000000000000AB][00000000000000CD  ]");

  char narrow[64];
  EXPECT_EQ(FormatBoundedA(narrow, 64, "%p", reinterpret_cast<void*>(~std::uintptr_t{0})), 16);
  EXPECT_STREQ(narrow, "FFFFFFFFFFFFFFFF");
}

TEST(FormatBoundedTest, LongModifierTakesThirtyTwoBitArgumentsAsOnWindows) {
  char16_t wide[128];
  EXPECT_EQ(FormatBounded(wide, 128, u"%ld %lu %lX %lx %ld", std::int32_t{-5}, std::uint32_t{4000000000u},
                          std::uint32_t{0xDEADBEEF}, std::uint32_t{0xFFFFFFFF}, INT32_MIN),
            43);
  EXPECT_EQ(std::u16string(wide), u"-5 4000000000 DEADBEEF ffffffff -2147483648");

  char narrow[128];
  EXPECT_EQ(FormatBoundedA(narrow, 128, "%ld|%I32d|%I64d|%I64X|%Iu", std::int32_t{-7}, std::int32_t{-8}, INT64_MIN,
                           UINT64_MAX, SIZE_MAX),
            64);
  EXPECT_STREQ(narrow, "-7|-8|-9223372036854775808|FFFFFFFFFFFFFFFF|18446744073709551615");
}

TEST(FormatBoundedTest, GuidFormatPrintsBracedCapitals) {
  const std::uint32_t data1 = 0x2D892502;
  const std::uint16_t data2 = 0x1F2C;
  const std::uint16_t data3 = 0x4141;
  const std::uint8_t data4[8] = {0xB4, 0x6B, 0x2A, 0x6B, 0xD6, 0x60, 0xE6, 0x1D};
  char16_t wide[39];
  EXPECT_EQ(FormatBounded(wide, 39, u"{%08lX-%04hX-%04hX-%02hX%02hX-%02hX%02hX%02hX%02hX%02hX%02hX}", data1, data2,
                          data3, data4[0], data4[1], data4[2], data4[3], data4[4], data4[5], data4[6], data4[7]),
            38);
  EXPECT_EQ(std::u16string(wide), u"{2D892502-1F2C-4141-B46B-2A6BD660E61D}");
  EXPECT_EQ(FormatBounded(wide, 39, u"{%08lX}", std::uint32_t{0x1}), 10);
  EXPECT_EQ(std::u16string(wide), u"{00000001}");
}

TEST(FormatBoundedTest, StringsAndCharactersAreZeroPaddedAsOnWindows) {
  char16_t wide[32];
  EXPECT_EQ(FormatBounded(wide, 32, u"%05s|%03c|%-05s|", u"ab", u'x', u"ab"), 16);
  EXPECT_EQ(std::u16string(wide), u"000ab|00x|ab   |");
}

TEST(FormatBoundedTest, ExactFitReturnsTheLength) {
  char16_t wide[8] = {u'#', u'#', u'#', u'#', u'#', u'#', u'#', u'#'};
  EXPECT_EQ(FormatBounded(wide, 6, u"%s", u"hello"), 5);
  EXPECT_EQ(std::u16string(wide), u"hello");
  EXPECT_EQ(wide[6], u'#');

  char narrow[8] = "#######";
  EXPECT_EQ(FormatBoundedA(narrow, 6, "%d", 12345), 5);
  EXPECT_STREQ(narrow, "12345");
  EXPECT_EQ(narrow[6], '#');
}

TEST(FormatBoundedTest, OneCharacterTooManyReturnsMinusOneWithTheTextCutAndTerminated) {
  char16_t wide[8] = {u'#', u'#', u'#', u'#', u'#', u'#', u'#', u'#'};
  EXPECT_EQ(FormatBounded(wide, 5, u"%s", u"hello"), -1);
  EXPECT_EQ(std::u16string(wide), u"hell");
  EXPECT_EQ(wide[5], u'#');

  char narrow[8] = "#######";
  EXPECT_EQ(FormatBoundedA(narrow, 5, "%d", 12345), -1);
  EXPECT_STREQ(narrow, "1234");
  EXPECT_EQ(narrow[5], '#');

  EXPECT_EQ(FormatBoundedA(narrow, 5, "ab%5.1fxyz", 3.0), -1);
  EXPECT_STREQ(narrow, "ab  ");
}

TEST(FormatBoundedTest, CapacityOfOneWritesOnlyTheTerminator) {
  char16_t wide[2] = {u'#', u'#'};
  EXPECT_EQ(FormatBounded(wide, 1, u"x"), -1);
  EXPECT_EQ(wide[0], 0);
  EXPECT_EQ(wide[1], u'#');
  EXPECT_EQ(FormatBounded(wide, 1, u""), 0);
}

TEST(FormatBoundedTest, CapacityZeroWritesNothingAndReturnsMinusOne) {
  char16_t wide[1] = {u'#'};
  EXPECT_EQ(FormatBounded(wide, 0, u"x"), -1);
  EXPECT_EQ(wide[0], u'#');
  char narrow[1] = {'#'};
  EXPECT_EQ(FormatBoundedA(narrow, 0, ""), -1);
  EXPECT_EQ(narrow[0], '#');
}

TEST(FormatBoundedTest, NullDestinationOrFormatReturnsMinusOne) {
  EXPECT_EQ(FormatBounded(nullptr, 16, u"x"), -1);
  char16_t wide[4] = {u'#', u'#', u'#', u'#'};
  EXPECT_EQ(FormatBounded(wide, 4, nullptr), -1);
  EXPECT_EQ(wide[0], 0);
  char narrow[4] = "###";
  EXPECT_EQ(FormatBoundedA(narrow, 4, nullptr), -1);
  EXPECT_EQ(narrow[0], 0);
}

TEST(FormatBoundedTest, HugeWidthOrPrecisionIsCutOffAtTheCapacity) {
  char16_t wide[16];
  EXPECT_EQ(FormatBounded(wide, 16, u"%2147483647d", 1), -1);
  EXPECT_EQ(std::u16string(wide), std::u16string(15, u' '));
  EXPECT_EQ(FormatBounded(wide, 16, u"%.2147483647f", 1.0), -1);
  EXPECT_EQ(std::u16string(wide), u"1.0000000000000");
  EXPECT_EQ(FormatBounded(wide, 16, u"%99999999999999999999d", 1), -1);
  EXPECT_EQ(FormatBounded(wide, 16, u"%*d", INT_MIN, 1), -1);
}

TEST(FormatBoundedTest, MalformedFormatReturnsMinusOneAndKeepsTheTextBeforeIt) {
  const char16_t* formats[] = {u"ab%y",   u"ab%",   u"ab%Ld", u"ab%hf",  u"ab%wd", u"ab%n",
                               u"ab%1$d", u"ab%lp", u"ab%Ls", u"ab%hhs", u"ab%a"};
  for (const char16_t* format : formats) {
    SCOPED_TRACE(Platform::Utf16ToUtf8(format));
    char16_t wide[16] = {u'#'};
    int target = 0;
    EXPECT_EQ(FormatBounded(wide, 16, format, 1, &target), -1);
    EXPECT_EQ(std::u16string(wide), u"ab");
    EXPECT_EQ(target, 0);
  }
  char narrow[16];
  EXPECT_EQ(FormatBoundedA(narrow, 16, "ab%k%d", 1), -1);
  EXPECT_STREQ(narrow, "ab");
}

TEST(FormatBoundedTest, VariantTakesAnArgumentList) {
  char16_t wide[32];
  EXPECT_EQ(CallV(wide, 32, u"%s=%d", u"count", 3), 7);
  EXPECT_EQ(std::u16string(wide), u"count=3");
}
