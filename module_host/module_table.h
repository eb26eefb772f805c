// The table of the library's modules and the operations of the exports over it.
//
// The operations take the table as an argument so that the exports run them on the library's table
// and tests on tables of their own. They keep the daemon-facing behaviour exactly, quirks included:
// names are taken from row 0's handle whatever row is current, and a name that matches no module
// makes CreateModule and GetCLSIDFromModuleName search forever; callers pass the wildcard or a name
// that GetModuleNames gave.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/guid.h"
#include "module_host/dynamic_module.h"

namespace DynamicModuleHost {

// One row; a row whose `module` is null ends the table.
struct SModuleTableRow {
  Common::GUID clsid;
  IDynamicModule* module;
};

// Characters of one slot of the module names buffer (520 bytes).
constexpr std::size_t kModuleNameSlot = 260;

// The handle whose module is called `name` (ASCII letters compared without case), or row 0's handle
// for a null name or "*". Null, with ErrorNotFound reported, when the table is empty.
IDynamicModule* CreateModuleInTable(const SModuleTableRow* table, const char16_t* name);

// Writes each module's name with its terminator to slot i of `names` (`capacity` slots). Returns
// ErrorNone; ErrorSystem (reported) when a slot is missing or a name exceeds 260 characters, with the
// slots before it written.
[[nodiscard]] ErrorCode GetModuleNamesInTable(const SModuleTableRow* table, char16_t* names, std::uint64_t capacity);

// Writes the CLSID of the module called exactly `name` (case counting) to `clsid`. Returns ErrorNone,
// or ErrorNotFound (reported) when the table is empty.
[[nodiscard]] ErrorCode GetCLSIDInTable(const SModuleTableRow* table, Common::GUID* clsid, const char16_t* name);

}  // namespace DynamicModuleHost
