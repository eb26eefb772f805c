// Items of the routing data system as text: display paths, type names and values.
#pragma once

#include <string>

#include "data_system/item.h"
#include "foundation/error.h"

namespace HalcyraData {

// The four value types, and stores.
enum class ItemKind { Store, Bool, UnsignedInt, String, Guid };

ItemKind KindOf(DataSystem::IItem* item);
// "store", "bool", "unsigned int", "string", "GUID".
const char16_t* KindName(ItemKind kind);
// The item's display path without the data system's own name: "Profiles.Profile[1].szExeName".
std::u16string DisplayPath(DataSystem::IItem* item);

// The text of a value's data at `data` ("true", "4294967295", the string, "{...}"); a null string
// or pointer gives "(null)".
std::u16string FormatValue(ItemKind kind, const void* data);
// The current value of a value item.
std::u16string CurrentValue(DataSystem::IItem* item);

// Parses `text` as a value of the item's type and sets it. ErrorInvalidParameter (reported) for
// text that is no such value; else what Set answers. A bool takes true, false, 1 or 0 in any
// case; an unsigned int decimal or 0x-prefixed hexadecimal; a GUID its text with or without braces.
[[nodiscard]] ErrorCode SetFromText(DataSystem::IItem* item, const std::u16string& text);

}  // namespace HalcyraData
