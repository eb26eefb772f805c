#include "tools/halcyrad/daemon_manager.h"

void* DaemonManager::GetInterface(const Common::GUID* iid) {
  if (*iid == Daemon::IID_IDaemonManager) return static_cast<Daemon::IDaemonManager*>(this);
  if (*iid == Common::IID_IExtensible) return static_cast<Common::IExtensible*>(this);
  return nullptr;
}

Daemon::IModule* DaemonManager::FindModule(const Common::GUID* clsid) { return *clsid == m_clsid ? m_module : nullptr; }
