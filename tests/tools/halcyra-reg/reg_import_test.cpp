// reg import as a person runs it: the command, its exit code and what it prints, and what the
// registry holds afterwards.
#include <gtest/gtest.h>

#include "platform/registry.h"
#include "tests/tools/halcyra-reg/reg_tool_fixture.h"

using namespace Platform;

namespace {

using Testing::RegToolTest;

class RegImportTest : public RegToolTest {
protected:
  // Imports a file of `text` (UTF-8) and expects success.
  void Import(const std::string& text) {
    auto result = Run({"import", WriteFile(".reg", text)});
    EXPECT_EQ(0, result.exitCode) << result.error;
    EXPECT_EQ("The operation completed successfully.\n", result.output);
    EXPECT_EQ("", result.error);
  }

  bool Has(const std::u16string& name) const {
    return RegQueryValueExW(Root(), name.c_str(), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
  }
};

TEST_F(RegImportTest, PassesOverAMalformedLineAndImportsTheRest) {
  Import("Windows Registry Editor Version 5.00\r\n\r\n[" + FullKey() +
         "]\r\n"
         "\"Before\"=\"1\"\r\n"
         "\"Broken\"=dword:xyz\r\n"
         "Not a statement at all\r\n"
         "\"After\"=dword:00000002\r\n"
         "\"Unclosed\"=\"text\r\n"
         "\"Last\"=hex:01,02\r\n");
  EXPECT_TRUE(Has(u"Before"));
  EXPECT_FALSE(Has(u"Broken"));
  EXPECT_TRUE(Has(u"After"));
  EXPECT_FALSE(Has(u"Unclosed"));
  EXPECT_TRUE(Has(u"Last"));
}

TEST_F(RegImportTest, PassesOverTheValuesBelowAKeyLineItCannotTake) {
  Import(
      "Windows Registry Editor Version 5.00\r\n\r\n"
      "[HKEY_NOWHERE\\Software]\r\n"
      "\"Lost\"=\"1\"\r\n"
      "[" +
      FullKey() +
      "]\r\n"
      "\"Kept\"=\"2\"\r\n");
  EXPECT_FALSE(Has(u"Lost"));
  EXPECT_TRUE(Has(u"Kept"));
}

TEST_F(RegImportTest, ImportsNothingFromAnotherRegeditVersion) {
  Import("REGEDIT5\r\n\r\n[" + FullKey() + "]\r\n\"Value\"=\"1\"\r\n");
  EXPECT_FALSE(Has(u"Value"));
}

TEST_F(RegImportTest, FailsForAFileThatIsNotARegFile) {
  auto result = Run({"import", WriteFile(".reg", "\r\nREGEDIT4\r\n[" + FullKey() + "]\r\n\"Value\"=\"1\"\r\n")});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("", result.output);
  EXPECT_EQ("ERROR: Error accessing the registry.\n", result.error);
  EXPECT_FALSE(Has(u"Value"));
}

}  // namespace
