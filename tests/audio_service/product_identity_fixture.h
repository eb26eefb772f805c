// What the product identity tests share: a fresh registry (its own folder on Linux) without the
// product's keys "SOFTWARE\Velorin" of the machine hive, no answers chosen for the stand-in of
// "ProductInfo.dll" (its environment variables unset), and the debug channel captured. Everything
// the tests write is removed again.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "foundation/log.h"
#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "tests/support/debug_channel_capture.h"

namespace Testing {

inline constexpr const char16_t* kCohabitationKey = u"SOFTWARE\\Velorin";
// Where the tests' own products keep their trees, in either hive.
inline constexpr const char16_t* kIdentityTestsKey = u"Software\\HalcyraTests\\Identity";

inline constexpr const char16_t* kStandInVariables[] = {
    u"HALCYRA_TEST_COMPANY",       u"HALCYRA_TEST_PRODUCT",     u"HALCYRA_TEST_VERSION_MAJOR",
    u"HALCYRA_TEST_VERSION_MINOR", u"HALCYRA_TEST_INFO_RESULT", u"HALCYRA_TEST_INFO_TEXT",
    u"HALCYRA_TEST_INFO_TYPE",     u"HALCYRA_TEST_INFO_ASKED",  u"HALCYRA_TEST_CALLS",
};

class ProductIdentityTest : public ::testing::Test {
protected:
  ProductIdentityTest() : m_clean((Clean(), 0)) {}
  ~ProductIdentityTest() override { Clean(); }

  static void Clean() {
    Platform::RegDeleteTreeW(Platform::HKEY_LOCAL_MACHINE, kCohabitationKey);
    Platform::RegDeleteTreeW(Platform::HKEY_LOCAL_MACHINE, kIdentityTestsKey);
    Platform::RegDeleteTreeW(Platform::HKEY_CURRENT_USER, kIdentityTestsKey);
    for (const char16_t* name : kStandInVariables) Platform::SetEnvironmentVariableW(name, nullptr);
  }

  static void SetVariable(const char16_t* name, const char16_t* value) {
    ASSERT_TRUE(Platform::SetEnvironmentVariableW(name, value));
  }

  static std::u16string Variable(const char16_t* name) {
    char16_t buffer[1024];
    const Platform::DWORD length = Platform::GetEnvironmentVariableW(name, buffer, 1024);
    return length > 0 && length < 1024 ? std::u16string(buffer, length) : std::u16string();
  }

  // Writes a DWORD into the machine hive, creating the key.
  static void SetMachineNumber(const std::u16string& subKey, const char16_t* name, Platform::DWORD value) {
    Platform::UniqueKey key;
    ASSERT_EQ(Platform::RegCreateKeyExW(Platform::HKEY_LOCAL_MACHINE, subKey.c_str(), 0, nullptr, 0,
                                        Platform::KEY_ALL_ACCESS, nullptr, key.Put(), nullptr),
              Platform::ERROR_SUCCESS);
    ASSERT_EQ(Platform::RegSetValueExW(key.Get(), name, 0, Platform::REG_DWORD,
                                       reinterpret_cast<const Platform::BYTE*>(&value), sizeof(value)),
              Platform::ERROR_SUCCESS);
  }

  static void CreateMachineKey(const std::u16string& subKey) {
    Platform::UniqueKey key;
    ASSERT_EQ(Platform::RegCreateKeyExW(Platform::HKEY_LOCAL_MACHINE, subKey.c_str(), 0, nullptr, 0,
                                        Platform::KEY_ALL_ACCESS, nullptr, key.Put(), nullptr),
              Platform::ERROR_SUCCESS);
  }

  static bool KeyExists(Platform::HKEY root, const std::u16string& path) {
    Platform::UniqueKey key;
    return Platform::RegOpenKeyExW(root, path.c_str(), 0, Platform::KEY_READ, key.Put()) == Platform::ERROR_SUCCESS;
  }

  bool Logged(const std::string& text) const { return capture.Text().find(text) != std::string::npos; }

private:
  int m_clean;

protected:
  DebugChannelCapture capture;
};

}  // namespace Testing
