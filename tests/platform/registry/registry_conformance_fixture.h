// What the registry conformance tests share: a fixture that runs each test in a throwaway key, once
// below HKEY_CURRENT_USER and once below HKEY_LOCAL_MACHINE (instantiate each suite with kBothHives
// and HiveName), and small helpers for keys and values (the bytes of
// text values: tests/support/registry_bytes.h).
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "tests/support/registry_bytes.h"
#include "tests/support/registry_sandbox.h"

namespace Testing {

struct HiveParameter {
  const char* name;
  Platform::HKEY hive;
};

class RegistryConformanceTest : public ::testing::TestWithParam<HiveParameter> {
protected:
  void SetUp() override {
    m_sandbox = std::make_unique<RegistrySandbox>(GetParam().hive);
    ASSERT_TRUE(m_sandbox->Ready());
  }
  void TearDown() override { m_sandbox.reset(); }

  Platform::HKEY Root() const { return m_sandbox->Root(); }

  Platform::UniqueKey Create(Platform::HKEY parent, const char16_t* path, Platform::DWORD options = 0,
                             Platform::REGSAM access = Platform::KEY_ALL_ACCESS) {
    Platform::UniqueKey key;
    EXPECT_EQ(Platform::ERROR_SUCCESS,
              Platform::RegCreateKeyExW(parent, path, 0, nullptr, options, access, nullptr, key.Put(), nullptr));
    return key;
  }

  Platform::UniqueKey Open(Platform::HKEY parent, const char16_t* path,
                           Platform::REGSAM access = Platform::KEY_ALL_ACCESS) {
    Platform::UniqueKey key;
    EXPECT_EQ(Platform::ERROR_SUCCESS, Platform::RegOpenKeyExW(parent, path, 0, access, key.Put()));
    return key;
  }

  void SetDword(Platform::HKEY key, const char16_t* name, Platform::DWORD value) {
    ASSERT_EQ(Platform::ERROR_SUCCESS, Platform::RegSetValueExW(key, name, 0, Platform::REG_DWORD,
                                                                reinterpret_cast<const Platform::BYTE*>(&value), 4));
  }

  void SetBytes(Platform::HKEY key, const char16_t* name, Platform::DWORD type,
                const std::vector<Platform::BYTE>& bytes) {
    ASSERT_EQ(Platform::ERROR_SUCCESS,
              Platform::RegSetValueExW(key, name, 0, type, bytes.data(), static_cast<Platform::DWORD>(bytes.size())));
  }

  std::vector<std::u16string> SubKeyNames(Platform::HKEY key) {
    std::vector<std::u16string> names;
    for (Platform::DWORD index = 0;; ++index) {
      char16_t name[256];
      Platform::DWORD length = 256;
      Platform::LSTATUS status = Platform::RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
      if (status == Platform::ERROR_NO_MORE_ITEMS) break;
      EXPECT_EQ(Platform::ERROR_SUCCESS, status);
      if (status != Platform::ERROR_SUCCESS) break;
      names.emplace_back(name, length);
    }
    return names;
  }

  std::unique_ptr<RegistrySandbox> m_sandbox;
};

inline const auto kBothHives = ::testing::Values(HiveParameter{"CurrentUser", Platform::HKEY_CURRENT_USER},
                                                 HiveParameter{"LocalMachine", Platform::HKEY_LOCAL_MACHINE});

inline std::string HiveName(const ::testing::TestParamInfo<HiveParameter>& info) { return info.param.name; }

}  // namespace Testing
