// Small texts for the call log: HRESULTs, numbers in hexadecimal, GUIDs and property keys.
#pragma once

#include <string>

#include "platform/prop_variant.h"

namespace Simulator {

// "0x" and 8 capital hexadecimal digits.
std::string Hex(Platform::DWORD value);
// The braced capital text of a GUID, narrow.
std::string GuidString(const Platform::GUID& guid);
// "{FMTID},pid", narrow.
std::string KeyString(const Platform::PROPERTYKEY& key);

}  // namespace Simulator
