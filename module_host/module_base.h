// Daemon::AModule: the base of every daemon module, with the counted life cycle.
//
// Several clients (the daemon and other modules) may hold a module up at once, so Init and Start
// are counted: only the first Init, the first Start, the last Stop and the last Uninit do work.
// Each request writes one trace line. Dependencies declared by EnumDependencies are resolved,
// initialized, started and stopped along. Requests come one at a time from the daemon's control
// thread, so nothing here locks and the counts are plain.
#pragma once

#include <cstdint>
#include <vector>

#include "module_host/dependency_enum_target.h"
#include "module_host/module.h"

namespace Daemon {

class AModule : public Common::CExtensible<IModule>, public IExtensionProvider, public IModuleBehaviour {
public:
  // Bits of m_flags.
  static constexpr std::uint32_t kDependenciesLoaded = 0x1;
  static constexpr std::uint32_t kLoadingDependencies = 0x1000;

  // `name` and `displayName` are borrowed for the module's life.
  AModule(const char16_t* name, const char16_t* displayName);

  void SetManager(IDaemonManager* manager) override;
  const char16_t* GetName() override;
  const char16_t* GetDisplayName() override;
  std::int32_t GetState() override;
  [[nodiscard]] ErrorCode Init(Common::IExtensible* caller) override;
  void Uninit(Common::IExtensible* caller) override;
  [[nodiscard]] ErrorCode Start(Common::IExtensible* caller) override;
  void Stop(Common::IExtensible* caller) override;
  std::int32_t Reserved() override;

  // Code 1 gives the module's event listener; 0, 2, 3 and 4 give null; any other code is reported
  // (ErrorInvalidParameter) and gives null.
  void* GetExtension(std::int32_t code) override;

  // Slot 0 of both IModule and IExtensionProvider: destroys the whole module.
  void* ScalarDeletingDestructor(std::uint32_t flags) override;

protected:
  // Declares the module's dependencies into `target`; a module without dependencies keeps this.
  virtual void EnumDependencies(DependencyEnumTarget& target);

  // Resolves the declared dependencies through the manager, once. Returns ErrorNone, ErrorNotFound
  // (reported) for a required module the daemon lacks, or ErrorStlException.
  [[nodiscard]] ErrorCode LoadDependencies();
  // Initializes the dependencies and fetches their interfaces. Returns ErrorNone, the failing code
  // of a required dependency's Init, or ErrorNotFound (reported) for a required interface.
  [[nodiscard]] ErrorCode InitDependencies();
  void UninitDependencies();
  void StopDependencies();

  std::uint32_t Flags() const { return m_flags; }
  std::int32_t InitCount() const { return m_initCount; }
  std::int32_t StartCount() const { return m_startCount; }
  const std::vector<DependencyRecord>& Dependencies() const { return m_dependencies; }

private:
  void Trace(const char16_t* request, Common::IExtensible* caller);
  void NotifyStateChanged();

  IDaemonManager* m_manager = nullptr;
  const char16_t* m_name;
  const char16_t* m_displayName;
  std::vector<DependencyRecord> m_dependencies;
  std::uint32_t m_flags = 0;
  std::int32_t m_initCount = 0;
  std::int32_t m_startCount = 0;
};

}  // namespace Daemon
