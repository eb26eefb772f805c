// .reg files: the text reg export writes, and the statements reg import reads, line by line.
#include "tools/halcyra-reg/reg_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/utf.h"
#include "tests/support/registry_bytes.h"

namespace {

using namespace RegTool;
using namespace std::string_literals;
using Platform::BYTE;
using Bytes = std::vector<BYTE>;
using Kind = RegStatement::Kind;

const std::string kHeader = "Windows Registry Editor Version 5.00\n\n";
const std::string kKey = "[HKEY_CURRENT_USER\\Software\\Test]\n";

using Testing::Utf16Bytes;

// The values a file sets, by name, in order.
std::vector<Value> SetValues(const RegFile& file) {
  std::vector<Value> values;
  for (const RegStatement& statement : file.statements) {
    if (statement.kind == Kind::SetValue) values.push_back(statement.value);
  }
  return values;
}

std::vector<std::u16string> SetNames(const RegFile& file) {
  std::vector<std::u16string> names;
  for (const Value& value : SetValues(file)) names.push_back(value.name);
  return names;
}

TEST(RegFileTest, ReadsTheFirstLineAsRegExeDoes) {
  EXPECT_EQ(RegFileFormat::Version5, ParseRegFile("Windows Registry Editor Version 5.00").format);
  EXPECT_EQ(RegFileFormat::Version4, ParseRegFile("REGEDIT4\r\n").format);
  EXPECT_EQ(RegFileFormat::Version4, ParseRegFile(" \tREGEDIT4\n").format);
  EXPECT_EQ(RegFileFormat::Version5, ParseRegFile("\xEF\xBB\xBFWindows Registry Editor Version 5.00\n").format);
  EXPECT_EQ(RegFileFormat::Unsupported, ParseRegFile("REGEDIT\n").format);
  EXPECT_EQ(RegFileFormat::Unsupported, ParseRegFile("REGEDIT4 FOO\n" + kKey + "\"a\"=\"b\"\n").format);
  EXPECT_TRUE(ParseRegFile("REGEDIT5\n" + kKey + "\"a\"=\"b\"\n").statements.empty());
  EXPECT_EQ(RegFileFormat::Invalid, ParseRegFile("regedit4\n").format);
  EXPECT_EQ(RegFileFormat::Invalid, ParseRegFile("\nREGEDIT4\n").format);
  EXPECT_EQ(RegFileFormat::Invalid, ParseRegFile("Windows Registry Editor Version 4.00\n").format);
  EXPECT_EQ(RegFileFormat::Invalid, ParseRegFile("").format);
}

TEST(RegFileTest, DecodesUtf16WithAByteOrderMark) {
  std::u16string text =
      u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\x]\r\n\"caf\u00e9\"=\"1\"\r\n";
  std::string bytes;
  for (char16_t c : text) {
    bytes += static_cast<char>(c & 0xFF);
    bytes += static_cast<char>(c >> 8);
  }
  RegFile file = ParseRegFile(bytes);
  EXPECT_EQ(RegFileFormat::Version5, file.format);
  EXPECT_EQ(std::vector<std::u16string>{u"caf\u00e9"}, SetNames(file));
}

TEST(RegFileTest, ReadsEachKindOfStatement) {
  RegFile file = ParseRegFile(kHeader + kKey +
                              "@=\"default\"\n"
                              "\"Number\"=dword:0000002a\n"
                              "\"Gone\"=-\n"
                              "\"Bytes\"=hex:01,02\n"
                              "\"Typed\"=hex(7):61,00,00,00,00,00\n"
                              "[-HKEY_CURRENT_USER\\Software\\Test\\Old]\n");
  ASSERT_EQ(7u, file.statements.size());
  EXPECT_EQ(Kind::CreateKey, file.statements[0].kind);
  EXPECT_EQ("HKEY_CURRENT_USER\\Software\\Test", file.statements[0].key.Full());
  EXPECT_EQ(3u, file.statements[0].line);
  EXPECT_EQ(u"", file.statements[1].value.name);
  EXPECT_EQ(Utf16Bytes(u"default\0"s), file.statements[1].value.data);
  EXPECT_EQ((Bytes{0x2A, 0, 0, 0}), file.statements[2].value.data);
  EXPECT_EQ(Kind::DeleteValue, file.statements[3].kind);
  EXPECT_EQ(u"Gone", file.statements[3].value.name);
  EXPECT_EQ(Platform::REG_BINARY, file.statements[4].value.type);
  EXPECT_EQ(Platform::REG_MULTI_SZ, file.statements[5].value.type);
  EXPECT_EQ(Kind::DeleteKey, file.statements[6].kind);
  EXPECT_TRUE(file.skippedLines.empty());
}

TEST(RegFileTest, PassesOverMalformedLinesAndReadsOn) {
  RegFile file = ParseRegFile(kHeader + kKey +
                              "\"Before\"=\"1\"\n"                // 4
                              "\"NoEndQuote\"=\"text\n"           // 5
                              "\"NoBeginQuote\"=text\"\n"         // 6
                              "NameNoQuotes=\"text\"\n"           // 7
                              "\"Short\"=dword:1\n"               // 8
                              "\"NineDigits\"=dword:012345678\n"  // 9
                              "\"Prefixed\"=dword:0x12\n"         // 10
                              "\"Spaced\"=dword:1234 5678\n"      // 11
                              "\"Empty\"=dword:\n"                // 12
                              "\"Quotes\"=\"foo\"bar\"\n"         // 13
                              "\"NoData\"=\n"                     // 14
                              "\"After\"=\"2\"\n");               // 15
  EXPECT_EQ((std::vector<std::u16string>{u"Before", u"Short", u"After"}), SetNames(file));
  EXPECT_EQ((std::vector<std::size_t>{5, 6, 7, 9, 10, 11, 12, 13, 14}), file.skippedLines);
}

TEST(RegFileTest, TakesCommentsAfterDataOnlyWithASemicolon) {
  RegFile file = ParseRegFile(kHeader + kKey +
                              "#\"Hashed\"=\"1\"\n"
                              "   ;\"Commented\"=\"2\"\n"
                              "\"Semicolon\"=\"3\" ;comment\n"
                              "\"Hash\"=\"4\"#comment\n"
                              "\"DwordSemicolon\"=dword:1234;5678\n"
                              "\"DwordHash\"=dword:1234 #5678\n"
                              "\"InText\"=\"a;b#c\"\n");
  EXPECT_EQ((std::vector<std::u16string>{u"Semicolon", u"DwordSemicolon", u"InText"}), SetNames(file));
  std::vector<Value> values = SetValues(file);
  EXPECT_EQ((Bytes{0x34, 0x12, 0, 0}), values[1].data);
  EXPECT_EQ(Utf16Bytes(u"a;b#c\0"s), values[2].data);
}

TEST(RegFileTest, ReadsEscapesInNamesAndStrings) {
  RegFile file =
      ParseRegFile(kHeader + kKey + "\"double\\\"quote\"=\"valid \\\"or\\\" not\"\n\"back\\\\slash\"=\"x\"\n");
  std::vector<Value> values = SetValues(file);
  ASSERT_EQ(2u, values.size());
  EXPECT_EQ(u"double\"quote", values[0].name);
  EXPECT_EQ(Utf16Bytes(u"valid \"or\" not\0"s), values[0].data);
  EXPECT_EQ(u"back\\slash", values[1].name);
}

TEST(RegFileTest, ContinuesHexadecimalDataAfterACommaAndABackslash) {
  RegFile file = ParseRegFile(kHeader + kKey +
                              "\"Continued\"=hex:11,22,\\\n  33,44\n"
                              "\"WithComments\"=hex:11,\\;comment\n\n  ;a comment line\n  22,\\\n  33\n"
                              "\"TrailingComma\"=hex:11,22,\n"
                              "  33,44\n"
                              "\"NoComma\"=hex:11,22\\\n"
                              "\"Next\"=\"kept\"\n"
                              "\"HashLine\"=hex:11,\\\n  #comment\n  22\n"
                              "\"Swallowed\"=hex:11,\\\n"
                              "\"Lost\"=\"1\"\n");
  std::vector<Value> values = SetValues(file);
  ASSERT_EQ(4u, values.size());
  EXPECT_EQ(u"Continued", values[0].name);
  EXPECT_EQ((Bytes{0x11, 0x22, 0x33, 0x44}), values[0].data);
  EXPECT_EQ((Bytes{0x11, 0x22, 0x33}), values[1].data);
  EXPECT_EQ(u"TrailingComma", values[2].name);
  EXPECT_EQ((Bytes{0x11, 0x22}), values[2].data);
  EXPECT_EQ(u"Next", values[3].name);
  // "  33,44" after the trailing comma, "NoComma", "HashLine" with its comment line, the "  22"
  // after it, and "Swallowed" with the line it took in.
  EXPECT_EQ((std::vector<std::size_t>{12, 13, 15, 17, 18}), file.skippedLines);
}

TEST(RegFileTest, ReadsKeyLinesAsRegExeDoes) {
  RegFile file = ParseRegFile(kHeader +
                              "[HKEY_CURRENT_USER\\Software\\Trailing\\\\]\n"
                              "\"a\"=\"1\"\n"
                              "[hkey_current_user\\Software\\Blank ]\n"
                              "[ HKEY_CURRENT_USER\\Software\\Indented]\n"
                              "\"b\"=\"2\"\n"
                              "[HKEY_CURRENT_USERS\\Software]\n"
                              "\"c\"=\"3\"\n"
                              "[HKEY_CURRENT_USER\\Software\\NoClose\n"
                              "[-HKEY_CURRENT_USER]\n"
                              "[HKEY_CURRENT_USER]\n"
                              "\"d\"=\"4\"\n"
                              "[-HKEY_CURRENT_USER\\Software\\Gone]\n"
                              "\"e\"=\"5\"\n");
  ASSERT_EQ(6u, file.statements.size());
  EXPECT_EQ("Software\\Trailing", file.statements[0].key.path);
  EXPECT_EQ(u"a", file.statements[1].value.name);
  EXPECT_EQ("HKEY_CURRENT_USER\\Software\\Blank ", file.statements[2].key.Full());
  EXPECT_EQ("", file.statements[3].key.path);
  EXPECT_EQ(u"d", file.statements[4].value.name);
  EXPECT_EQ("", file.statements[4].key.path);
  EXPECT_EQ(Kind::DeleteKey, file.statements[5].kind);
  EXPECT_EQ((std::vector<std::size_t>{6, 7, 8, 9, 10, 11, 15}), file.skippedLines);
}

TEST(RegFileTest, ReadsBackWhatItWrites) {
  std::vector<Value> values = {
      {u"", Platform::REG_SZ, Utf16Bytes(u"default\0"s)},
      {u"quote\"and\\slash", Platform::REG_SZ, Utf16Bytes(u"\"quoted\" \\ text\0"s)},
      {u"caf\u00e9", Platform::REG_DWORD, {1, 2, 3, 4}},
      {u"Binary", Platform::REG_BINARY, Bytes(100, 0xAB)},
      {u"Empty", Platform::REG_BINARY, {}},
      {u"Inner terminator", Platform::REG_SZ, Utf16Bytes(u"a\0b\0"s)},
      {u"Line end", Platform::REG_SZ, Utf16Bytes(u"a\r\nb\0"s)},
      {u"Odd", Platform::REG_SZ, {0x41}},
      {u"No terminator", Platform::REG_SZ, {}},
      {u"Short dword", Platform::REG_DWORD, {1, 2}},
      {u"Other", 0x12345678, {9, 8, 7}},
  };
  std::u16string text = std::u16string(kRegFileHeader) + u"\r\n\r\n";
  AppendKeyText(text, "HKEY_CURRENT_USER\\Software\\Test", values);
  RegFile file = ParseRegFile(Platform::Utf16ToUtf8(text));
  EXPECT_TRUE(file.skippedLines.empty());
  std::vector<Value> read = SetValues(file);
  ASSERT_EQ(values.size(), read.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].name, read[i].name) << i;
    EXPECT_EQ(values[i].type, read[i].type) << i;
    EXPECT_EQ(values[i].data, read[i].data) << i;
  }
}

TEST(RegFileTest, WritesStringsQuotedAndWrapsLongHexadecimalData) {
  std::u16string text;
  AppendKeyText(text, "HKEY_CURRENT_USER\\x",
                {{u"s", Platform::REG_SZ, Utf16Bytes(u"v\0"s)}, {u"b", Platform::REG_BINARY, Bytes(30, 0x01)}});
  EXPECT_EQ(
      u"[HKEY_CURRENT_USER\\x]\r\n\"s\"=\"v\"\r\n"
      u"\"b\"=hex:01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,\\\r\n"
      u"  01,01,01,01,01,01,01\r\n\r\n",
      text);
}

}  // namespace
