// The Linux part of the sandbox: a fresh registry folder for each test.
#include <stdlib.h>

#include <filesystem>

#include "platform/environment.h"
#include "platform/posix/registry/state.h"
#include "tests/platform/registry/registry_sandbox.h"

namespace Testing {

bool RegistrySandbox::HasRegistryFolder() { return true; }

std::string RegistrySandbox::CreateRegistryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "halcyra-registry-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) return {};
  Platform::SetEnvironmentVariableW(u"HALCYRA_REGISTRY_ROOT", Widen(pattern).c_str());
  ReopenRegistry();
  return pattern;
}

void RegistrySandbox::RemoveRegistryFolder(const std::string& folder) {
  ReopenRegistry();
  if (folder.empty()) return;
  std::error_code ignored;
  std::filesystem::permissions(folder, std::filesystem::perms::owner_all, ignored);
  std::filesystem::remove_all(folder, ignored);
}

void RegistrySandbox::ReopenRegistry(const char* bootId) { Platform::Posix::ResetRegistryForTests(bootId); }

}  // namespace Testing
