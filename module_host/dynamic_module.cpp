#include "module_host/dynamic_module.h"

#include <memory>
#include <new>

namespace DynamicModuleHost {
namespace {

// Ordered by the module's address as a machine word; destroys its handles at process exit through
// their deleting destructor, as the daemon would.
using HandleMap = std::map<std::uintptr_t, std::unique_ptr<IDynamicModule, Common::BoundaryObjectDeleter>>;

HandleMap& Handles() {
  static HandleMap handles;
  return handles;
}

}  // namespace

IDynamicModule* CDynamicModuleManager::GetDynamicModuleM(Daemon::IModule* module) {
  HandleMap& handles = Handles();
  const auto key = reinterpret_cast<std::uintptr_t>(module);
  auto found = handles.find(key);
  if (found != handles.end()) return found->second.get();
  try {
    std::unique_ptr<IDynamicModule, Common::BoundaryObjectDeleter> handle(new CDynamicModule(module));
    IDynamicModule* result = handle.get();
    handles.emplace(key, std::move(handle));
    return result;
  } catch (const std::bad_alloc&) {
    static_cast<void>(
        RaiseError("DynamicModuleHost::CDynamicModuleManager::GetDynamicModuleM", ErrorOutOfMemory, nullptr));
    return nullptr;
  }
}

}  // namespace DynamicModuleHost
