#include "foundation/guid.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/utf.h"
#include "tests/support/debug_channel_capture.h"

namespace {

constexpr Common::GUID kExpected = Common::GuidLiteral("2D892502-1F2C-4141-B46B-2A6BD660E61D");

std::string Print(const Common::GUID& guid) {
  char16_t text[Common::GUID::kTextCapacity];
  return Platform::Utf16ToUtf8(guid.ToString(text));
}

// The texts that parse to kExpected, each named for the form it shows.
struct AcceptedText {
  const char* form;
  const char16_t* text;
};

const AcceptedText kAcceptedTexts[] = {
    {"BothBraces", u"{2d892502-1f2c-4141-b46b-2a6bd660e61d}"},
    {"NoBraces", u"2d892502-1f2c-4141-b46b-2a6bd660e61d"},
    {"OpeningBraceAlone", u"{2d892502-1f2c-4141-b46b-2a6bd660e61d"},
    {"Capitals", u"{2D892502-1F2C-4141-B46B-2A6BD660E61D}"},
    {"TextAfterTheLastGroup", u"2d892502-1f2c-4141-b46b-2a6bd660e61dXYZ"},
};

class GuidParseTest : public ::testing::TestWithParam<AcceptedText> {};

TEST_P(GuidParseTest, ParsesToTheSameGuid) {
  Common::GUID parsed;
  EXPECT_EQ(Common::GUID::StringToGuid(GetParam().text, parsed), ErrorNone);
  EXPECT_EQ(parsed, kExpected);
}

INSTANTIATE_TEST_SUITE_P(Forms, GuidParseTest, ::testing::ValuesIn(kAcceptedTexts),
                         [](const ::testing::TestParamInfo<AcceptedText>& info) {
                           return std::string(info.param.form);
                         });

TEST(GuidTest, PrintsBracedCapitalsWhateverTheInputCase) {
  Common::GUID parsed(u"2d892502-1f2c-4141-b46b-2a6bd660e61d");
  EXPECT_EQ(Print(parsed), "{2D892502-1F2C-4141-B46B-2A6BD660E61D}");
}

TEST(GuidTest, TenGroupsFailWithBadFormatAndLeaveTheResultAlone) {
  Testing::DebugChannelCapture capture;
  Common::GUID result = kExpected;
  EXPECT_EQ(Common::GUID::StringToGuid(u"2d892502-1f2c-4141-b46b-2a6bd660e6", result), ErrorInvalidParameter);
  EXPECT_EQ(result, kExpected);
  EXPECT_EQ(capture.Writes().at(0), "Error 11 in function Common::GUID::StringToGuid: Guid string bad format\n");
}

TEST(GuidTest, ConstructorFromBadTextReportsAndStaysZero) {
  Testing::DebugChannelCapture capture;
  Common::GUID parsed(u"not a guid");
  EXPECT_TRUE(parsed.IsNull());
  EXPECT_FALSE(capture.Writes().empty());
}

TEST(GuidTest, CapacityOf38FailsAnd39Succeeds) {
  Testing::DebugChannelCapture capture;
  char16_t buffer[40];
  std::fill(std::begin(buffer), std::end(buffer), u'#');
  EXPECT_EQ(kExpected.ToString(buffer, 38), ErrorInvalidParameter);
  EXPECT_EQ(buffer[0], u'#');
  EXPECT_EQ(capture.Writes().at(0), "Error 11 in function Common::GUID::ToString: Destination string is too small\n");
  EXPECT_EQ(kExpected.ToString(buffer, 39), ErrorNone);
  EXPECT_EQ(Platform::StringLength(buffer), 38u);
  EXPECT_EQ(buffer[38], 0);
}

TEST(GuidTest, Data4PrintsInStorageOrderAndTheRestAsNumbers) {
  Common::GUID guid(0x01020304, 0x0506, 0x0708, 0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80);
  EXPECT_EQ(Print(guid), "{01020304-0506-0708-1020-304050607080}");
}

TEST(GuidTest, OrderComparesTheFirstLittleEndianWordFirst) {
  Common::GuidLess less;
  // Data1 holds the low bytes of the first word: its top byte outweighs Data2.
  Common::GUID small(0x00000001, 0xFFFF, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  Common::GUID large(0x01000000, 0x0000, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  EXPECT_TRUE(less(large, small));  // Data2 sits in the word's higher bytes than Data1
  EXPECT_FALSE(less(small, small));
}

}  // namespace
