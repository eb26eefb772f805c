// The library's surface towards the daemon: four exported functions with C linkage, and one entry
// through which a host configures the log before anything is logged.
//
// The daemon calls, in order: GetModuleNames, GetCLSIDFromModuleName for a name, CreateModule, then
// GetModule on the handle and the module's life cycle, and ReleaseModule at the end. The handle
// lives until the library is unloaded; ReleaseModule destroys nothing.
#pragma once

#include <cstdint>

#include "foundation/guid.h"
#include "foundation/log.h"
#include "module_host/dynamic_module.h"
#include "platform/com.h"
#include "platform/debug_channel.h"
#include "platform/export.h"

// What a host sets before the first log call. The library never sets any of these itself.
struct HalcyraHostSettings {
  std::uint32_t size;                           // sizeof(HalcyraHostSettings)
  std::int32_t logLevel;                        // the log's level (the default is 2)
  ILogSink* sink;                               // receives finished lines; not owned; may be null
  const char* logFilePath;                      // UTF-8 path of a log file to append to; null for none
  Platform::DebugChannelHook debugChannelHook;  // receives the debug channel; null for the default
  void* debugChannelContext;
  // The host's class table (its Platform::GetProcessClassObject), asked by the library's
  // CoCreateInstance after its own; null for none. Lets a host stand in for system components.
  Platform::ClassObjectLookup classObjectLookup;
};

extern "C" {

// Row 0's handle for a null name or "*", or the handle of the module of that name (case ignored).
// Null when the library has no module. Any thread.
HALCYRA_EXPORT DynamicModuleHost::IDynamicModule* CreateModule(const char16_t* name);

// Does nothing: the handle lives until the library is unloaded.
HALCYRA_EXPORT void ReleaseModule(DynamicModuleHost::IDynamicModule* module);

// Writes each module's name into slot i (260 characters, 520 bytes apart) of `names`. Returns 0, or
// 2 when `capacity` slots do not hold every name or a name is longer than 260 characters.
HALCYRA_EXPORT ErrorCode GetModuleNames(char16_t* names, std::uint64_t capacity);

// Writes the 16-byte CLSID of the module called exactly `name` to `clsid`. Returns 0, or 14 when the
// library has no module.
HALCYRA_EXPORT ErrorCode GetCLSIDFromModuleName(Common::GUID* clsid, const char16_t* name);

// Applies `settings` to the log and the debug channel; call before the first export. Returns 0,
// or 11 for a null or unknown-sized settings record.
HALCYRA_EXPORT ErrorCode HalcyraConfigureHost(const HalcyraHostSettings* settings);

}  // extern "C"

using CreateModuleFunction = DynamicModuleHost::IDynamicModule* (*)(const char16_t*);
using ReleaseModuleFunction = void (*)(DynamicModuleHost::IDynamicModule*);
using GetModuleNamesFunction = ErrorCode (*)(char16_t*, std::uint64_t);
using GetCLSIDFromModuleNameFunction = ErrorCode (*)(Common::GUID*, const char16_t*);
using HalcyraConfigureHostFunction = ErrorCode (*)(const HalcyraHostSettings*);
