// A module library loaded by file name, with the four-export handshake of the daemon.
//
// The library stays loaded until the process ends, as a resident daemon keeps its plug-ins: on
// Linux its copy of the platform layer runs background threads of its own (the registry's watcher
// and checkpointer, the pool's workers), which must not outlive the code they run.
#pragma once

#include <string>

#include "library/exports.h"
#include "platform/types.h"

class ModuleLibrary {
public:
  // Loads the library and resolves its exports. Returns false with a message in `error` when the
  // file cannot be loaded or lacks an export.
  bool Load(const std::u16string& path, std::string& error);

  // Configures the library's log through its host-support entry, which a library may lack.
  // Returns false when the library refuses the settings.
  bool Configure(const HalcyraHostSettings& settings);

  // GetModuleNames, GetCLSIDFromModuleName and CreateModule for the first module, then GetModule.
  // Returns null with a message in `error` when the library has no module.
  Daemon::IModule* OpenFirstModule(Common::GUID& clsid, std::string& error);

  void Release(Daemon::IModule* module);

private:
  Platform::HMODULE m_library = nullptr;
  CreateModuleFunction m_createModule = nullptr;
  ReleaseModuleFunction m_releaseModule = nullptr;
  GetModuleNamesFunction m_getModuleNames = nullptr;
  GetCLSIDFromModuleNameFunction m_getClsid = nullptr;
  HalcyraConfigureHostFunction m_configureHost = nullptr;
  DynamicModuleHost::IDynamicModule* m_handle = nullptr;
};
