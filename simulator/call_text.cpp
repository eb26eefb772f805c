#include "simulator/call_text.h"

#include <cstdio>

#include "simulator/property_text.h"

namespace Simulator {

std::string Hex(Platform::DWORD value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08X", static_cast<unsigned>(value));
  return text;
}

std::string GuidString(const Platform::GUID& guid) { return Narrow(GuidText(guid)); }

std::string KeyString(const Platform::PROPERTYKEY& key) { return Narrow(PropertyValueName(key)); }

}  // namespace Simulator
