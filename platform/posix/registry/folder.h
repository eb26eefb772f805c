// Where the registry of this machine lives, and which boot it is.
#pragma once

#include <string>

namespace Platform::Posix {

// The registry folder: $HALCYRA_REGISTRY_ROOT, else $XDG_STATE_HOME/halcyra/registry, else
// ~/.local/state/halcyra/registry. Read anew at every call. The folder is not created here.
std::string RegistryFolder();

// Creates `folder` and its missing parents (mode 0700). Returns whether it exists afterwards.
bool MakeFolder(const std::string& folder);

// The identifier of the running boot (/proc/sys/kernel/random/boot_id), which volatile keys are
// tied to. Empty when the kernel does not tell.
std::string CurrentBootId();

}  // namespace Platform::Posix
