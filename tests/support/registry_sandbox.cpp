#include "tests/support/registry_sandbox.h"

#include <chrono>
#include <cstdio>
#include <random>

#include "platform/utf.h"

namespace Testing {

RegistrySandbox::RegistrySandbox(Platform::HKEY hive) : m_hive(hive) {
  ReopenRegistry();
  std::random_device device;
  std::mt19937_64 random(device() ^
                         static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
  char name[32];
  std::snprintf(name, sizeof(name), "%016llx", static_cast<unsigned long long>(random()));
  m_rootPath = u"Software\\HalcyraTests\\" + Platform::Utf8ToUtf16(name);
  Platform::HKEY root = nullptr;
  if (Platform::RegCreateKeyExW(m_hive, m_rootPath.c_str(), 0, nullptr, 0, Platform::KEY_ALL_ACCESS, nullptr, &root,
                                nullptr) == Platform::ERROR_SUCCESS) {
    m_root = root;
  }
}

RegistrySandbox::~RegistrySandbox() {
  if (m_root != nullptr) Platform::RegCloseKey(m_root);
  Platform::RegDeleteTreeW(m_hive, m_rootPath.c_str());
  // The hives of the folder go before the folder does; the next registry call opens the folder that
  // was named before the sandbox.
  ReopenRegistry();
}

std::string RegistrySandbox::RootCommandPath() const {
  return (m_hive == Platform::HKEY_LOCAL_MACHINE ? "HKLM\\" : "HKCU\\") + Platform::Utf16ToUtf8(m_rootPath);
}

}  // namespace Testing
