// Common::GUID: the platform's 16-byte GUID with its two text forms.
//
// Parsing accepts "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" in either case, with or without an opening
// brace (a closing one is never looked for, and anything after the last group is ignored); printing
// always gives the braced upper-case form of 38 characters. DELIBERATE: the two are not symmetric.
#pragma once

#include <cstddef>

#include "foundation/error.h"
#include "platform/types.h"

namespace Common {

struct GUID : Platform::GUID {
  // Characters of the printed form with its terminator.
  static constexpr std::size_t kTextCapacity = 39;

  constexpr GUID() : Platform::GUID{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}} {}
  constexpr GUID(const Platform::GUID& other) : Platform::GUID(other) {}
  constexpr GUID(Platform::DWORD data1, Platform::WORD data2, Platform::WORD data3, Platform::BYTE b0,
                 Platform::BYTE b1, Platform::BYTE b2, Platform::BYTE b3, Platform::BYTE b4, Platform::BYTE b5,
                 Platform::BYTE b6, Platform::BYTE b7)
      : Platform::GUID{data1, data2, data3, {b0, b1, b2, b3, b4, b5, b6, b7}} {}

  // Parses `text` as StringToGuid does. On a bad text the failure is reported and the GUID stays
  // all zero; callers pass literal texts that are known to be good.
  explicit GUID(const char16_t* text);

  // Parses `text` into `result`. Returns ErrorNone, or ErrorInvalidParameter ("Guid string bad
  // format") with `result` untouched. Borrows both; any thread.
  [[nodiscard]] static ErrorCode StringToGuid(const char16_t* text, GUID& result);

  // Writes the braced upper-case form into `destination` of `capacity` characters. Returns
  // ErrorNone, or ErrorInvalidParameter ("Destination string is too small") for a capacity under 39,
  // with `destination` untouched.
  [[nodiscard]] ErrorCode ToString(char16_t* destination, std::size_t capacity) const;

  // The same with the capacity taken to be 39; returns `destination`.
  char16_t* ToString(char16_t* destination) const;

  bool IsNull() const { return *this == GUID(); }
};

// Orders GUIDs by their 16 bytes read as two little-endian 64-bit words, first word first.
struct GuidLess {
  bool operator()(const Platform::GUID& a, const Platform::GUID& b) const;
};

namespace Detail {
consteval Platform::BYTE HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<Platform::BYTE>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<Platform::BYTE>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<Platform::BYTE>(c - 'a' + 10);
  throw "not a hexadecimal digit";  // makes the constant expression ill-formed
}
consteval unsigned long long HexField(const char* text, int first, int count) {
  unsigned long long value = 0;
  for (int i = 0; i < count; ++i) value = value * 16 + HexDigit(text[first + i]);
  return value;
}
}  // namespace Detail

// A GUID constant from its 36-character text without braces, checked at compile time.
consteval GUID GuidLiteral(const char (&text)[37]) {
  using Detail::HexField;
  return GUID(static_cast<Platform::DWORD>(HexField(text, 0, 8)), static_cast<Platform::WORD>(HexField(text, 9, 4)),
              static_cast<Platform::WORD>(HexField(text, 14, 4)), static_cast<Platform::BYTE>(HexField(text, 19, 2)),
              static_cast<Platform::BYTE>(HexField(text, 21, 2)), static_cast<Platform::BYTE>(HexField(text, 24, 2)),
              static_cast<Platform::BYTE>(HexField(text, 26, 2)), static_cast<Platform::BYTE>(HexField(text, 28, 2)),
              static_cast<Platform::BYTE>(HexField(text, 30, 2)), static_cast<Platform::BYTE>(HexField(text, 32, 2)),
              static_cast<Platform::BYTE>(HexField(text, 34, 2)));
}

}  // namespace Common
