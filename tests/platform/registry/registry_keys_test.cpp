// Registry keys as Windows documents them: creation, opening, paths and names, checked against the
// platform API only, on Linux against the SQLite registry and in the Windows build against Wine's. Each test runs once
// below HKEY_CURRENT_USER and once below HKEY_LOCAL_MACHINE.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tests/platform/registry/registry_conformance_fixture.h"
#include "tests/support/wine.h"

using namespace Platform;
using Testing::StringBytes;
using Testing::Utf16Bytes;

namespace {

class RegistryKeysTest : public Testing::RegistryConformanceTest {};

// Keys: creation, opening, paths and names.

TEST_P(RegistryKeysTest, CreateKeyReportsNewKeyThenExistingKey) {
  UniqueKey first, second;
  DWORD disposition = 0;
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"Fresh", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, first.Put(), &disposition));
  EXPECT_EQ(REG_CREATED_NEW_KEY, disposition);
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"Fresh", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, second.Put(), &disposition));
  EXPECT_EQ(REG_OPENED_EXISTING_KEY, disposition);
  EXPECT_NE(first.Get(), second.Get());
}

TEST_P(RegistryKeysTest, CreateKeyMakesEveryMissingLevel) {
  Create(Root(), u"A\\B\\C");
  UniqueKey b = Open(Root(), u"A\\B");
  EXPECT_TRUE(b);
  EXPECT_EQ(std::vector<std::u16string>{u"C"}, SubKeyNames(b.Get()));
}

TEST_P(RegistryKeysTest, CreateKeyRejectsNonZeroReserved) {
  UniqueKey key;
  EXPECT_EQ(ERROR_INVALID_PARAMETER,
            RegCreateKeyExW(Root(), u"X", 1, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(), nullptr));
}

TEST_P(RegistryKeysTest, OpenMissingKeyFailsWithFileNotFoundAndNullResult) {
  HKEY key = reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x1234));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(Root(), u"Missing", 0, KEY_READ, &key));
  EXPECT_EQ(nullptr, key);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(Root(), u"Missing", 0, KEY_READ, &key));
}

TEST_P(RegistryKeysTest, OpenWithoutResultPointerIsInvalidParameter) {
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegOpenKeyExW(Root(), u"Missing", 0, KEY_READ, nullptr));
}

TEST_P(RegistryKeysTest, OpenWithNullKeyIsInvalidHandle) {
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegOpenKeyExW(nullptr, u"Software", 0, KEY_READ, &key));
}

TEST_P(RegistryKeysTest, PathStartingWithBackslashIsBadPathname) {
  Create(Root(), u"Child");
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_BAD_PATHNAME, RegOpenKeyExW(Root(), u"\\Child", 0, KEY_READ, &key));
  EXPECT_EQ(ERROR_BAD_PATHNAME,
            RegCreateKeyExW(Root(), u"\\Other", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
}

TEST_P(RegistryKeysTest, TrailingBackslashesAreIgnored) {
  Create(Root(), u"Trailing\\\\");
  UniqueKey key = Open(Root(), u"Trailing\\");
  EXPECT_TRUE(key);
  EXPECT_EQ(std::vector<std::u16string>{u"Trailing"}, SubKeyNames(Root()));
}

TEST_P(RegistryKeysTest, PredefinedKeyWithEmptyPathOpensThePredefinedKey) {
  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(GetParam().hive, nullptr, 0, KEY_READ, &key));
  EXPECT_EQ(GetParam().hive, key);
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(GetParam().hive, u"", 0, KEY_READ, &key));
  EXPECT_EQ(GetParam().hive, key);
}

TEST_P(RegistryKeysTest, EmptyPathBelowAnOpenKeyGivesANewHandle) {
  UniqueKey again;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(Root(), u"", 0, KEY_READ, again.Put()));
  EXPECT_NE(Root(), again.Get());
  SetDword(Root(), u"Seen", 7);
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(again.Get(), nullptr, u"Seen", RRF_RT_REG_DWORD, nullptr, &value, &size));
  EXPECT_EQ(7u, value);
}

TEST_P(RegistryKeysTest, ClosingTwiceFailsWithInvalidHandle) {
  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(Root(), u"Twice", 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(nullptr));
}

TEST_P(RegistryKeysTest, ClosingAPredefinedKeySucceeds) {
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(GetParam().hive));
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(GetParam().hive, m_sandbox->RootPath().c_str(), 0, KEY_READ, &key));
  RegCloseKey(key);
}

TEST_P(RegistryKeysTest, KeyNamesIgnoreCaseAndKeepTheirCase) {
  Create(Root(), u"MixedCase");
  UniqueKey lower = Open(Root(), u"mixedcase");
  EXPECT_TRUE(lower);
  DWORD disposition = 0;
  UniqueKey upper;
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"MIXEDCASE", 0, nullptr, 0, KEY_READ, nullptr, upper.Put(), &disposition));
  EXPECT_EQ(REG_OPENED_EXISTING_KEY, disposition);
  EXPECT_EQ(std::vector<std::u16string>{u"MixedCase"}, SubKeyNames(Root()));
}

TEST_P(RegistryKeysTest, ValueNamesIgnoreCaseAndKeepTheirCase) {
  SetDword(Root(), u"Volume", 1);
  SetDword(Root(), u"VOLUME", 2);
  DWORD value = 0, size = 4;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"volume", RRF_RT_REG_DWORD, nullptr, &value, &size));
  EXPECT_EQ(2u, value);
  char16_t name[32];
  DWORD length = 32;
  ASSERT_EQ(ERROR_SUCCESS, RegEnumValueW(Root(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(u"Volume", std::u16string(name, length));
  length = 32;
  EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumValueW(Root(), 1, name, &length, nullptr, nullptr, nullptr, nullptr));
}

TEST_P(RegistryKeysTest, KeyNameOfTheLimitLengthIsAccepted) {
  std::u16string name(MAX_KEY_NAME_LENGTH, u'k');
  UniqueKey key = Create(Root(), name.c_str());
  EXPECT_TRUE(key);
  EXPECT_EQ(std::vector<std::u16string>{name}, SubKeyNames(Root()));
}

TEST_P(RegistryKeysTest, KeyNameOverTheLimitIsRefused) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine takes key names longer than 255 characters";
  std::u16string name(MAX_KEY_NAME_LENGTH + 1, u'k');
  HKEY key = nullptr;
  EXPECT_NE(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  EXPECT_TRUE(SubKeyNames(Root()).empty());
}

TEST_P(RegistryKeysTest, ValueNameOfTheLimitLengthIsAccepted) {
  std::u16string name(MAX_VALUE_NAME_LENGTH, u'v');
  SetDword(Root(), name.c_str(), 3);
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, name.c_str(), RRF_RT_REG_DWORD, nullptr, &value, &size));
  EXPECT_EQ(3u, value);
}

TEST_P(RegistryKeysTest, ValueNameOverTheLimitIsRefused) {
  std::u16string name(MAX_VALUE_NAME_LENGTH + 1, u'v');
  DWORD value = 1;
  EXPECT_NE(ERROR_SUCCESS,
            RegSetValueExW(Root(), name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  DWORD values = 1;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(Root(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values,
                                            nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(0u, values);
}

INSTANTIATE_TEST_SUITE_P(Hives, RegistryKeysTest, Testing::kBothHives, Testing::HiveName);

}  // namespace
