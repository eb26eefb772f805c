#include "tests/platform/registry/registry_sandbox.h"

#include <chrono>
#include <cstdio>
#include <random>

namespace Testing {

std::string Narrow(const std::u16string& text) {
  std::string out;
  for (char16_t c : text) out += static_cast<char>(c < 0x80 ? c : '?');
  return out;
}

std::u16string Widen(const std::string& text) {
  std::u16string out;
  for (char c : text) out += static_cast<char16_t>(static_cast<unsigned char>(c));
  return out;
}

RegistrySandbox::RegistrySandbox(Platform::HKEY hive) : m_folder(CreateRegistryFolder()), m_hive(hive) {
  std::random_device device;
  std::mt19937_64 random(device() ^ static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
  char name[32];
  std::snprintf(name, sizeof(name), "%016llx", static_cast<unsigned long long>(random()));
  m_rootPath = u"Software\\HalcyraTests\\" + Widen(name);
  Platform::HKEY root = nullptr;
  if (Platform::RegCreateKeyExW(m_hive, m_rootPath.c_str(), 0, nullptr, 0,
                                Platform::KEY_ALL_ACCESS, nullptr, &root, nullptr) == Platform::ERROR_SUCCESS) {
    m_root = root;
  }
}

RegistrySandbox::~RegistrySandbox() {
  if (m_root != nullptr) Platform::RegCloseKey(m_root);
  Platform::RegDeleteTreeW(m_hive, m_rootPath.c_str());
  RemoveRegistryFolder(m_folder);
}

std::string RegistrySandbox::RootCommandPath() const {
  return (m_hive == Platform::HKEY_LOCAL_MACHINE ? "HKLM\\" : "HKCU\\") + Narrow(m_rootPath);
}

}  // namespace Testing
