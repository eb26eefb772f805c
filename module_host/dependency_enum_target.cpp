#include "module_host/dependency_enum_target.h"

#include <exception>

namespace Daemon {

ErrorCode DependencyEnumTarget::RegisterDependency(const Common::GUID& moduleId, const Common::GUID& interfaceId,
                                                   void** interfaceSlot, std::uint32_t flags) {
  DependencyRecord record;
  record.moduleId = moduleId;
  if (interfaceSlot != nullptr) {
    record.interfaceId = interfaceId;
    record.interfaceSlot = interfaceSlot;
  }
  record.flags = flags;
  try {
    m_records.push_back(record);
  } catch (const std::exception& e) {
    return RaiseStlException("DependencyEnumTarget::RegisterDependency", e.what());
  }
  return ErrorNone;
}

}  // namespace Daemon
