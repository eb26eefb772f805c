// The Linux part of the sandbox: the registry of the sandbox's own folder.
#include "platform/posix/registry/state.h"
#include "tests/support/registry_sandbox.h"

namespace Testing {

bool RegistrySandbox::HasRegistryFolder() { return true; }

void RegistrySandbox::ReopenRegistry(const char* bootId) { Platform::Posix::ResetRegistryForTests(bootId); }

}  // namespace Testing
