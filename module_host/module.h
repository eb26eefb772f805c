// What the daemon sees of a module, and the daemon's side that a module calls.
//
// The slot order of each interface is part of the contract with the daemon: do not reorder. The
// daemon is built with Microsoft's compiler, so every interface here except IModuleBehaviour, which
// the daemon never sees, keeps the boundary's layout (foundation/boundary_object.h): slot 0 is the
// scalar deleting destructor and the operations follow in the order given.
#pragma once

#include "foundation/boundary_object.h"
#include "foundation/error.h"
#include "foundation/extensible.h"
#include "module_host/interface_ids.h"

namespace Daemon {

class IDaemonManager;
class IModuleEventListener;

// A module of the daemon, with a counted life cycle: only the first Init and Start and the last
// Stop and Uninit do work. Requests on one module come from the daemon one at a time. Slots:
// 0 deleting destructor, 1 GetInterface, then SetManager (2) to Reserved (10) as below.
class IModule : public Common::IExtensible {
public:
  // Stores the daemon's manager (not owned); called before Init.
  virtual void SetManager(IDaemonManager* manager) = 0;
  virtual const char16_t* GetName() = 0;
  virtual const char16_t* GetDisplayName() = 0;
  // 2 while started, else 1 while initialized, else 0.
  virtual std::int32_t GetState() = 0;
  // `caller` is the requesting object (module, manager or other extensible object), never null.
  [[nodiscard]] virtual ErrorCode Init(Common::IExtensible* caller) = 0;
  virtual void Uninit(Common::IExtensible* caller) = 0;
  [[nodiscard]] virtual ErrorCode Start(Common::IExtensible* caller) = 0;
  virtual void Stop(Common::IExtensible* caller) = 0;
  virtual std::int32_t Reserved() = 0;

protected:
  ~IModule() = default;
};
static_assert(Common::kIsBoundaryInterface<IModule>);

// The daemon's manager, implemented by the daemon. It is an extensible object that answers for
// IID_IDaemonManager (slots 0 and 1); modules call only FindModule (slot 2) and
// OnModuleStateChanged (slot 4). Slot 3 holds an operation of the daemon's own.
class IDaemonManager : public Common::IExtensible {
public:
  // The daemon's module with that CLSID, or null.
  virtual IModule* FindModule(const Common::GUID* clsid) = 0;
  virtual void Unused3() = 0;
  virtual void OnModuleStateChanged() = 0;

protected:
  ~IDaemonManager() = default;
};
static_assert(Common::kIsBoundaryInterface<IDaemonManager>);

// Gives out optional parts of a module by code: 1 is the module's event listener. Slots: 0 deleting
// destructor, 1 GetExtension.
class IExtensionProvider : public Common::IBoundaryObject {
public:
  virtual void* GetExtension(std::int32_t code) = 0;

protected:
  ~IExtensionProvider() = default;
};
static_assert(Common::kIsBoundaryInterface<IExtensionProvider>);

// Receives events of the daemon. The record's first field is the 32-bit event code.
struct ModuleEvent {
  std::int32_t code;
};

// Slots: 0 deleting destructor, 1 HandleEvent.
class IModuleEventListener : public Common::IBoundaryObject {
public:
  [[nodiscard]] virtual ErrorCode HandleEvent(const ModuleEvent* event) = 0;

protected:
  ~IModuleEventListener() = default;
};
static_assert(Common::kIsBoundaryInterface<IModuleEventListener>);

// The operations a concrete module overrides; every default body returns 0 (or null). Only the
// library's own classes call them, so this interface keeps the compiler's layout.
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
