// The registry subset, as Windows documents it, checked against the platform API only. The same
// suite runs on Linux against the SQLite registry and, in the Windows build, against Wine's.
// It runs once below HKEY_CURRENT_USER and once below HKEY_LOCAL_MACHINE.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/wine.h"

using namespace Platform;

namespace {

struct HiveParameter {
  const char* name;
  HKEY hive;
};

std::vector<BYTE> Bytes(std::u16string_view text) {
  std::vector<BYTE> bytes(text.size() * sizeof(char16_t));
  std::memcpy(bytes.data(), text.data(), bytes.size());
  return bytes;
}

// Bytes of a string value with its terminator.
std::vector<BYTE> StringBytes(std::u16string_view text) {
  std::u16string terminated(text);
  terminated += u'\0';
  return Bytes(terminated);
}

class RegistryConformanceTest : public ::testing::TestWithParam<HiveParameter> {
protected:
  void SetUp() override {
    m_sandbox = std::make_unique<Testing::RegistrySandbox>(GetParam().hive);
    ASSERT_TRUE(m_sandbox->Ready());
  }
  void TearDown() override { m_sandbox.reset(); }

  HKEY Root() const { return m_sandbox->Root(); }

  UniqueKey Create(HKEY parent, const char16_t* path, DWORD options = 0, REGSAM access = KEY_ALL_ACCESS) {
    UniqueKey key;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(parent, path, 0, nullptr, options, access, nullptr, key.put(), nullptr));
    return key;
  }

  UniqueKey Open(HKEY parent, const char16_t* path, REGSAM access = KEY_ALL_ACCESS) {
    UniqueKey key;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(parent, path, 0, access, key.put()));
    return key;
  }

  void SetDword(HKEY key, const char16_t* name, DWORD value) {
    ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  }

  void SetBytes(HKEY key, const char16_t* name, DWORD type, const std::vector<BYTE>& bytes) {
    ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(key, name, 0, type, bytes.data(), static_cast<DWORD>(bytes.size())));
  }

  std::vector<std::u16string> SubKeyNames(HKEY key) {
    std::vector<std::u16string> names;
    for (DWORD index = 0;; ++index) {
      char16_t name[256];
      DWORD length = 256;
      LSTATUS status = RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
      if (status == ERROR_NO_MORE_ITEMS) break;
      EXPECT_EQ(ERROR_SUCCESS, status);
      if (status != ERROR_SUCCESS) break;
      names.emplace_back(name, length);
    }
    return names;
  }

  std::unique_ptr<Testing::RegistrySandbox> m_sandbox;
};

// Keys: creation, opening, paths and names.

TEST_P(RegistryConformanceTest, CreateKeyReportsNewKeyThenExistingKey) {
  UniqueKey first, second;
  DWORD disposition = 0;
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"Fresh", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, first.put(), &disposition));
  EXPECT_EQ(REG_CREATED_NEW_KEY, disposition);
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"Fresh", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, second.put(), &disposition));
  EXPECT_EQ(REG_OPENED_EXISTING_KEY, disposition);
  EXPECT_NE(first.get(), second.get());
}

TEST_P(RegistryConformanceTest, CreateKeyMakesEveryMissingLevel) {
  Create(Root(), u"A\\B\\C");
  UniqueKey b = Open(Root(), u"A\\B");
  EXPECT_TRUE(b);
  EXPECT_EQ(std::vector<std::u16string>{u"C"}, SubKeyNames(b.get()));
}

TEST_P(RegistryConformanceTest, CreateKeyRejectsNonZeroReserved) {
  UniqueKey key;
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegCreateKeyExW(Root(), u"X", 1, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.put(), nullptr));
}

TEST_P(RegistryConformanceTest, OpenMissingKeyFailsWithFileNotFoundAndNullResult) {
  HKEY key = reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x1234));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(Root(), u"Missing", 0, KEY_READ, &key));
  EXPECT_EQ(nullptr, key);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(Root(), u"Missing", 0, KEY_READ, &key));
}

TEST_P(RegistryConformanceTest, OpenWithoutResultPointerIsInvalidParameter) {
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegOpenKeyExW(Root(), u"Missing", 0, KEY_READ, nullptr));
}

TEST_P(RegistryConformanceTest, OpenWithNullKeyIsInvalidHandle) {
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegOpenKeyExW(nullptr, u"Software", 0, KEY_READ, &key));
}

TEST_P(RegistryConformanceTest, PathStartingWithBackslashIsBadPathname) {
  Create(Root(), u"Child");
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_BAD_PATHNAME, RegOpenKeyExW(Root(), u"\\Child", 0, KEY_READ, &key));
  EXPECT_EQ(ERROR_BAD_PATHNAME, RegCreateKeyExW(Root(), u"\\Other", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
}

TEST_P(RegistryConformanceTest, TrailingBackslashesAreIgnored) {
  Create(Root(), u"Trailing\\\\");
  UniqueKey key = Open(Root(), u"Trailing\\");
  EXPECT_TRUE(key);
  EXPECT_EQ(std::vector<std::u16string>{u"Trailing"}, SubKeyNames(Root()));
}

TEST_P(RegistryConformanceTest, PredefinedKeyWithEmptyPathOpensThePredefinedKey) {
  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(GetParam().hive, nullptr, 0, KEY_READ, &key));
  EXPECT_EQ(GetParam().hive, key);
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(GetParam().hive, u"", 0, KEY_READ, &key));
  EXPECT_EQ(GetParam().hive, key);
}

TEST_P(RegistryConformanceTest, EmptyPathBelowAnOpenKeyGivesANewHandle) {
  UniqueKey again;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(Root(), u"", 0, KEY_READ, again.put()));
  EXPECT_NE(Root(), again.get());
  SetDword(Root(), u"Seen", 7);
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(again.get(), nullptr, u"Seen", RRF_RT_REG_DWORD, nullptr, &value, &size));
  EXPECT_EQ(7u, value);
}

TEST_P(RegistryConformanceTest, ClosingTwiceFailsWithInvalidHandle) {
  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(Root(), u"Twice", 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(nullptr));
}

TEST_P(RegistryConformanceTest, ClosingAPredefinedKeySucceeds) {
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(GetParam().hive));
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(GetParam().hive, m_sandbox->RootPath().c_str(), 0, KEY_READ, &key));
  RegCloseKey(key);
}

TEST_P(RegistryConformanceTest, KeyNamesIgnoreCaseAndKeepTheirCase) {
  Create(Root(), u"MixedCase");
  UniqueKey lower = Open(Root(), u"mixedcase");
  EXPECT_TRUE(lower);
  DWORD disposition = 0;
  UniqueKey upper;
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"MIXEDCASE", 0, nullptr, 0, KEY_READ, nullptr, upper.put(), &disposition));
  EXPECT_EQ(REG_OPENED_EXISTING_KEY, disposition);
  EXPECT_EQ(std::vector<std::u16string>{u"MixedCase"}, SubKeyNames(Root()));
}

TEST_P(RegistryConformanceTest, ValueNamesIgnoreCaseAndKeepTheirCase) {
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

TEST_P(RegistryConformanceTest, KeyNameOfTheLimitLengthIsAccepted) {
  std::u16string name(MAX_KEY_NAME_LENGTH, u'k');
  UniqueKey key = Create(Root(), name.c_str());
  EXPECT_TRUE(key);
  EXPECT_EQ(std::vector<std::u16string>{name}, SubKeyNames(Root()));
}

TEST_P(RegistryConformanceTest, KeyNameOverTheLimitIsRefused) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine takes key names longer than 255 characters";
  std::u16string name(MAX_KEY_NAME_LENGTH + 1, u'k');
  HKEY key = nullptr;
  EXPECT_NE(ERROR_SUCCESS, RegCreateKeyExW(Root(), name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  EXPECT_TRUE(SubKeyNames(Root()).empty());
}

TEST_P(RegistryConformanceTest, ValueNameOfTheLimitLengthIsAccepted) {
  std::u16string name(MAX_VALUE_NAME_LENGTH, u'v');
  SetDword(Root(), name.c_str(), 3);
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, name.c_str(), RRF_RT_REG_DWORD, nullptr, &value, &size));
  EXPECT_EQ(3u, value);
}

TEST_P(RegistryConformanceTest, ValueNameOverTheLimitIsRefused) {
  std::u16string name(MAX_VALUE_NAME_LENGTH + 1, u'v');
  DWORD value = 1;
  EXPECT_NE(ERROR_SUCCESS, RegSetValueExW(Root(), name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  DWORD values = 1;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(Root(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values,
                                            nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(0u, values);
}

// Values: setting and reading.

TEST_P(RegistryConformanceTest, EveryTypeRoundTripsThroughQueryValueEx) {
  const DWORD dword = 0x12345678;
  const ULONGLONG qword = 0x1122334455667788ull;
  const std::vector<BYTE> binary = {1, 2, 3, 0, 255};
  const std::vector<BYTE> text = StringBytes(u"Hello");
  const std::vector<BYTE> multi = Bytes(std::u16string(u"one\0two\0\0", 9));
  SetBytes(Root(), u"Binary", REG_BINARY, binary);
  SetBytes(Root(), u"Text", REG_SZ, text);
  SetBytes(Root(), u"Multi", REG_MULTI_SZ, multi);
  SetBytes(Root(), u"Dword", REG_DWORD, std::vector<BYTE>(reinterpret_cast<const BYTE*>(&dword), reinterpret_cast<const BYTE*>(&dword) + 4));
  SetBytes(Root(), u"Qword", REG_QWORD, std::vector<BYTE>(reinterpret_cast<const BYTE*>(&qword), reinterpret_cast<const BYTE*>(&qword) + 8));
  SetBytes(Root(), u"Custom", 0x12345, binary);

  const std::pair<const char16_t*, std::pair<DWORD, std::vector<BYTE>>> expected[] = {
      {u"Binary", {REG_BINARY, binary}},
      {u"Text", {REG_SZ, text}},
      {u"Multi", {REG_MULTI_SZ, multi}},
      {u"Dword", {REG_DWORD, {0x78, 0x56, 0x34, 0x12}}},
      {u"Qword", {REG_QWORD, {0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11}}},
      {u"Custom", {0x12345, binary}},
  };
  for (const auto& [name, value] : expected) {
    DWORD type = 0;
    BYTE buffer[64];
    DWORD size = sizeof(buffer);
    ASSERT_EQ(ERROR_SUCCESS, RegQueryValueExW(Root(), name, nullptr, &type, buffer, &size));
    EXPECT_EQ(value.first, type);
    EXPECT_EQ(value.second, std::vector<BYTE>(buffer, buffer + size));
  }
}

TEST_P(RegistryConformanceTest, DefaultValueIsTheEmptyName) {
  SetBytes(Root(), nullptr, REG_SZ, StringBytes(u"default"));
  char16_t buffer[16];
  DWORD size = sizeof(buffer);
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"", RRF_RT_REG_SZ, nullptr, buffer, &size));
  EXPECT_EQ(u"default", std::u16string(buffer));
}

TEST_P(RegistryConformanceTest, QueryValueExGivesTheSizeAndMoreDataForASmallBuffer) {
  SetBytes(Root(), u"Text", REG_SZ, StringBytes(u"Hello"));
  DWORD size = 0, type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryValueExW(Root(), u"Text", nullptr, &type, nullptr, &size));
  EXPECT_EQ(12u, size);
  BYTE small[4];
  size = sizeof(small);
  EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExW(Root(), u"Text", nullptr, &type, small, &size));
  EXPECT_EQ(12u, size);
  EXPECT_EQ(REG_SZ, type);
}

TEST_P(RegistryConformanceTest, QueryValueExOfMissingValueFailsAndClearsTheSizeWithoutBuffer) {
  DWORD size = 0xdeadbeef, type = 0;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(Root(), u"Missing", nullptr, &type, nullptr, &size));
  EXPECT_EQ(0u, size);
  BYTE buffer[8];
  size = sizeof(buffer);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(Root(), u"Missing", nullptr, &type, buffer, &size));
  EXPECT_EQ(sizeof(buffer), size);
}

TEST_P(RegistryConformanceTest, QueryValueExRejectsDataWithoutSize) {
  SetDword(Root(), u"Dword", 1);
  BYTE buffer[8];
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExW(Root(), u"Dword", nullptr, nullptr, buffer, nullptr));
}

TEST_P(RegistryConformanceTest, SetValueWithNullDataAndSizeIsNoAccess) {
  EXPECT_EQ(ERROR_NOACCESS, RegSetValueExW(Root(), u"Bad", 0, REG_DWORD, nullptr, 4));
  EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(Root(), u"Empty", 0, REG_BINARY, nullptr, 0));
  DWORD size = 1;
  EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(Root(), u"Empty", nullptr, nullptr, nullptr, &size));
  EXPECT_EQ(0u, size);
}

TEST_P(RegistryConformanceTest, SetKeyValueCreatesTheMissingSubKey) {
  DWORD value = 42;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(Root(), u"New\\Deeper", u"Answer", REG_DWORD, &value, 4));
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), u"New\\Deeper", u"Answer", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(42u, read);
}

TEST_P(RegistryConformanceTest, SetKeyValueWithoutSubKeySetsOnTheKeyItself) {
  DWORD value = 5;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(Root(), nullptr, u"Here", REG_DWORD, &value, 4));
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Here", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(5u, read);
}

// RegGetValueW: restrictions, sizes and terminators.

TEST_P(RegistryConformanceTest, GetValueNeedsATypeRestriction) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine answers a request without a type restriction with ERROR_UNSUPPORTED_TYPE";
  }
  SetDword(Root(), u"Dword", 1);
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegGetValueW(Root(), nullptr, u"Dword", 0, nullptr, &value, &size));
}

TEST_P(RegistryConformanceTest, GetValueRejectsDataWithoutSize) {
  SetDword(Root(), u"Dword", 1);
  DWORD value = 0;
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegGetValueW(Root(), nullptr, u"Dword", RRF_RT_REG_DWORD, nullptr, &value, nullptr));
}

TEST_P(RegistryConformanceTest, GetValueReadsThroughASubKey) {
  UniqueKey child = Create(Root(), u"Child");
  SetDword(child.get(), u"Dword", 9);
  DWORD value = 0, size = 4, type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), u"Child", u"Dword", RRF_RT_REG_DWORD, &type, &value, &size));
  EXPECT_EQ(9u, value);
  EXPECT_EQ(REG_DWORD, type);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegGetValueW(Root(), u"Missing", u"Dword", RRF_RT_REG_DWORD, nullptr, &value, &size));
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), u"Child", u"Dword", RRF_RT_REG_DWORD, nullptr, nullptr, nullptr));
}

TEST_P(RegistryConformanceTest, GetValueOfMissingValueIsFileNotFound) {
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegGetValueW(Root(), nullptr, u"Missing", RRF_RT_ANY, nullptr, &value, &size));
}

TEST_P(RegistryConformanceTest, GetValueOutsideTheRestrictionIsUnsupportedTypeButStillCopies) {
  SetDword(Root(), u"Dword", 0x12345678);
  DWORD value = 0xdeadbeef, size = 4, type = 0;
  EXPECT_EQ(ERROR_UNSUPPORTED_TYPE, RegGetValueW(Root(), nullptr, u"Dword", RRF_RT_REG_BINARY, &type, &value, &size));
  EXPECT_EQ(4u, size);
  EXPECT_EQ(REG_DWORD, type);
  EXPECT_EQ(0x12345678u, value);
}

TEST_P(RegistryConformanceTest, ZeroOnFailureClearsTheBuffer) {
  SetDword(Root(), u"Dword", 0x12345678);
  DWORD value = 0xdeadbeef, size = 4, type = 0;
  EXPECT_EQ(ERROR_UNSUPPORTED_TYPE,
            RegGetValueW(Root(), nullptr, u"Dword", RRF_RT_REG_SZ | RRF_ZEROONFAILURE, &type, &value, &size));
  EXPECT_EQ(0u, value);
  EXPECT_EQ(4u, size);
  EXPECT_EQ(REG_DWORD, type);
  value = 0xdeadbeef;
  size = 4;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND,
            RegGetValueW(Root(), nullptr, u"Missing", RRF_RT_ANY | RRF_ZEROONFAILURE, nullptr, &value, &size));
  EXPECT_EQ(0u, value);
}

TEST_P(RegistryConformanceTest, DwordRestrictionTakesFourByteBinaryAndRefusesOtherSizes) {
  const std::vector<BYTE> four = {0x78, 0x56, 0x34, 0x12};
  const std::vector<BYTE> eight = {1, 2, 3, 4, 5, 6, 7, 8};
  SetBytes(Root(), u"Bin32", REG_BINARY, four);
  SetBytes(Root(), u"Bin64", REG_BINARY, eight);
  DWORD value = 0, size = 4, type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Bin32", RRF_RT_DWORD, &type, &value, &size));
  EXPECT_EQ(0x12345678u, value);
  EXPECT_EQ(REG_BINARY, type);
  ULONGLONG wide = 0;
  size = 8;
  EXPECT_EQ(ERROR_DATATYPE_MISMATCH, RegGetValueW(Root(), nullptr, u"Bin64", RRF_RT_DWORD, &type, &wide, &size));
  EXPECT_EQ(8u, size);
  size = 8;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Bin64", RRF_RT_QWORD, &type, &wide, &size));
  EXPECT_EQ(0x0807060504030201ull, wide);
}

TEST_P(RegistryConformanceTest, GetValueWithASmallBufferIsMoreDataWithTheSizeNeeded) {
  const std::vector<BYTE> eight = {1, 2, 3, 4, 5, 6, 7, 8};
  SetBytes(Root(), u"Bin64", REG_BINARY, eight);
  DWORD value = 0xdeadbeef, size = 4;
  EXPECT_EQ(ERROR_MORE_DATA, RegGetValueW(Root(), nullptr, u"Bin64", RRF_RT_REG_BINARY, nullptr, &value, &size));
  EXPECT_EQ(8u, size);
  EXPECT_EQ(0xdeadbeefu, value);
  size = 0;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Bin64", RRF_RT_REG_BINARY, nullptr, nullptr, &size));
  EXPECT_EQ(8u, size);
}

TEST_P(RegistryConformanceTest, GetValueTerminatesAStringStoredWithoutTerminator) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine's RegGetValueW does not add the missing terminator of a string";
  }
  SetBytes(Root(), u"Bare", REG_SZ, Bytes(u"data"));
  DWORD size = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Bare", RRF_RT_REG_SZ, nullptr, nullptr, &size));
  EXPECT_EQ(10u, size);
  char16_t buffer[8];
  std::memset(buffer, 0x55, sizeof(buffer));
  size = sizeof(buffer);
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Bare", RRF_RT_REG_SZ, nullptr, buffer, &size));
  EXPECT_EQ(10u, size);
  EXPECT_EQ(u"data", std::u16string(buffer));
  size = 8;
  EXPECT_EQ(ERROR_MORE_DATA, RegGetValueW(Root(), nullptr, u"Bare", RRF_RT_REG_SZ, nullptr, buffer, &size));
  EXPECT_EQ(10u, size);
}

TEST_P(RegistryConformanceTest, GetValueLeavesAProperStringAsItIs) {
  SetBytes(Root(), u"Text", REG_SZ, StringBytes(u"data"));
  char16_t buffer[8];
  DWORD size = sizeof(buffer), type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Text", RRF_RT_REG_SZ, &type, buffer, &size));
  EXPECT_EQ(10u, size);
  EXPECT_EQ(REG_SZ, type);
  EXPECT_EQ(u"data", std::u16string(buffer));
}

TEST_P(RegistryConformanceTest, GetValueOfAnEmptyStringGivesNoBytes) {
  SetBytes(Root(), u"Nothing", REG_SZ, {});
  DWORD size = 16, type = 0;
  char16_t buffer[8];
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Nothing", RRF_RT_REG_SZ, &type, buffer, &size));
  EXPECT_EQ(0u, size);
  EXPECT_EQ(REG_SZ, type);
}

TEST_P(RegistryConformanceTest, GetValueEndsAMultiStringWithTwoTerminators) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine's RegGetValueW does not add the missing terminators of a multi-string";
  }
  SetBytes(Root(), u"Multi", REG_MULTI_SZ, Bytes(std::u16string(u"ab\0cd", 5)));
  char16_t buffer[16];
  DWORD size = sizeof(buffer);
  std::memset(buffer, 0x55, sizeof(buffer));
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Multi", RRF_RT_REG_MULTI_SZ, nullptr, buffer, &size));
  ASSERT_GE(size, 12u);
  EXPECT_EQ(std::u16string(u"ab\0cd\0", 6), std::u16string(buffer, 6));
  EXPECT_EQ(0, buffer[size / 2 - 1]);
}

TEST_P(RegistryConformanceTest, GetValueExpandsEnvironmentStringsUnlessAskedNotTo) {
  ASSERT_TRUE(SetEnvironmentVariableW(u"HALCYRA_TEST_EXPANSION", u"bar"));
  SetBytes(Root(), u"Expand", REG_EXPAND_SZ, StringBytes(u"%HALCYRA_TEST_EXPANSION%\\dir"));
  char16_t buffer[64];
  DWORD size = sizeof(buffer), type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Expand", RRF_RT_REG_SZ, &type, buffer, &size));
  EXPECT_EQ(u"bar\\dir", std::u16string(buffer));
  EXPECT_EQ(REG_SZ, type);
  EXPECT_EQ(16u, size);
  size = sizeof(buffer);
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Expand", RRF_RT_ANY, &type, buffer, &size));
  EXPECT_EQ(REG_SZ, type);
  size = sizeof(buffer);
  ASSERT_EQ(ERROR_SUCCESS,
            RegGetValueW(Root(), nullptr, u"Expand", RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, &type, buffer, &size));
  EXPECT_EQ(u"%HALCYRA_TEST_EXPANSION%\\dir", std::u16string(buffer));
  EXPECT_EQ(REG_EXPAND_SZ, type);
  EXPECT_EQ(ERROR_UNSUPPORTED_TYPE,
            RegGetValueW(Root(), nullptr, u"Expand", RRF_RT_REG_SZ | RRF_NOEXPAND, nullptr, nullptr, nullptr));
  SetEnvironmentVariableW(u"HALCYRA_TEST_EXPANSION", nullptr);
}

TEST_P(RegistryConformanceTest, ValueOfATypeWithoutARestrictionFlagPassesOnlyUnrestricted) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine's RegGetValueW refuses types without a restriction flag even under RRF_RT_ANY";
  }
  const std::vector<BYTE> bytes = {1, 2, 3};
  SetBytes(Root(), u"Custom", 0x100, bytes);
  BYTE buffer[8];
  DWORD size = sizeof(buffer), type = 0;
  EXPECT_EQ(ERROR_UNSUPPORTED_TYPE, RegGetValueW(Root(), nullptr, u"Custom", RRF_RT_REG_BINARY, &type, buffer, &size));
  size = sizeof(buffer);
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Custom", RRF_RT_ANY, &type, buffer, &size));
  EXPECT_EQ(0x100u, type);
  EXPECT_EQ(bytes, std::vector<BYTE>(buffer, buffer + size));
}

TEST_P(RegistryConformanceTest, QwordRoundTripsThroughGetValue) {
  ULONGLONG value = 0xFEDCBA9876543210ull;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(Root(), nullptr, u"Q", REG_QWORD, &value, 8));
  ULONGLONG read = 0;
  DWORD size = 8, type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Q", RRF_RT_REG_QWORD, &type, &read, &size));
  EXPECT_EQ(value, read);
  EXPECT_EQ(REG_QWORD, type);
}

// Enumeration.

TEST_P(RegistryConformanceTest, SubKeysEnumerateInCaseInsensitiveOrder) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine orders names by their lower case, so \"_\" comes before the letters";
  }
  for (const char16_t* name : {u"beta", u"Alpha", u"gamma", u"_under", u"Delta"}) Create(Root(), name);
  EXPECT_EQ((std::vector<std::u16string>{u"Alpha", u"beta", u"Delta", u"gamma", u"_under"}), SubKeyNames(Root()));
}

TEST_P(RegistryConformanceTest, EnumKeyWithASmallBufferIsMoreData) {
  Create(Root(), u"LongerName");
  char16_t name[4];
  DWORD length = 4;
  EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyExW(Root(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  char16_t exact[10];
  length = 10;
  EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyExW(Root(), 0, exact, &length, nullptr, nullptr, nullptr, nullptr));
  char16_t enough[11];
  length = 11;
  EXPECT_EQ(ERROR_SUCCESS, RegEnumKeyExW(Root(), 0, enough, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(10u, length);
  EXPECT_EQ(ERROR_SUCCESS, RegEnumKeyW(Root(), 0, enough, 11));
  EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyW(Root(), 0, exact, 10));
  EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumKeyW(Root(), 1, enough, 11));
}

TEST_P(RegistryConformanceTest, EnumKeyGivesClassAndLastWriteTime) {
  UniqueKey key;
  char16_t keyClass[] = u"Kind";
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(Root(), u"Classy", 0, keyClass, 0, KEY_ALL_ACCESS, nullptr, key.put(), nullptr));
  char16_t name[16], classBuffer[16];
  DWORD length = 16, classLength = 16;
  FILETIME written{};
  ASSERT_EQ(ERROR_SUCCESS, RegEnumKeyExW(Root(), 0, name, &length, nullptr, classBuffer, &classLength, &written));
  EXPECT_EQ(u"Kind", std::u16string(classBuffer, classLength));
  EXPECT_NE(0u, written.dwHighDateTime);
}

TEST_P(RegistryConformanceTest, EnumValueWithASmallNameBufferLeavesTheBuffersAndGivesTheDataSize) {
  SetBytes(Root(), u"Test", REG_SZ, StringBytes(u"foobar"));
  char16_t name[8] = u"xxxxxxx";
  BYTE data[32];
  std::memset(data, 0x55, sizeof(data));
  DWORD nameLength = 3, dataSize = sizeof(data), type = 0;
  EXPECT_EQ(ERROR_MORE_DATA, RegEnumValueW(Root(), 0, name, &nameLength, nullptr, &type, data, &dataSize));
  EXPECT_EQ(3u, nameLength);
  EXPECT_EQ(14u, dataSize);
  EXPECT_EQ(REG_SZ, type);
  EXPECT_EQ(u"xxxxxxx", std::u16string(name));
  EXPECT_EQ(0x55, data[0]);
}

TEST_P(RegistryConformanceTest, EnumValueWithASmallDataBufferGivesTheNameAndTheSize) {
  SetBytes(Root(), u"Test", REG_SZ, StringBytes(u"foobar"));
  char16_t name[8];
  BYTE data[4] = {0x55, 0x55, 0x55, 0x55};
  DWORD nameLength = 8, dataSize = sizeof(data), type = 0;
  EXPECT_EQ(ERROR_MORE_DATA, RegEnumValueW(Root(), 0, name, &nameLength, nullptr, &type, data, &dataSize));
  EXPECT_EQ(4u, nameLength);
  EXPECT_EQ(u"Test", std::u16string(name));
  EXPECT_EQ(14u, dataSize);
  EXPECT_EQ(0x55, data[0]);
}

TEST_P(RegistryConformanceTest, EnumValueGivesNameTypeAndData) {
  SetDword(Root(), u"Only", 77);
  char16_t name[8];
  DWORD value = 0, nameLength = 8, dataSize = 4, type = 0;
  ASSERT_EQ(ERROR_SUCCESS,
            RegEnumValueW(Root(), 0, name, &nameLength, nullptr, &type, reinterpret_cast<BYTE*>(&value), &dataSize));
  EXPECT_EQ(u"Only", std::u16string(name, nameLength));
  EXPECT_EQ(REG_DWORD, type);
  EXPECT_EQ(77u, value);
  EXPECT_EQ(4u, dataSize);
  nameLength = 8;
  EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumValueW(Root(), 1, name, &nameLength, nullptr, nullptr, nullptr, nullptr));
}

TEST_P(RegistryConformanceTest, EnumValueWithoutNameBufferIsInvalidParameter) {
  SetDword(Root(), u"Only", 1);
  DWORD length = 8;
  char16_t name[8];
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegEnumValueW(Root(), 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegEnumValueW(Root(), 0, name, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST_P(RegistryConformanceTest, EnumerationSeesEveryValueOnce) {
  std::vector<std::u16string> written;
  for (int i = 0; i < 50; ++i) {
    std::u16string name = u"Value" + Platform::Utf8ToUtf16(std::to_string(i));
    SetDword(Root(), name.c_str(), static_cast<DWORD>(i));
    written.push_back(name);
  }
  std::vector<std::u16string> seen;
  for (DWORD index = 0;; ++index) {
    char16_t name[32];
    DWORD length = 32;
    LSTATUS status = RegEnumValueW(Root(), index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) break;
    ASSERT_EQ(ERROR_SUCCESS, status);
    seen.emplace_back(name, length);
  }
  std::sort(written.begin(), written.end());
  std::sort(seen.begin(), seen.end());
  EXPECT_EQ(written, seen);
}

TEST_P(RegistryConformanceTest, QueryInfoKeyCountsSubKeysAndValues) {
  char16_t keyClass[] = u"subsubkey class";
  UniqueKey sub;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(Root(), u"subsubkey", 0, keyClass, 0, KEY_ALL_ACCESS, nullptr, sub.put(), nullptr));
  SetBytes(Root(), nullptr, REG_SZ, StringBytes(u"data"));
  SetBytes(Root(), u"value one", REG_SZ, StringBytes(u"first value data"));
  SetBytes(Root(), u"value 2", REG_SZ, StringBytes(u"second value data"));
  DWORD subKeys = 0, maxSubKey = 0, maxClass = 0, values = 0, maxValueName = 0, maxValue = 0;
  FILETIME written{};
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(Root(), nullptr, nullptr, nullptr, &subKeys, &maxSubKey, &maxClass, &values,
                                            &maxValueName, &maxValue, nullptr, &written));
  EXPECT_EQ(1u, subKeys);
  EXPECT_EQ(9u, maxSubKey);
  EXPECT_EQ(15u, maxClass);
  EXPECT_EQ(3u, values);
  EXPECT_EQ(9u, maxValueName);
  EXPECT_EQ(36u, maxValue);
  EXPECT_NE(0u, written.dwHighDateTime);
}

TEST_P(RegistryConformanceTest, QueryInfoKeyGivesTheClass) {
  char16_t keyClass[] = u"subkey class";
  UniqueKey sub;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(Root(), u"sub", 0, keyClass, 0, KEY_ALL_ACCESS, nullptr, sub.put(), nullptr));
  char16_t buffer[32];
  DWORD length = 32;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(sub.get(), buffer, &length, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(12u, length);
  EXPECT_EQ(u"subkey class", std::u16string(buffer));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryInfoKeyW(sub.get(), buffer, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr, nullptr, nullptr, nullptr));
}

// Deletion.

TEST_P(RegistryConformanceTest, DeleteTreeRemovesTheKeyAndEverythingBelow) {
  UniqueKey deep = Create(Root(), u"Tree\\A\\B");
  SetDword(deep.get(), u"V", 1);
  Create(Root(), u"Tree\\C");
  Create(Root(), u"Treehouse");
  deep.reset();
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(Root(), u"Tree"));
  EXPECT_EQ(std::vector<std::u16string>{u"Treehouse"}, SubKeyNames(Root()));
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(Root(), u"Tree\\A\\B", 0, KEY_READ, &key));
}

TEST_P(RegistryConformanceTest, DeleteTreeWithoutSubKeyEmptiesTheKeyButKeepsIt) {
  UniqueKey tree = Create(Root(), u"Tree");
  Create(tree.get(), u"A\\B");
  SetDword(tree.get(), u"V", 1);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(tree.get(), nullptr));
  EXPECT_TRUE(SubKeyNames(tree.get()).empty());
  DWORD values = 5;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(tree.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values,
                                            nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(0u, values);
  EXPECT_EQ(std::vector<std::u16string>{u"Tree"}, SubKeyNames(Root()));
}

TEST_P(RegistryConformanceTest, DeleteTreeOfAMissingKeyIsFileNotFound) {
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteTreeW(Root(), u"Missing"));
}

TEST_P(RegistryConformanceTest, DeleteKeyValueRemovesOneValue) {
  UniqueKey child = Create(Root(), u"Child");
  SetDword(child.get(), u"Gone", 1);
  SetDword(child.get(), u"Kept", 2);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyValueW(Root(), u"Child", u"Gone"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegGetValueW(child.get(), nullptr, u"Gone", RRF_RT_ANY, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(child.get(), nullptr, u"Kept", RRF_RT_ANY, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueW(Root(), u"Child", u"Gone"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueW(Root(), u"Missing", u"Kept"));
  EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(child.get(), u"Kept"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(child.get(), u"Kept"));
}

TEST_P(RegistryConformanceTest, DeleteKeyRefusesAKeyWithSubKeys) {
  Create(Root(), u"Parent\\Child");
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyW(Root(), u"Parent"));
  EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(Root(), u"Parent\\Child"));
  EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(Root(), u"Parent"));
  EXPECT_TRUE(SubKeyNames(Root()).empty());
}

TEST_P(RegistryConformanceTest, DeleteKeyWithEmptyPathDeletesTheKeyItself) {
  UniqueKey key = Create(Root(), u"Self");
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(key.get(), u""));
  EXPECT_TRUE(SubKeyNames(Root()).empty());
}

TEST_P(RegistryConformanceTest, EveryHandleOfADeletedKeyGivesKeyDeleted) {
  UniqueKey doomed = Create(Root(), u"Doomed");
  UniqueKey below = Create(doomed.get(), u"Below");
  SetDword(doomed.get(), u"V", 1);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(Root(), u"Doomed"));
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_KEY_DELETED, RegQueryValueExW(doomed.get(), u"V", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size));
  EXPECT_EQ(ERROR_KEY_DELETED, RegSetValueExW(doomed.get(), u"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  char16_t name[16];
  DWORD length = 16;
  EXPECT_EQ(ERROR_KEY_DELETED, RegEnumKeyExW(doomed.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  length = 16;
  EXPECT_EQ(ERROR_KEY_DELETED, RegEnumValueW(doomed.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_KEY_DELETED, RegQueryInfoKeyW(below.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                nullptr, nullptr, nullptr, nullptr, nullptr));
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_KEY_DELETED, RegCreateKeyExW(doomed.get(), u"New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(doomed.release()));
}

// Volatile keys.

TEST_P(RegistryConformanceTest, ChildOfAVolatileKeyMustBeVolatile) {
  UniqueKey parent = Create(Root(), u"Volatile", REG_OPTION_VOLATILE);
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_CHILD_MUST_BE_VOLATILE,
            RegCreateKeyExW(parent.get(), u"Stable", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  UniqueKey child = Create(parent.get(), u"Child", REG_OPTION_VOLATILE);
  EXPECT_TRUE(child);
  // An existing key opens whatever the options ask for.
  UniqueKey again = Create(parent.get(), u"Child");
  EXPECT_TRUE(again);
}

TEST_P(RegistryConformanceTest, SetKeyValueBelowAVolatileKeyNeedsAVolatileSubKey) {
  UniqueKey parent = Create(Root(), u"Volatile", REG_OPTION_VOLATILE);
  DWORD value = 1;
  EXPECT_EQ(ERROR_CHILD_MUST_BE_VOLATILE, RegSetKeyValueW(parent.get(), u"Missing", u"V", REG_DWORD, &value, 4));
  EXPECT_EQ(ERROR_SUCCESS, RegSetKeyValueW(parent.get(), nullptr, u"V", REG_DWORD, &value, 4));
}

// Access rights of handles.

TEST_P(RegistryConformanceTest, WritingThroughAReadHandleIsAccessDenied) {
  SetDword(Root(), u"V", 1);
  UniqueKey reader = Open(Root(), nullptr, KEY_READ);
  DWORD value = 2;
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetValueExW(reader.get(), u"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetKeyValueW(reader.get(), nullptr, u"V", REG_DWORD, &value, 4));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteValueW(reader.get(), u"V"));
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(reader.get(), nullptr, u"V", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(1u, read);
}

TEST_P(RegistryConformanceTest, ReadingThroughAWriteHandleIsAccessDenied) {
  SetDword(Root(), u"V", 1);
  UniqueKey writer = Open(Root(), nullptr, KEY_SET_VALUE);
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegQueryValueExW(writer.get(), u"V", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size));
  char16_t name[8];
  DWORD length = 8;
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegEnumKeyExW(writer.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(writer.get(), u"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
}

TEST_P(RegistryConformanceTest, ParentRightsDoNotLimitCreatingOrOpeningSubKeys) {
  UniqueKey notify = Create(Root(), u"Parent", 0, KEY_NOTIFY);
  UniqueKey child;
  EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(notify.get(), u"Child", 0, nullptr, 0, KEY_SET_VALUE, nullptr, child.put(), nullptr));
  UniqueKey opened;
  EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(notify.get(), u"Child", 0, KEY_READ, opened.put()));
}

TEST_P(RegistryConformanceTest, SixtyFourBitViewFlagIsAccepted) {
  UniqueKey key = Create(Root(), u"View", 0, KEY_READ | KEY_WRITE | KEY_WOW64_64KEY);
  DWORD value = 3;
  EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(key.get(), u"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  UniqueKey again = Open(Root(), u"View", 0x20119);
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(again.get(), nullptr, u"V", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(3u, read);
}

TEST_P(RegistryConformanceTest, SecurityOfAKeyCanBeSet) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine's RegQueryInfoKeyW gives no length of the key's security descriptor";
  }
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(u"D:(A;OICI;GA;;;BA)(A;OICI;GR;;;IU)",
                                                                   SDDL_REVISION_1, &descriptor, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegSetKeySecurity(Root(), DACL_SECURITY_INFORMATION, descriptor));
  SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), descriptor, FALSE};
  UniqueKey secured;
  EXPECT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"Secured", 0, nullptr, 0, KEY_ALL_ACCESS, &attributes, secured.put(), nullptr));
  DWORD length = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(secured.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, &length, nullptr));
  EXPECT_NE(0u, length);
  LocalFree(descriptor);
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegSetKeySecurity(Root(), DACL_SECURITY_INFORMATION, nullptr));
}

INSTANTIATE_TEST_SUITE_P(Hives, RegistryConformanceTest,
                         ::testing::Values(HiveParameter{"CurrentUser", HKEY_CURRENT_USER},
                                           HiveParameter{"LocalMachine", HKEY_LOCAL_MACHINE}),
                         [](const ::testing::TestParamInfo<HiveParameter>& info) { return std::string(info.param.name); });

}  // namespace
