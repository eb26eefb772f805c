#include "foundation/registry_helper.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/log.h"
#include "platform/unique_handle.h"
#include "tests/support/debug_channel_capture.h"

namespace {

using namespace Platform;
using Win32Helper::RegistryHelper;

constexpr const char16_t* kTestKey = u"Software\\HalcyraTests\\RegistryHelper";

class RegistryHelperTest : public ::testing::Test {
protected:
  RegistryHelperTest() { RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey); }
  ~RegistryHelperTest() override {
    LogSetLevel(LogLevelWarning);
    RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey);
  }

  void CreateTestKey(const std::u16string& below = u"") {
    UniqueKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, (std::u16string(kTestKey) + below).c_str(), 0, nullptr, 0,
                              KEY_ALL_ACCESS, nullptr, key.Put(), nullptr),
              ERROR_SUCCESS);
  }

  Testing::DebugChannelCapture capture;
};

TEST_F(RegistryHelperTest, ExistingKeyOpensForReadingAndWriting) {
  CreateTestKey();
  HKEY key = nullptr;
  ASSERT_TRUE(RegistryHelper::TryOpenSubKey(HKEY_CURRENT_USER, kTestKey, key));
  DWORD value = 9;
  EXPECT_EQ(RegSetValueExW(key, u"Written", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_EQ(capture.Text(), "");
}

TEST_F(RegistryHelperTest, MissingKeyAnswersNoWithoutAReport) {
  LogSetLevel(LogLevelTrace);
  HKEY key = nullptr;
  EXPECT_FALSE(RegistryHelper::TryOpenSubKey(HKEY_CURRENT_USER, kTestKey, key));
  EXPECT_EQ(capture.Text(), "");
}

TEST_F(RegistryHelperTest, DeletedKeyAnswersNoWithoutAReport) {
  CreateTestKey(u"\\Parent");
  UniqueKey parent;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, (std::u16string(kTestKey) + u"\\Parent").c_str(), 0, KEY_ALL_ACCESS,
                          parent.Put()),
            ERROR_SUCCESS);
  ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey), ERROR_SUCCESS);
  LogSetLevel(LogLevelTrace);
  HKEY key = nullptr;
  EXPECT_FALSE(RegistryHelper::TryOpenSubKey(parent.Get(), u"Child", key));
  EXPECT_EQ(capture.Text(), "");
}

TEST_F(RegistryHelperTest, OtherFailureIsLoggedAtTraceLevelAndReportedAsCannotOpen) {
  LogSetLevel(LogLevelTrace);
  UniqueKey readOnly;
  CreateTestKey();
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kTestKey, 0, KEY_READ, readOnly.Put()), ERROR_SUCCESS);
  HKEY closed = readOnly.Detach();
  RegCloseKey(closed);
  HKEY key = nullptr;
  EXPECT_FALSE(RegistryHelper::TryOpenSubKey(closed, u"Anything", key));
  const std::string text = capture.Text();
  EXPECT_NE(text.find("Win32Helper::RegistryHelper::TryOpenSubKeyError 6 Anything\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Error 5 (cannot open resource) in function Win32Helper::RegistryHelper::TryOpenSubKey\n"),
            std::string::npos)
      << text;
}

TEST_F(RegistryHelperTest, SetDwValueWritesFourBytesOfTypeDword) {
  CreateTestKey();
  HKEY key = nullptr;
  ASSERT_TRUE(RegistryHelper::TryOpenSubKey(HKEY_CURRENT_USER, kTestKey, key));
  EXPECT_EQ(RegistryHelper::SetDwValue(key, u"APOBypass", 0x01020304), ErrorNone);
  RegCloseKey(key);
  DWORD type = 0;
  DWORD value = 0;
  DWORD size = sizeof(value);
  ASSERT_EQ(RegGetValueW(HKEY_CURRENT_USER, kTestKey, u"APOBypass", RRF_RT_ANY, &type, &value, &size), ERROR_SUCCESS);
  EXPECT_EQ(type, REG_DWORD);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(value, 0x01020304u);
}

TEST_F(RegistryHelperTest, SetDwValueOnANullKeyReportsInvalidParameter) {
  EXPECT_EQ(RegistryHelper::SetDwValue(nullptr, u"X", 1), ErrorInvalidParameter);
  EXPECT_NE(capture.Text().find("Error 11 (invalid parameter) in function Win32Helper::RegistryHelper::SetDwValue"),
            std::string::npos);
}

TEST_F(RegistryHelperTest, SetDwValueOnADeletedKeyReportsUnavailable) {
  CreateTestKey();
  HKEY key = nullptr;
  ASSERT_TRUE(RegistryHelper::TryOpenSubKey(HKEY_CURRENT_USER, kTestKey, key));
  ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey), ERROR_SUCCESS);
  EXPECT_EQ(RegistryHelper::SetDwValue(key, u"X", 1), ErrorUnavailable);
  RegCloseKey(key);
  EXPECT_NE(capture.Text().find("Error 16 (unavailable resource, function or feature) in function "
                                "Win32Helper::RegistryHelper::SetDwValue"),
            std::string::npos)
      << capture.Text();
}

TEST_F(RegistryHelperTest, SetDwValueWithoutWriteRightReportsCannotWrite) {
  CreateTestKey();
  UniqueKey readOnly;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kTestKey, 0, KEY_READ, readOnly.Put()), ERROR_SUCCESS);
  EXPECT_EQ(RegistryHelper::SetDwValue(readOnly.Get(), u"X", 1), ErrorCannotWrite);
  EXPECT_NE(
      capture.Text().find("Error 7 (cannot write to resource) in function Win32Helper::RegistryHelper::SetDwValue"),
      std::string::npos);
}

}  // namespace
