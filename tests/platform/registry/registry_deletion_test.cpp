// Deleting from the registry as Windows documents it, and volatile keys. Each test runs once below
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

class RegistryDeletionTest : public Testing::RegistryConformanceTest {};

// Deletion.

TEST_P(RegistryDeletionTest, DeleteTreeRemovesTheKeyAndEverythingBelow) {
  UniqueKey deep = Create(Root(), u"Tree\\A\\B");
  SetDword(deep.Get(), u"V", 1);
  Create(Root(), u"Tree\\C");
  Create(Root(), u"Treehouse");
  deep.Reset();
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(Root(), u"Tree"));
  EXPECT_EQ(std::vector<std::u16string>{u"Treehouse"}, SubKeyNames(Root()));
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(Root(), u"Tree\\A\\B", 0, KEY_READ, &key));
}

TEST_P(RegistryDeletionTest, DeleteTreeWithoutSubKeyEmptiesTheKeyButKeepsIt) {
  UniqueKey tree = Create(Root(), u"Tree");
  Create(tree.Get(), u"A\\B");
  SetDword(tree.Get(), u"V", 1);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(tree.Get(), nullptr));
  EXPECT_TRUE(SubKeyNames(tree.Get()).empty());
  DWORD values = 5;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(tree.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values,
                                            nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(0u, values);
  EXPECT_EQ(std::vector<std::u16string>{u"Tree"}, SubKeyNames(Root()));
}

TEST_P(RegistryDeletionTest, DeleteTreeOfAMissingKeyIsFileNotFound) {
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteTreeW(Root(), u"Missing"));
}

TEST_P(RegistryDeletionTest, DeleteKeyValueRemovesOneValue) {
  UniqueKey child = Create(Root(), u"Child");
  SetDword(child.Get(), u"Gone", 1);
  SetDword(child.Get(), u"Kept", 2);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyValueW(Root(), u"Child", u"Gone"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegGetValueW(child.Get(), nullptr, u"Gone", RRF_RT_ANY, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(child.Get(), nullptr, u"Kept", RRF_RT_ANY, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueW(Root(), u"Child", u"Gone"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteKeyValueW(Root(), u"Missing", u"Kept"));
  EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(child.Get(), u"Kept"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegDeleteValueW(child.Get(), u"Kept"));
}

TEST_P(RegistryDeletionTest, DeleteKeyRefusesAKeyWithSubKeys) {
  Create(Root(), u"Parent\\Child");
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteKeyW(Root(), u"Parent"));
  EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(Root(), u"Parent\\Child"));
  EXPECT_EQ(ERROR_SUCCESS, RegDeleteKeyW(Root(), u"Parent"));
  EXPECT_TRUE(SubKeyNames(Root()).empty());
}

TEST_P(RegistryDeletionTest, DeleteKeyWithEmptyPathDeletesTheKeyItself) {
  UniqueKey key = Create(Root(), u"Self");
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(key.Get(), u""));
  EXPECT_TRUE(SubKeyNames(Root()).empty());
}

TEST_P(RegistryDeletionTest, EveryHandleOfADeletedKeyGivesKeyDeleted) {
  UniqueKey doomed = Create(Root(), u"Doomed");
  UniqueKey below = Create(doomed.Get(), u"Below");
  SetDword(doomed.Get(), u"V", 1);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(Root(), u"Doomed"));
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_KEY_DELETED,
            RegQueryValueExW(doomed.Get(), u"V", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size));
  EXPECT_EQ(ERROR_KEY_DELETED,
            RegSetValueExW(doomed.Get(), u"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  char16_t name[16];
  DWORD length = 16;
  EXPECT_EQ(ERROR_KEY_DELETED, RegEnumKeyExW(doomed.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  length = 16;
  EXPECT_EQ(ERROR_KEY_DELETED, RegEnumValueW(doomed.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_KEY_DELETED, RegQueryInfoKeyW(below.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                nullptr, nullptr, nullptr, nullptr, nullptr));
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_KEY_DELETED,
            RegCreateKeyExW(doomed.Get(), u"New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(doomed.Detach()));
}

// Volatile keys.

TEST_P(RegistryDeletionTest, ChildOfAVolatileKeyMustBeVolatile) {
  UniqueKey parent = Create(Root(), u"Volatile", REG_OPTION_VOLATILE);
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_CHILD_MUST_BE_VOLATILE,
            RegCreateKeyExW(parent.Get(), u"Stable", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  UniqueKey child = Create(parent.Get(), u"Child", REG_OPTION_VOLATILE);
  EXPECT_TRUE(child);
  // An existing key opens whatever the options ask for.
  UniqueKey again = Create(parent.Get(), u"Child");
  EXPECT_TRUE(again);
}

TEST_P(RegistryDeletionTest, SetKeyValueBelowAVolatileKeyNeedsAVolatileSubKey) {
  UniqueKey parent = Create(Root(), u"Volatile", REG_OPTION_VOLATILE);
  DWORD value = 1;
  EXPECT_EQ(ERROR_CHILD_MUST_BE_VOLATILE, RegSetKeyValueW(parent.Get(), u"Missing", u"V", REG_DWORD, &value, 4));
  EXPECT_EQ(ERROR_SUCCESS, RegSetKeyValueW(parent.Get(), nullptr, u"V", REG_DWORD, &value, 4));
}

INSTANTIATE_TEST_SUITE_P(Hives, RegistryDeletionTest, Testing::kBothHives, Testing::HiveName);

}  // namespace
