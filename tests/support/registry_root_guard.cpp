// Part of every test program: a program started by hand, without the registry folder that CTest
// names for each test, gets a fresh temporary one for its whole life before any test runs, so that
// no test ever reaches the developer's own registry. The folder goes when the program ends.
#include <memory>

#include "platform/environment.h"
#include "tests/support/temporary_registry_folder.h"

namespace {

std::unique_ptr<Testing::TemporaryRegistryFolder> FolderUnlessNamed() {
  if (Platform::GetEnvironmentVariableW(u"HALCYRA_REGISTRY_ROOT", nullptr, 0) != 0) return nullptr;
  return std::make_unique<Testing::TemporaryRegistryFolder>();
}

const std::unique_ptr<Testing::TemporaryRegistryFolder> g_folder = FolderUnlessNamed();

}  // namespace
