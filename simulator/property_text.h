// Texts of the simulated audio system: property value names in the registry ("{fmtid},pid"),
// endpoint ids, and descriptions of values for the call log and listings.
#pragma once

#include <string>

#include "platform/core_audio.h"

namespace Simulator {

// "{FMTID},pid" with the GUID in braced capitals: the registry value name of a property.
std::u16string PropertyValueName(const Platform::PROPERTYKEY& key);

// The key of a registry value name; false when the name is not "{fmtid},pid".
bool ParsePropertyValueName(const std::u16string& name, Platform::PROPERTYKEY& key);

// The braced capital text of a GUID.
std::u16string GuidText(const Platform::GUID& guid);
// Whether `text` is a braced GUID ("{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}", either case).
bool IsBracedGuid(const std::u16string& text);

// A value as text: "VT_EMPTY", "VT_UI4 1", "VT_LPWSTR \"text\"", "VT_VECTOR|VT_LPWSTR [\"a\", \"b\"]",
// "VT_UI8 5", "VT_BLOB 3 bytes", or "VT <number>" for another type.
std::string DescribeValue(const Platform::PROPVARIANT& value);

// UTF-8 of a UTF-16 string; "(null)" for null.
std::string Narrow(const char16_t* text);
std::string Narrow(const std::u16string& text);

}  // namespace Simulator
