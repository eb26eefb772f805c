// The dependencies that a module declares: which modules it needs, and which of their interfaces.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/error.h"
#include "foundation/guid.h"
#include "module_host/module.h"

namespace Daemon {

constexpr std::uint32_t kDependencyOptional = 0x1;

// One declared dependency. `module` is resolved by the daemon's manager; `interfaceSlot`, owned by
// the depending module, receives the wanted interface while the dependency is initialized.
struct DependencyRecord {
  Common::GUID moduleId;
  IModule* module = nullptr;
  Common::GUID interfaceId;
  void** interfaceSlot = nullptr;
  std::uint32_t flags = 0;
};

// Collects a module's dependency declarations, in the order they are made. Lives on the stack of
// the loading of dependencies; used on the daemon's control thread only.
class DependencyEnumTarget {
public:
  virtual ~DependencyEnumTarget() = default;

  // Appends a record. An `interfaceId` without a slot is dropped. Returns ErrorNone, or
  // ErrorStlException (reported) when the vector cannot grow.
  [[nodiscard]] virtual ErrorCode RegisterDependency(const Common::GUID& moduleId, const Common::GUID& interfaceId,
                                                     void** interfaceSlot, std::uint32_t flags);

  std::vector<DependencyRecord>& Records() { return m_records; }

private:
  std::vector<DependencyRecord> m_records;
};

}  // namespace Daemon
