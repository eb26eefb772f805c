// The access rights of registry handles as Windows documents them, the 64-bit view and the
// security of keys. Each test runs once below
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

class RegistryAccessTest : public Testing::RegistryConformanceTest {};

// Access rights of handles.

TEST_P(RegistryAccessTest, WritingThroughAReadHandleIsAccessDenied) {
  SetDword(Root(), u"V", 1);
  UniqueKey reader = Open(Root(), nullptr, KEY_READ);
  DWORD value = 2;
  EXPECT_EQ(ERROR_ACCESS_DENIED,
            RegSetValueExW(reader.Get(), u"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetKeyValueW(reader.Get(), nullptr, u"V", REG_DWORD, &value, 4));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteValueW(reader.Get(), u"V"));
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(reader.Get(), nullptr, u"V", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(1u, read);
}

TEST_P(RegistryAccessTest, ReadingThroughAWriteHandleIsAccessDenied) {
  SetDword(Root(), u"V", 1);
  UniqueKey writer = Open(Root(), nullptr, KEY_SET_VALUE);
  DWORD value = 0, size = 4;
  EXPECT_EQ(ERROR_ACCESS_DENIED,
            RegQueryValueExW(writer.Get(), u"V", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size));
  char16_t name[8];
  DWORD length = 8;
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegEnumKeyExW(writer.Get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(writer.Get(), u"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
}

TEST_P(RegistryAccessTest, ParentRightsDoNotLimitCreatingOrOpeningSubKeys) {
  UniqueKey notify = Create(Root(), u"Parent", 0, KEY_NOTIFY);
  UniqueKey child;
  EXPECT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(notify.Get(), u"Child", 0, nullptr, 0, KEY_SET_VALUE, nullptr, child.Put(), nullptr));
  UniqueKey opened;
  EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(notify.Get(), u"Child", 0, KEY_READ, opened.Put()));
}

TEST_P(RegistryAccessTest, SixtyFourBitViewFlagIsAccepted) {
  UniqueKey key = Create(Root(), u"View", 0, KEY_READ | KEY_WRITE | KEY_WOW64_64KEY);
  DWORD value = 3;
  EXPECT_EQ(ERROR_SUCCESS, RegSetValueExW(key.Get(), u"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4));
  UniqueKey again = Open(Root(), u"View", 0x20119);
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(again.Get(), nullptr, u"V", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(3u, read);
}

TEST_P(RegistryAccessTest, SecurityOfAKeyCanBeSet) {
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
            RegCreateKeyExW(Root(), u"Secured", 0, nullptr, 0, KEY_ALL_ACCESS, &attributes, secured.Put(), nullptr));
  DWORD length = 0;
  ASSERT_EQ(ERROR_SUCCESS, RegQueryInfoKeyW(secured.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, &length, nullptr));
  EXPECT_NE(0u, length);
  LocalFree(descriptor);
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegSetKeySecurity(Root(), DACL_SECURITY_INFORMATION, nullptr));
}

INSTANTIATE_TEST_SUITE_P(Hives, RegistryAccessTest, Testing::kBothHives, Testing::HiveName);

}  // namespace
