#include "tests/storage_system/registry/registry_storage_fixture.h"

#include "foundation/log.h"
#include "storage_system/heap_allocator.h"
#include "storage_system/registry/storage_system.h"

namespace Testing {

RegistryStorageTest::RegistryStorageTest() : m_logLevel(LogGetLevel()) {}

void RegistryStorageTest::SetUp() {
  ASSERT_TRUE(sandbox.Ready());
  ASSERT_EQ(OpenStorage(StorageSystem::SF_READ | StorageSystem::SF_WRITE, &storage), ErrorNone) << capture.Text();
}

void RegistryStorageTest::TearDown() {
  if (storage != nullptr) storage->Release();
  storage = nullptr;
  LogSetLevel(m_logLevel);
}

StorageSystem::Registry::StorageSystemParameters RegistryStorageTest::Parameters(const std::u16string& path) const {
  static thread_local std::u16string full;
  full = sandbox.RootPath();
  if (!path.empty()) full += u"\\" + path;
  return {sandbox.Hive(), full.c_str(), Platform::KEY_WOW64_64KEY, nullptr, StorageSystem::GetProcessAllocator(), 0};
}

ErrorCode RegistryStorageTest::OpenStorage(std::uint32_t flags, StorageSystem::IStorageSystem** result,
                                           const std::u16string& path) {
  return StorageSystem::Registry::OpenStorageSystem(Parameters(path), result, flags, nullptr, false);
}

int RegistryStorageTest::CountLogged(const std::string& text) const {
  const std::string all = capture.Text();
  int count = 0;
  for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + text.size())) ++count;
  return count;
}

Platform::LSTATUS RegistryStorageTest::SetRaw(const char16_t* subKey, const char16_t* name, Platform::DWORD type,
                                              const void* data, Platform::DWORD size) {
  return Platform::RegSetKeyValueW(sandbox.Root(), subKey, name, type, data, size);
}

Platform::LSTATUS RegistryStorageTest::SetRawDword(const char16_t* subKey, const char16_t* name,
                                                   Platform::DWORD value) {
  return SetRaw(subKey, name, Platform::REG_DWORD, &value, sizeof value);
}

Platform::LSTATUS RegistryStorageTest::SetRawString(const char16_t* subKey, const char16_t* name,
                                                    const std::u16string& value) {
  return SetRaw(subKey, name, Platform::REG_SZ, value.c_str(),
                static_cast<Platform::DWORD>((value.size() + 1) * sizeof(char16_t)));
}

RegistryStorageTest::RawValue RegistryStorageTest::GetRaw(const char16_t* subKey, const char16_t* name) {
  // The bytes as stored, without the terminators that RegGetValueW would add to strings.
  RawValue raw;
  Platform::HKEY key = nullptr;
  raw.status = Platform::RegOpenKeyExW(sandbox.Root(), subKey, 0, Platform::KEY_READ, &key);
  if (raw.status != Platform::ERROR_SUCCESS) return raw;
  Platform::DWORD size = 0;
  raw.status = Platform::RegQueryValueExW(key, name, nullptr, &raw.type, nullptr, &size);
  if (raw.status == Platform::ERROR_SUCCESS) {
    raw.data.resize(size);
    raw.status = Platform::RegQueryValueExW(key, name, nullptr, &raw.type, raw.data.data(), &size);
    raw.data.resize(size);
  }
  Platform::RegCloseKey(key);
  return raw;
}

std::string RegistryStorageTest::RawValue::AsText() const {
  std::string text;
  for (std::size_t i = 0; i + 1 < data.size(); i += 2) {
    const char16_t character = static_cast<char16_t>(data[i] | (data[i + 1] << 8));
    if (character == 0) break;
    text += static_cast<char>(character);
  }
  return text;
}

bool RegistryStorageTest::KeyExists(const char16_t* subKey) {
  Platform::HKEY key = nullptr;
  if (Platform::RegOpenKeyExW(sandbox.Root(), subKey, 0, Platform::KEY_READ, &key) != Platform::ERROR_SUCCESS) {
    return false;
  }
  Platform::RegCloseKey(key);
  return true;
}

ErrorCode RegistryStorageTest::OpenValue(const char16_t* path, std::uint32_t flags, const ITypeDescription* type,
                                         StorageSystem::Registry::IRegistryValue** value, const void* defaultData,
                                         std::uint32_t defaultSize) {
  return storage->OpenValue(path, value, flags, type, defaultData, defaultSize);
}

std::string Text(const char16_t* text) {
  std::string out;
  if (text == nullptr) return "<null>";
  for (; *text != 0; ++text) out += static_cast<char>(*text);
  return out;
}

}  // namespace Testing
