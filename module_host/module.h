// What the daemon sees of a module, and the daemon's side that a module calls.
//
// The slot order of each interface is part of the contract with the daemon: do not reorder.
#pragma once

#include "foundation/error.h"
#include "foundation/extensible.h"

namespace Daemon {

class IDaemonManager;
class IModuleEventListener;

// A module of the daemon, with a counted life cycle: only the first Init and Start and the last
// Stop and Uninit do work. Requests on one module come from the daemon one at a time.
class IModule : public Common::IExtensible {
public:
  // Stores the daemon's manager (not owned); called before Init.
  virtual void SetManager(IDaemonManager* manager) = 0;
  virtual const char16_t* GetName() = 0;
  virtual const char16_t* GetDisplayName() = 0;
  // 2 while started, else 1 while initialised, else 0.
  virtual std::int32_t GetState() = 0;
  // `caller` is the requesting object (module, manager or other extensible object), never null.
  [[nodiscard]] virtual ErrorCode Init(Common::IExtensible* caller) = 0;
  virtual void Uninit(Common::IExtensible* caller) = 0;
  [[nodiscard]] virtual ErrorCode Start(Common::IExtensible* caller) = 0;
  virtual void Stop(Common::IExtensible* caller) = 0;
  virtual std::int32_t Reserved() = 0;
};

// The daemon's manager. Only FindModule and OnModuleStateChanged are called by modules; the other
// slots hold the daemon's own operations.
class IDaemonManager {
public:
  virtual void Unused0() = 0;
  virtual void Unused1() = 0;
  // The daemon's module with that CLSID, or null.
  virtual IModule* FindModule(const Common::GUID* clsid) = 0;
  virtual void Unused3() = 0;
  virtual void OnModuleStateChanged() = 0;
};

// Gives out optional parts of a module by code: 1 is the module's event listener.
class IExtensionProvider {
public:
  virtual ~IExtensionProvider() = default;
  virtual void* GetExtension(std::int32_t code) = 0;
};

// Receives events of the daemon. The record's first field is the 32-bit event code.
struct ModuleEvent {
  std::int32_t code;
};

class IModuleEventListener {
public:
  virtual ~IModuleEventListener() = default;
  [[nodiscard]] virtual ErrorCode HandleEvent(const ModuleEvent* event) = 0;
};

// The operations a concrete module overrides; every default body returns 0 (or null).
class IModuleBehaviour {
public:
  virtual ~IModuleBehaviour() = default;
  virtual std::int32_t Reserved1() { return 0; }
  virtual std::int32_t Reserved2() { return 0; }
  // Runs at the first Start, after all dependencies are started.
  [[nodiscard]] virtual ErrorCode OnStart() { return ErrorNone; }
  // Runs at the last Stop, before the dependencies are stopped.
  virtual void OnStop() {}
  virtual std::int32_t Reserved3() { return 0; }
  virtual std::int32_t Reserved4() { return 0; }
  virtual IModuleEventListener* GetEventListener() { return nullptr; }
  virtual std::int32_t Reserved5() { return 0; }
  virtual std::int32_t Reserved6() { return 0; }
  virtual std::int32_t Reserved7() { return 0; }
  virtual std::int32_t Reserved8() { return 0; }
};

}  // namespace Daemon

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<Daemon::IModule> =
    "Common::CExtensible<class Daemon::IModule>::RegisterInterfaceBase";
