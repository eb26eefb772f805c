#include "simulator/property_text.h"

#include <cstdio>

#include "platform/utf.h"

namespace Simulator {

std::u16string GuidText(const Platform::GUID& guid) {
  char text[40];
  std::snprintf(text, sizeof(text), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2,
                guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                guid.Data4[6], guid.Data4[7]);
  return Platform::Utf8ToUtf16(text);
}

bool IsBracedGuid(const std::u16string& text) {
  if (text.size() != 38 || text.front() != u'{' || text.back() != u'}') return false;
  for (std::size_t i = 1; i < 37; ++i) {
    const char16_t c = text[i];
    const bool dash = i == 9 || i == 14 || i == 19 || i == 24;
    const bool hex = (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    if (dash ? c != u'-' : !hex) return false;
  }
  return true;
}

std::u16string PropertyValueName(const Platform::PROPERTYKEY& key) {
  return GuidText(key.fmtid) + u"," + Platform::Utf8ToUtf16(std::to_string(key.pid));
}

bool ParsePropertyValueName(const std::u16string& name, Platform::PROPERTYKEY& key) {
  // Only the stored form: a braced GUID, a comma and a decimal number, nothing else.
  const std::size_t comma = name.find(u',');
  if (comma == std::u16string::npos || !IsBracedGuid(name.substr(0, comma)) || comma + 1 >= name.size()) {
    return false;
  }
  for (std::size_t i = comma + 1; i < name.size(); ++i) {
    if (name[i] < u'0' || name[i] > u'9') return false;
  }
  return Platform::PSPropertyKeyFromString(name.c_str(), &key) >= 0;
}

std::string Narrow(const char16_t* text) { return text == nullptr ? "(null)" : Platform::Utf16ToUtf8(text); }

std::string Narrow(const std::u16string& text) { return Platform::Utf16ToUtf8(text); }

std::string DescribeValue(const Platform::PROPVARIANT& value) {
  using namespace Platform;
  switch (value.vt) {
    case VT_EMPTY:
      return "VT_EMPTY";
    case VT_UI4:
      return "VT_UI4 " + std::to_string(value.ulVal);
    case VT_UI8:
      return "VT_UI8 " + std::to_string(value.uhVal);
    case VT_LPWSTR:
      return "VT_LPWSTR \"" + Narrow(value.pwszVal) + "\"";
    case VT_BLOB:
      return "VT_BLOB " + std::to_string(value.blob.cbSize) + " bytes";
    case VT_VECTOR | VT_LPWSTR: {
      std::string text = "VT_VECTOR|VT_LPWSTR [";
      for (ULONG i = 0; value.calpwstr.pElems != nullptr && i < value.calpwstr.cElems; ++i) {
        text += (i == 0 ? "\"" : ", \"") + Narrow(value.calpwstr.pElems[i]) + "\"";
      }
      return text + "]";
    }
    default:
      return "VT " + std::to_string(value.vt);
  }
}

}  // namespace Simulator
