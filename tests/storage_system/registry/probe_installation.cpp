// The pool probe and the registry probe stand in the platform's test seam for the whole life of this
// suite's program, from before its first test.
#include "platform/test_seam.h"
#include "tests/storage_system/registry/pool_probe.h"
#include "tests/storage_system/registry/registry_probe.h"

namespace {

Platform::TestSeam::Hooks BothProbes() {
  Platform::TestSeam::Hooks hooks;
  Testing::PoolProbe::AddHooks(hooks);
  Testing::RegistryProbe::AddHooks(hooks);
  return hooks;
}

const Platform::TestSeam::Hooks g_probes = BothProbes();
const bool g_installed = (Platform::TestSeam::Install(&g_probes), true);

}  // namespace
