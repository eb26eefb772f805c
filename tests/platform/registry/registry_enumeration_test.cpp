// Enumerating the registry as Windows documents it: sub-keys, values and the counts of a key. Each test runs once below
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

class RegistryEnumerationTest : public Testing::RegistryConformanceTest {};

// Enumeration.

TEST_P(RegistryEnumerationTest, SubKeysEnumerateInCaseInsensitiveOrder) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine orders names by their lower case, so \"_\" comes before the letters";
  }
  for (const char16_t* name : {u"beta", u"Alpha", u"gamma", u"_under", u"Delta"}) Create(Root(), name);
  EXPECT_EQ((std::vector<std::u16string>{u"Alpha", u"beta", u"Delta", u"gamma", u"_under"}), SubKeyNames(Root()));
}

TEST_P(RegistryEnumerationTest, EnumKeyWithASmallBufferIsMoreData) {
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

TEST_P(RegistryEnumerationTest, EnumKeyGivesClassAndLastWriteTime) {
  UniqueKey key;
  char16_t keyClass[] = u"Kind";
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"Classy", 0, keyClass, 0, KEY_ALL_ACCESS, nullptr, key.Put(), nullptr));
  char16_t name[16], classBuffer[16];
  DWORD length = 16, classLength = 16;
  FILETIME written{};
  ASSERT_EQ(ERROR_SUCCESS, RegEnumKeyExW(Root(), 0, name, &length, nullptr, classBuffer, &classLength, &written));
  EXPECT_EQ(u"Kind", std::u16string(classBuffer, classLength));
  EXPECT_NE(0u, written.dwHighDateTime);
}

TEST_P(RegistryEnumerationTest, EnumValueWithASmallNameBufferLeavesTheBuffersAndGivesTheDataSize) {
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

TEST_P(RegistryEnumerationTest, EnumValueWithASmallDataBufferGivesTheNameAndTheSize) {
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

TEST_P(RegistryEnumerationTest, EnumValueGivesNameTypeAndData) {
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

TEST_P(RegistryEnumerationTest, EnumValueWithoutNameBufferIsInvalidParameter) {
  SetDword(Root(), u"Only", 1);
  DWORD length = 8;
  char16_t name[8];
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegEnumValueW(Root(), 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegEnumValueW(Root(), 0, name, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST_P(RegistryEnumerationTest, EnumerationSeesEveryValueOnce) {
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

TEST_P(RegistryEnumerationTest, QueryInfoKeyCountsSubKeysAndValues) {
  char16_t keyClass[] = u"subsubkey class";
  UniqueKey sub;
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"subsubkey", 0, keyClass, 0, KEY_ALL_ACCESS, nullptr, sub.Put(), nullptr));
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

TEST_P(RegistryEnumerationTest, QueryInfoKeyGivesTheClass) {
  char16_t keyClass[] = u"subkey class";
  UniqueKey sub;
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(Root(), u"sub", 0, keyClass, 0, KEY_ALL_ACCESS, nullptr, sub.Put(), nullptr));
  char16_t buffer[32];
  DWORD length = 32;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(sub.Get(), buffer, &length, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(12u, length);
  EXPECT_EQ(u"subkey class", std::u16string(buffer));
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegQueryInfoKeyW(sub.Get(), buffer, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr, nullptr, nullptr, nullptr));
}

INSTANTIATE_TEST_SUITE_P(Hives, RegistryEnumerationTest, Testing::kBothHives, Testing::HiveName);

}  // namespace
