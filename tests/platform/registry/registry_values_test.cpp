// Registry values as Windows documents them: setting and reading, and RegGetValueW's restrictions,
// sizes and terminators. Each test runs once below
// HKEY_CURRENT_USER and once below HKEY_LOCAL_MACHINE.
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

class RegistryValuesTest : public Testing::RegistryConformanceTest {};

// Values: setting and reading.

TEST_P(RegistryValuesTest, EveryTypeRoundTripsThroughQueryValueEx) {
  const DWORD dword = 0x12345678;
  const ULONGLONG qword = 0x1122334455667788ull;
  const std::vector<BYTE> binary = {1, 2, 3, 0, 255};
  const std::vector<BYTE> text = StringBytes(u"Hello");
  const std::vector<BYTE> multi = Utf16Bytes(std::u16string(u"one\0two\0\0", 9));
  SetBytes(Root(), u"Binary", REG_BINARY, binary);
  SetBytes(Root(), u"Text", REG_SZ, text);
  SetBytes(Root(), u"Multi", REG_MULTI_SZ, multi);
  SetBytes(Root(), u"Dword", REG_DWORD,
           std::vector<BYTE>(reinterpret_cast<const BYTE*>(&dword), reinterpret_cast<const BYTE*>(&dword) + 4));
  SetBytes(Root(), u"Qword", REG_QWORD,
           std::vector<BYTE>(reinterpret_cast<const BYTE*>(&qword), reinterpret_cast<const BYTE*>(&qword) + 8));
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

TEST_P(RegistryValuesTest, DefaultValueIsTheEmptyName) {
  SetBytes(Root(), nullptr, REG_SZ, StringBytes(u"default"));
  char16_t buffer[16];
  DWORD size = sizeof(buffer);
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"", RRF_RT_REG_SZ, nullptr, buffer, &size));
  EXPECT_EQ(u"default", std::u16string(buffer));
}

TEST_P(RegistryValuesTest, QueryValueExGivesTheSizeAndMoreDataForASmallBuffer) {
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

TEST_P(RegistryValuesTest, QueryValueExOfMissingValueFailsAndClearsTheSizeWithoutBuffer) {
  DWORD size = 0xdeadbeef, type = 0;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(Root(), u"Missing", nullptr, &type, nullptr, &size));
  EXPECT_EQ(0u, size);
  BYTE buffer[8];
  size = sizeof(buffer);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(Root(), u"Missing", nullptr, &type, buffer, &size));
  EXPECT_EQ(sizeof(buffer), size);
}

TEST_P(RegistryValuesTest, QueryValueExRejectsDataWithoutSize) {
  SetDword(Root(), u"Dword", 1);
  BYTE buffer[8];
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryValueExW(Root(), u"Dword", nullptr, nullptr, buffer, nullptr));
}

TEST_P(RegistryValuesTest, SetValueWithNullDataAndSizeIsNoAccess) {
  EXPECT_EQ(ERROR_NOACCESS, RegSetValueExW(Root(), u"Bad", 0, REG_DWORD, nullptr, 4));
  EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(Root(), u"Empty", 0, REG_BINARY, nullptr, 0));
  DWORD size = 1;
  EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(Root(), u"Empty", nullptr, nullptr, nullptr, &size));
  EXPECT_EQ(0u, size);
}

TEST_P(RegistryValuesTest, SetKeyValueCreatesTheMissingSubKey) {
  DWORD value = 42;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(Root(), u"New\\Deeper", u"Answer", REG_DWORD, &value, 4));
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), u"New\\Deeper", u"Answer", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(42u, read);
}

TEST_P(RegistryValuesTest, SetKeyValueWithoutSubKeySetsOnTheKeyItself) {
  DWORD value = 5;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(Root(), nullptr, u"Here", REG_DWORD, &value, 4));
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Here", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(5u, read);
}

// RegGetValueW: restrictions, sizes and terminators.

TEST_P(RegistryValuesTest, GetValueNeedsATypeRestriction) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine answers a request without a type restriction with ERROR_UNSUPPORTED_TYPE";
  }
  SetDword(Root(), u"Dword", 1);
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegGetValueW(Root(), nullptr, u"Dword", 0, nullptr, &value, &size));
}

TEST_P(RegistryValuesTest, GetValueRejectsDataWithoutSize) {
  SetDword(Root(), u"Dword", 1);
  DWORD value = 0;
  EXPECT_EQ(ERROR_INVALID_PARAMETER,
            RegGetValueW(Root(), nullptr, u"Dword", RRF_RT_REG_DWORD, nullptr, &value, nullptr));
}

TEST_P(RegistryValuesTest, GetValueReadsThroughASubKey) {
  UniqueKey child = Create(Root(), u"Child");
  SetDword(child.Get(), u"Dword", 9);
  DWORD value = 0, size = 4, type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), u"Child", u"Dword", RRF_RT_REG_DWORD, &type, &value, &size));
  EXPECT_EQ(9u, value);
  EXPECT_EQ(REG_DWORD, type);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegGetValueW(Root(), u"Missing", u"Dword", RRF_RT_REG_DWORD, nullptr, &value, &size));
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), u"Child", u"Dword", RRF_RT_REG_DWORD, nullptr, nullptr, nullptr));
}

TEST_P(RegistryValuesTest, GetValueOfMissingValueIsFileNotFound) {
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegGetValueW(Root(), nullptr, u"Missing", RRF_RT_ANY, nullptr, &value, &size));
}

TEST_P(RegistryValuesTest, GetValueOutsideTheRestrictionIsUnsupportedTypeButStillCopies) {
  SetDword(Root(), u"Dword", 0x12345678);
  DWORD value = 0xdeadbeef, size = 4, type = 0;
  EXPECT_EQ(ERROR_UNSUPPORTED_TYPE, RegGetValueW(Root(), nullptr, u"Dword", RRF_RT_REG_BINARY, &type, &value, &size));
  EXPECT_EQ(4u, size);
  EXPECT_EQ(REG_DWORD, type);
  EXPECT_EQ(0x12345678u, value);
}

TEST_P(RegistryValuesTest, ZeroOnFailureClearsTheBuffer) {
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

TEST_P(RegistryValuesTest, DwordRestrictionTakesFourByteBinaryAndRefusesOtherSizes) {
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

TEST_P(RegistryValuesTest, GetValueWithASmallBufferIsMoreDataWithTheSizeNeeded) {
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

TEST_P(RegistryValuesTest, GetValueTerminatesAStringStoredWithoutTerminator) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine's RegGetValueW does not add the missing terminator of a string";
  }
  SetBytes(Root(), u"Bare", REG_SZ, Utf16Bytes(u"data"));
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

TEST_P(RegistryValuesTest, GetValueLeavesAProperStringAsItIs) {
  SetBytes(Root(), u"Text", REG_SZ, StringBytes(u"data"));
  char16_t buffer[8];
  DWORD size = sizeof(buffer), type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Text", RRF_RT_REG_SZ, &type, buffer, &size));
  EXPECT_EQ(10u, size);
  EXPECT_EQ(REG_SZ, type);
  EXPECT_EQ(u"data", std::u16string(buffer));
}

TEST_P(RegistryValuesTest, GetValueOfAnEmptyStringGivesNoBytes) {
  SetBytes(Root(), u"Nothing", REG_SZ, {});
  DWORD size = 16, type = 0;
  char16_t buffer[8];
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Nothing", RRF_RT_REG_SZ, &type, buffer, &size));
  EXPECT_EQ(0u, size);
  EXPECT_EQ(REG_SZ, type);
}

TEST_P(RegistryValuesTest, GetValueEndsAMultiStringWithTwoTerminators) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine's RegGetValueW does not add the missing terminators of a multi-string";
  }
  SetBytes(Root(), u"Multi", REG_MULTI_SZ, Utf16Bytes(std::u16string(u"ab\0cd", 5)));
  char16_t buffer[16];
  DWORD size = sizeof(buffer);
  std::memset(buffer, 0x55, sizeof(buffer));
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Multi", RRF_RT_REG_MULTI_SZ, nullptr, buffer, &size));
  ASSERT_GE(size, 12u);
  EXPECT_EQ(std::u16string(u"ab\0cd\0", 6), std::u16string(buffer, 6));
  EXPECT_EQ(0, buffer[size / 2 - 1]);
}

TEST_P(RegistryValuesTest, GetValueExpandsEnvironmentStringsUnlessAskedNotTo) {
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

TEST_P(RegistryValuesTest, ValueOfATypeWithoutARestrictionFlagPassesOnlyUnrestricted) {
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

TEST_P(RegistryValuesTest, QwordRoundTripsThroughGetValue) {
  ULONGLONG value = 0xFEDCBA9876543210ull;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(Root(), nullptr, u"Q", REG_QWORD, &value, 8));
  ULONGLONG read = 0;
  DWORD size = 8, type = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(Root(), nullptr, u"Q", RRF_RT_REG_QWORD, &type, &read, &size));
  EXPECT_EQ(value, read);
  EXPECT_EQ(REG_QWORD, type);
}

INSTANTIATE_TEST_SUITE_P(Hives, RegistryValuesTest, Testing::kBothHives, Testing::HiveName);

}  // namespace
