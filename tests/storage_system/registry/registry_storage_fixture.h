// The fixture of the registry storage tests: a throwaway registry place, a storage system opened on
// it, the debug channel captured, and direct access to the keys below for setting up and checking.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/registry.h"
#include "storage_system/storage_flags.h"
#include "storage_system/storage_system.h"
#include "storage_system/registry/open_parameters.h"
#include "storage_system/registry/registry_value.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/debug_channel_capture.h"

namespace Testing {

class RegistryStorageTest : public ::testing::Test {
protected:
  RegistryStorageTest();
  void SetUp() override;
  void TearDown() override;

  // The open parameters of a storage system on the sandbox's key, or on `path` below it.
  StorageSystem::Registry::StorageSystemParameters Parameters(const std::u16string& path = u"") const;
  // Opens a further storage system on the sandbox's key (or `path` below it).
  ErrorCode OpenStorage(std::uint32_t flags, StorageSystem::IStorageSystem** result, const std::u16string& path = u"");

  // Whether the debug channel has shown `text` since the start of the test.
  bool Logged(const std::string& text) const { return capture.Text().find(text) != std::string::npos; }
  // How often it has shown `text`.
  int CountLogged(const std::string& text) const;

  // Direct registry access below the sandbox's key, bypassing the storage system.
  Platform::LSTATUS SetRaw(const char16_t* subKey, const char16_t* name, Platform::DWORD type, const void* data,
                           Platform::DWORD size);
  Platform::LSTATUS SetRawDword(const char16_t* subKey, const char16_t* name, Platform::DWORD value);
  Platform::LSTATUS SetRawString(const char16_t* subKey, const char16_t* name, const std::u16string& value);
  // The type and stored bytes of a value; status in `status`.
  struct RawValue {
    Platform::LSTATUS status = 0;
    Platform::DWORD type = 0;
    std::vector<unsigned char> data;
    // The bytes as text up to the first terminator or the end (ASCII in tests).
    std::string AsText() const;
  };
  RawValue GetRaw(const char16_t* subKey, const char16_t* name);
  bool KeyExists(const char16_t* subKey);

  // Opens a value through the storage system's root.
  ErrorCode OpenValue(const char16_t* path, std::uint32_t flags, const ITypeDescription* type,
                      StorageSystem::Registry::IRegistryValue** value, const void* defaultData = nullptr,
                      std::uint32_t defaultSize = 0);

  RegistrySandbox sandbox;
  DebugChannelCapture capture;
  StorageSystem::IStorageSystem* storage = nullptr;

private:
  // The log level before the test, which tests may raise to see notes. Taken at construction, so
  // that a test skipped in its SetUp gives back the level it found.
  int m_logLevel;
};

// The text of a UTF-16 string (ASCII in tests).
std::string Text(const char16_t* text);

// Releases an item at the end of a scope.
template <class T>
class Held {
public:
  Held() = default;
  ~Held() {
    if (item != nullptr) item->Release();
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  T** operator&() { return &item; }
  T* operator->() const { return item; }
  T* get() const { return item; }

  T* item = nullptr;
};

}  // namespace Testing
