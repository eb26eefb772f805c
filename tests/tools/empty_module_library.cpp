// A module library whose table is empty, as a daemon host may meet one.
#include "library/exports.h"
#include "module_host/module_table.h"

namespace {
const DynamicModuleHost::SModuleTableRow kEmptyTable[1] = {{Common::GUID(), nullptr}};
}  // namespace

extern "C" {

HALCYRA_EXPORT DynamicModuleHost::IDynamicModule* CreateModule(const char16_t* name) {
  return DynamicModuleHost::CreateModuleInTable(kEmptyTable, name);
}

HALCYRA_EXPORT void ReleaseModule(DynamicModuleHost::IDynamicModule*) {}

HALCYRA_EXPORT ErrorCode GetModuleNames(char16_t* names, std::uint64_t capacity) {
  return DynamicModuleHost::GetModuleNamesInTable(kEmptyTable, names, capacity);
}

HALCYRA_EXPORT ErrorCode GetCLSIDFromModuleName(Common::GUID* clsid, const char16_t* name) {
  return DynamicModuleHost::GetCLSIDInTable(kEmptyTable, clsid, name);
}

}  // extern "C"
