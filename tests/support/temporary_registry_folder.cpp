#include "tests/support/temporary_registry_folder.h"

#include <chrono>
#include <filesystem>
#include <random>
#include <system_error>

#include "platform/environment.h"
#include "platform/utf.h"

namespace Testing {

namespace {

constexpr const char16_t* kVariable = u"HALCYRA_REGISTRY_ROOT";

std::filesystem::path NewFolder() {
  std::random_device device;
  std::mt19937_64 random(device() ^
                         static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
  std::error_code error;
  const std::filesystem::path base = std::filesystem::temp_directory_path(error);
  if (error) return {};
  for (int attempt = 0; attempt < 16; ++attempt) {
    std::filesystem::path folder = base / ("halcyra-test-registry-" + std::to_string(random()));
    if (std::filesystem::create_directory(folder, error)) return folder;
  }
  return {};
}

}  // namespace

TemporaryRegistryFolder::TemporaryRegistryFolder() {
  char16_t previous[4096];
  Platform::DWORD length = Platform::GetEnvironmentVariableW(kVariable, previous, 4096);
  m_hadPrevious = length > 0 && length < 4096;
  if (m_hadPrevious) m_previous.assign(previous, length);
  m_path = NewFolder().string();
  if (!m_path.empty()) Platform::SetEnvironmentVariableW(kVariable, Platform::Utf8ToUtf16(m_path).c_str());
}

TemporaryRegistryFolder::~TemporaryRegistryFolder() {
  Platform::SetEnvironmentVariableW(kVariable, m_hadPrevious ? m_previous.c_str() : nullptr);
  if (m_path.empty()) return;
  // Tests may have taken rights off the folder.
  std::error_code ignored;
  std::filesystem::permissions(m_path, std::filesystem::perms::owner_all, ignored);
  std::filesystem::remove_all(m_path, ignored);
}

}  // namespace Testing
