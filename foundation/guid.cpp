// The text forms of Common::GUID.
#include "foundation/guid.h"

#include <cstring>

#include "foundation/format.h"
#include "foundation/scan.h"

namespace Common {

GUID::GUID(const char16_t* text) : GUID() { static_cast<void>(StringToGuid(text, *this)); }

ErrorCode GUID::StringToGuid(const char16_t* text, GUID& result) {
  if (text != nullptr && text[0] == u'{') ++text;
  Platform::DWORD data1 = 0;
  unsigned short fields[10] = {};
  int scanned =
      ScanBounded(text, u"%8lX-%4hX-%4hX-%2hX%2hX-%2hX%2hX%2hX%2hX%2hX%2hX", &data1, &fields[0], &fields[1], &fields[2],
                  &fields[3], &fields[4], &fields[5], &fields[6], &fields[7], &fields[8], &fields[9]);
  if (scanned != 11) {
    return RaiseError("Common::GUID::StringToGuid", ErrorInvalidParameter, u"Guid string bad format");
  }
  result.Data1 = data1;
  result.Data2 = fields[0];
  result.Data3 = fields[1];
  for (int i = 0; i < 8; ++i) result.Data4[i] = static_cast<Platform::BYTE>(fields[2 + i] & 0xFF);
  return ErrorNone;
}

ErrorCode GUID::ToString(char16_t* destination, std::size_t capacity) const {
  if (capacity < kTextCapacity) {
    return RaiseError("Common::GUID::ToString", ErrorInvalidParameter, u"Destination string is too small");
  }
  FormatBounded(destination, capacity, u"{%08lX-%04hX-%04hX-%02hX%02hX-%02hX%02hX%02hX%02hX%02hX%02hX}", Data1, Data2,
                Data3, Data4[0], Data4[1], Data4[2], Data4[3], Data4[4], Data4[5], Data4[6], Data4[7]);
  return ErrorNone;
}

char16_t* GUID::ToString(char16_t* destination) const {
  static_cast<void>(ToString(destination, kTextCapacity));
  return destination;
}

bool GuidLess::operator()(const Platform::GUID& a, const Platform::GUID& b) const {
  // The 16 bytes as two little-endian words, whatever the byte order of the machine.
  auto word = [](const Platform::GUID& guid, int half) {
    unsigned char bytes[16];
    std::memcpy(bytes, &guid, 16);
    std::uint64_t value = 0;
    for (int i = 7; i >= 0; --i) value = (value << 8) | bytes[half * 8 + i];
    return value;
  };
  std::uint64_t a0 = word(a, 0), b0 = word(b, 0);
  if (a0 != b0) return a0 < b0;
  return word(a, 1) < word(b, 1);
}

}  // namespace Common
