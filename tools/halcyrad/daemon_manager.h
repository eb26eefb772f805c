// The daemon's manager as halcyrad implements it: it answers for the manager's identity, so that
// request traces name it "daemon manager", finds the modules it loaded, and counts state changes.
#pragma once

#include <atomic>

#include "foundation/extensible.h"
#include "module_host/module.h"

class DaemonManager final : public Common::CBoundaryObjectT<Daemon::IDaemonManager> {
public:
  // `module` and `clsid`: the one module this host drives; borrowed.
  DaemonManager(Daemon::IModule* module, const Common::GUID& clsid) : m_module(module), m_clsid(clsid) {}

  void* GetInterface(const Common::GUID* iid) override;

  Daemon::IModule* FindModule(const Common::GUID* clsid) override;
  void Unused3() override {}
  void OnModuleStateChanged() override { ++m_stateChanges; }

  int StateChanges() const { return m_stateChanges; }

private:
  Daemon::IModule* m_module;
  Common::GUID m_clsid;
  std::atomic<int> m_stateChanges{0};
};
