// The Windows part of the sandbox: the machine's own registry, with nothing to reopen.
#include "tests/support/registry_sandbox.h"

namespace Testing {

bool RegistrySandbox::HasRegistryFolder() { return false; }

void RegistrySandbox::ReopenRegistry(const char*) {}

}  // namespace Testing
