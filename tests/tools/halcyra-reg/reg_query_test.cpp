// reg query as a person runs it: the command, its exit code and what it prints.
#include <gtest/gtest.h>

#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "tests/tools/halcyra-reg/reg_tool_fixture.h"

using namespace Platform;

namespace {

using Testing::RegToolTest;

void SetString(HKEY key, const std::u16string& name, const std::u16string& text) {
  ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                                          static_cast<DWORD>((text.size() + 1) * sizeof(char16_t))));
}

class RegQueryTest : public RegToolTest {};

TEST_F(RegQueryTest, FindsAValueWhoseNameIsTypedInAnotherCaseOutsideAscii) {
  SetString(Root(), u"caf\u00e9", u"1");
  auto result = Run({"query", Key(), "/v", "CAF\xC3\x89"});
  EXPECT_EQ(0, result.exitCode) << result.error;
  EXPECT_EQ("\n" + FullKey() + "\n    CAF\xC3\x89    REG_SZ    1\n\n", result.output);
  EXPECT_EQ("", result.error);
}

TEST_F(RegQueryTest, SearchFindsAValueWhoseNameIsTypedInAnotherCaseOutsideAscii) {
  UniqueKey sub;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(Root(), u"Sub", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, sub.Put(), nullptr));
  SetString(sub.Get(), u"\u00e9t\u00e9", u"summer");
  auto result = Run({"query", Key(), "/v", "\xC3\x89T\xC3\x89", "/s"});
  EXPECT_EQ(0, result.exitCode) << result.error;
  EXPECT_EQ(
      "\n" + FullKey() + "\\Sub\n    \xC3\x89T\xC3\x89    REG_SZ    summer\n\nEnd of search: 1 match(es) found.\n",
      result.output);
}

TEST_F(RegQueryTest, ShowsTheValueNameAsTypedWhileAListingShowsItAsStored) {
  SetString(Root(), u"Name", u"text");
  auto one = Run({"query", Key(), "/v", "NAME"});
  EXPECT_EQ(0, one.exitCode) << one.error;
  EXPECT_EQ("\n" + FullKey() + "\n    NAME    REG_SZ    text\n\n", one.output);
  auto all = Run({"query", Key()});
  EXPECT_EQ(0, all.exitCode) << all.error;
  EXPECT_EQ("\n" + FullKey() + "\n    Name    REG_SZ    text\n\n", all.output);
}

TEST_F(RegQueryTest, SearchWithoutAMatchSucceedsWithACountOfZero) {
  SetString(Root(), u"Present", u"1");
  auto result = Run({"query", Key(), "/v", "nosuch", "/s"});
  EXPECT_EQ(0, result.exitCode) << result.error;
  EXPECT_EQ("\nEnd of search: 0 match(es) found.\n", result.output);
  EXPECT_EQ("", result.error);
}

TEST_F(RegQueryTest, OneMissingValueWithoutSearchStillFails) {
  auto result = Run({"query", Key(), "/v", "nosuch"});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("", result.output);
  EXPECT_EQ("ERROR: The system was unable to find the specified registry key or value.\n", result.error);
}

TEST_F(RegQueryTest, ShowsABigEndianDoubleWordWrittenByAnotherProgramAsANumber) {
  const BYTE bytes[] = {0x78, 0x56, 0x34, 0x12};
  ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(Root(), u"Big", 0, REG_DWORD_BIG_ENDIAN, bytes, sizeof(bytes)));
  const BYTE shortBytes[] = {0x01, 0x02, 0x03};
  ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(Root(), u"Short", 0, REG_DWORD_BIG_ENDIAN, shortBytes, sizeof(shortBytes)));
  auto result = Run({"query", Key()});
  EXPECT_EQ(0, result.exitCode) << result.error;
  EXPECT_EQ("\n" + FullKey() + "\n    Big    REG_DWORD_BIG_ENDIAN    0x12345678\n" +
                "    Short    REG_DWORD_BIG_ENDIAN    010203\n\n",
            result.output);
}

TEST_F(RegQueryTest, RefusesARootFollowedByABackslash) {
  auto result = Run({"query", "HKCU\\"});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("ERROR: Invalid key name.\nType \"REG QUERY /?\" for usage.\n", result.error);
}

}  // namespace
