// What the product storage tests share: a fresh registry (its own folder on Linux), a product
// identity of the tests' own whose tree lies below "Software\HalcyraTests\ProductStorage" and is removed after
// each test, and the debug channel captured with the log at info level.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "foundation/log.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "storage_system/product_desc.h"
#include "tests/support/debug_channel_capture.h"

namespace Testing {

inline constexpr const char16_t* kTestsKey = u"Software\\HalcyraTests\\ProductStorage";

class ProductStorageTest : public ::testing::Test {
protected:
  ProductStorageTest() : m_clean((RemoveKeys(), 0)) { LogSetLevel(LogLevelInfo); }
  ~ProductStorageTest() override {
    LogSetLevel(LogLevelWarning);
    RemoveKeys();
  }

  static void RemoveKeys() {
    Platform::RegDeleteTreeW(Platform::HKEY_CURRENT_USER, kTestsKey);
    Platform::RegDeleteTreeW(Platform::HKEY_LOCAL_MACHINE, kTestsKey);
  }

  static bool KeyExists(Platform::HKEY root, const std::u16string& path) {
    Platform::UniqueKey key;
    return Platform::RegOpenKeyExW(root, path.c_str(), 0, Platform::KEY_READ, key.Put()) == Platform::ERROR_SUCCESS;
  }

  int CountLogged(const std::string& text) const {
    const std::string all = capture.Text();
    int count = 0;
    for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + text.size())) ++count;
    return count;
  }

  // "Software\HalcyraTests\ProductStorage\Tree".
  DataSystem::ProductDesc desc{u"HalcyraTests\\ProductStorage", u"Tree", u"1", u"0", 0};

private:
  int m_clean;

protected:
  DebugChannelCapture capture;
};

}  // namespace Testing
