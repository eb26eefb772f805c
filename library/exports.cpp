// The exports over the library's module table, built at the first call that needs it.
#include "library/exports.h"

#include <cstdio>

#include "audio_service/halcyra_daemon_module.h"
#include "module_host/module_table.h"

namespace {

using DynamicModuleHost::SModuleTableRow;

// The module object lives in static storage until the library is unloaded; its destructor runs
// after the handles' map, which is built after it.
CHalcyraDaemonModule& ModuleObject() {
  static CHalcyraDaemonModule module;
  return module;
}

const SModuleTableRow* ModuleTable() {
  static SModuleTableRow table[2];
  static const bool built = [] {
    table[0].clsid = CLSID_HalcyraDaemonModule;
    table[0].module = DynamicModuleHost::CDynamicModuleManager::GetDynamicModuleM(&ModuleObject());
    table[1] = SModuleTableRow{Common::GUID(), nullptr};
    return true;
  }();
  static_cast<void>(built);
  return table;
}

}  // namespace

extern "C" {

DynamicModuleHost::IDynamicModule* CreateModule(const char16_t* name) {
  return DynamicModuleHost::CreateModuleInTable(ModuleTable(), name);
}

void ReleaseModule(DynamicModuleHost::IDynamicModule*) {}

ErrorCode GetModuleNames(char16_t* names, std::uint64_t capacity) {
  return DynamicModuleHost::GetModuleNamesInTable(ModuleTable(), names, capacity);
}

ErrorCode GetCLSIDFromModuleName(Common::GUID* clsid, const char16_t* name) {
  return DynamicModuleHost::GetCLSIDInTable(ModuleTable(), clsid, name);
}

ErrorCode HalcyraConfigureHost(const HalcyraHostSettings* settings) {
  if (settings == nullptr || settings->size != sizeof(HalcyraHostSettings)) {
    return RaiseError("HalcyraConfigureHost", ErrorInvalidParameter, nullptr);
  }
  Platform::SetDebugChannelHook(settings->debugChannelHook, settings->debugChannelContext);
  Platform::SetHostClassObjectLookup(settings->classObjectLookup);
  LogSetLevel(settings->logLevel);
  LogSetSink(settings->sink);
  if (settings->logFilePath != nullptr) {
    std::FILE* file = std::fopen(settings->logFilePath, "a");
    if (file == nullptr)
      return RaiseError("HalcyraConfigureHost", ErrorCannotOpen, u"Cannot open the log file %S", settings->logFilePath);
    LogSetFile(file);
  }
  return ErrorNone;
}

}  // extern "C"
