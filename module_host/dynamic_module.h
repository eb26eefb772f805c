// The handles through which the daemon holds the library's modules.
#pragma once

#include <cstdint>
#include <map>

#include "foundation/boundary_object.h"
#include "module_host/module.h"

namespace DynamicModuleHost {

// What the daemon receives from CreateModule. Slot order is part of the contract: 0 deleting
// destructor, 1 GetVersion, 2 GetModule.
class IDynamicModule : public Common::IBoundaryObject {
public:
  // 0x01010000 for every handle.
  virtual std::uint32_t GetVersion() = 0;
  // The wrapped module; not owned by the handle.
  virtual Daemon::IModule* GetModule() = 0;

protected:
  ~IDynamicModule() = default;
};
static_assert(Common::kIsBoundaryInterface<IDynamicModule>);

constexpr std::uint32_t kDynamicModuleVersion = 0x01010000;

// The one handle implementation: a module pointer it does not own.
class CDynamicModule final : public Common::CBoundaryObjectT<IDynamicModule> {
public:
  explicit CDynamicModule(Daemon::IModule* module) : m_module(module) {}
  std::uint32_t GetVersion() override { return kDynamicModuleVersion; }
  Daemon::IModule* GetModule() override { return m_module; }

private:
  Daemon::IModule* m_module;
};

// Hands out one handle per module, made on first request and owned by the manager until process
// exit. Used only inside the guarded one-time build of the module table, so it takes no lock.
class CDynamicModuleManager {
public:
  // The handle of `module`, created on first request; null (reported as ErrorOutOfMemory) when no
  // memory is left.
  static IDynamicModule* GetDynamicModuleM(Daemon::IModule* module);
};

}  // namespace DynamicModuleHost
