// reg add as a person runs it: the command, its exit code and what it prints, and what the registry
// holds afterwards.
#include <gtest/gtest.h>

#include "platform/registry.h"
#include "platform/utf.h"
#include "tests/support/registry_bytes.h"
#include "tests/tools/halcyra-reg/reg_tool_fixture.h"

using namespace Platform;

namespace {

using Bytes = std::vector<BYTE>;
using Testing::RegToolTest;

const char* const kDone = "The operation completed successfully.\n";
const char* const kInvalidSyntax = "ERROR: Invalid syntax.\nType \"REG ADD /?\" for usage.\n";

using Testing::StringBytes;

class RegAddTest : public RegToolTest {
protected:
  // Runs "add <test key> <arguments>" and expects it to succeed.
  void Add(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"add", Key()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto result = Run(command);
    EXPECT_EQ(0, result.exitCode) << result.error;
    EXPECT_EQ(kDone, result.output);
    EXPECT_EQ("", result.error);
  }

  // Runs "add <test key> <arguments>" and expects reg.exe's refusal, with nothing stored.
  void Refused(const std::vector<std::string>& arguments, const std::u16string& name) {
    std::vector<std::string> command = {"add", Key()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto result = Run(command);
    EXPECT_EQ(1, result.exitCode);
    EXPECT_EQ("", result.output);
    EXPECT_EQ(kInvalidSyntax, result.error);
    DWORD type = 0;
    Bytes data;
    EXPECT_FALSE(ReadValue(name, type, data));
  }

  void ExpectValue(const std::u16string& name, DWORD expectedType, const Bytes& expected) {
    DWORD type = 0;
    Bytes data;
    ASSERT_TRUE(ReadValue(name, type, data));
    EXPECT_EQ(expectedType, type);
    EXPECT_EQ(expected, data);
  }
};

TEST_F(RegAddTest, SetsAValueOnARootKey) {
  const std::string name = UniqueName();
  const std::u16string wideName = Utf8ToUtf16(name);
  struct RemoveAtEnd {
    std::u16string name;
    ~RemoveAtEnd() { RegDeleteValueW(HKEY_CURRENT_USER, name.c_str()); }
  } removeAtEnd{wideName};
  auto result = Run({"add", "HKCU", "/v", name, "/d", "1", "/f"});
  EXPECT_EQ(0, result.exitCode) << result.error;
  EXPECT_EQ(kDone, result.output);
  char16_t text[8] = {};
  DWORD size = sizeof(text);
  EXPECT_EQ(ERROR_SUCCESS,
            RegGetValueW(HKEY_CURRENT_USER, nullptr, wideName.c_str(), RRF_RT_REG_SZ, nullptr, text, &size));
  EXPECT_EQ(u"1", std::u16string(text));
}

TEST_F(RegAddTest, RefusesARootFollowedByABackslash) {
  auto result = Run({"add", "HKCU\\", "/v", UniqueName(), "/d", "1", "/f"});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("ERROR: Invalid key name.\nType \"REG ADD /?\" for usage.\n", result.error);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND,
            RegQueryValueExW(HKEY_CURRENT_USER, Utf8ToUtf16(UniqueName()).c_str(), nullptr, nullptr, nullptr, nullptr));
}

TEST_F(RegAddTest, PutsAZeroBeforeAnOddNumberOfBinaryDigits) {
  Add({"/v", "Odd", "/t", "REG_BINARY", "/d", "123", "/f"});
  ExpectValue(u"Odd", REG_BINARY, {0x01, 0x23});
  Add({"/v", "Longer", "/t", "REG_BINARY", "/d", "DeAdBeEf0DD", "/f"});
  ExpectValue(u"Longer", REG_BINARY, {0x0D, 0xEA, 0xDB, 0xEE, 0xF0, 0xDD});
  Refused({"/v", "Prefixed", "/t", "REG_BINARY", "/d", "0xDeAdBeEf", "/f"}, u"Prefixed");
}

TEST_F(RegAddTest, RefusesADoubleWordWithoutData) {
  Refused({"/v", "NoData", "/t", "REG_DWORD", "/f"}, u"NoData");
  Refused({"/v", "NoData", "/t", "REG_DWORD_BIG_ENDIAN", "/f"}, u"NoData");
  Add({"/v", "Empty", "/t", "REG_DWORD", "/d", "", "/f"});
  ExpectValue(u"Empty", REG_DWORD, {0, 0, 0, 0});
}

TEST_F(RegAddTest, StoresZeroForAQuadWordWithoutData) {
  Add({"/v", "NoData", "/t", "REG_QWORD", "/f"});
  ExpectValue(u"NoData", REG_QWORD, Bytes(8, 0));
  Add({"/v", "Negative", "/t", "REG_QWORD", "/d", "-1", "/f"});
  ExpectValue(u"Negative", REG_QWORD, Bytes(8, 0xFF));
  Refused({"/v", "NegativeHex", "/t", "REG_QWORD", "/d", "-0x1", "/f"}, u"NegativeHex");
  Refused({"/v", "NegativeDword", "/t", "REG_DWORD", "/d", "-1", "/f"}, u"NegativeDword");
}

TEST_F(RegAddTest, TakesOneSeparatorAtTheEndOfAMultiString) {
  Add({"/v", "Trailing", "/t", "REG_MULTI_SZ", "/d", "a\\0", "/f"});
  ExpectValue(u"Trailing", REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0});
  Add({"/v", "Own", "/t", "REG_MULTI_SZ", "/s", "#", "/d", "a#b#", "/f"});
  ExpectValue(u"Own", REG_MULTI_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0});
  Add({"/v", "OnlySeparator", "/t", "REG_MULTI_SZ", "/s", "#", "/d", "#", "/f"});
  ExpectValue(u"OnlySeparator", REG_MULTI_SZ, {0, 0, 0, 0});
  Refused({"/v", "Two", "/t", "REG_MULTI_SZ", "/s", "#", "/d", "a##", "/f"}, u"Two");
  Refused({"/v", "Leading", "/t", "REG_MULTI_SZ", "/s", "#", "/d", "#a", "/f"}, u"Leading");
}

TEST_F(RegAddTest, TakesASeparatorWithAStringAndLeavesTheTextWhole) {
  Add({"/v", "Plain", "/s", ",", "/d", "a,b", "/f"});
  ExpectValue(u"Plain", REG_SZ, StringBytes(u"a,b"));
  Refused({"/v", "Long", "/s", "ab", "/d", "a,b", "/f"}, u"Long");
}

TEST_F(RegAddTest, StoresTheDataOfANoneValueAsText) {
  Add({"/v", "None", "/t", "REG_NONE", "/d", "0102", "/f"});
  ExpectValue(u"None", REG_NONE, StringBytes(u"0102"));
  auto result = Run({"query", Key(), "/v", "None"});
  EXPECT_EQ(0, result.exitCode) << result.error;
  EXPECT_EQ("\n" + FullKey() + "\n    None    REG_NONE    30003100300032000000\n\n", result.output);
}

TEST_F(RegAddTest, StoresABigEndianDoubleWordInTheMachinesOrder) {
  Add({"/v", "Big", "/t", "REG_DWORD_BIG_ENDIAN", "/d", "0x12345678", "/f"});
  ExpectValue(u"Big", REG_DWORD_BIG_ENDIAN, {0x78, 0x56, 0x34, 0x12});
  Add({"/v", "Little", "/t", "REG_DWORD_LITTLE_ENDIAN", "/d", "5", "/f"});
  ExpectValue(u"Little", REG_DWORD, {5, 0, 0, 0});
}

TEST_F(RegAddTest, SetsTheDefaultValueWhenNoValueIsNamed) {
  Add({"/f"});
  ExpectValue(u"", REG_SZ, StringBytes(u""));
  Add({"/t", "REG_DWORD", "/d", "5", "/f"});
  ExpectValue(u"", REG_DWORD, {5, 0, 0, 0});
}

}  // namespace
