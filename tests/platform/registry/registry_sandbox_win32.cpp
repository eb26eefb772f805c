// The Windows part of the sandbox: the machine's own registry, with nothing to prepare.
#include "tests/platform/registry/registry_sandbox.h"

namespace Testing {

bool RegistrySandbox::HasRegistryFolder() { return false; }

std::string RegistrySandbox::CreateRegistryFolder() { return {}; }

void RegistrySandbox::RemoveRegistryFolder(const std::string&) {}

void RegistrySandbox::ReopenRegistry(const char*) {}

}  // namespace Testing
