// The bytes of text as the registry keeps it, for tests that write or expect raw value data.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

namespace Testing {

// UTF-16 text as little-endian code units, without a terminator.
inline std::vector<Platform::BYTE> Utf16Bytes(std::u16string_view text) {
  std::vector<Platform::BYTE> bytes;
  bytes.reserve(text.size() * 2);
  for (char16_t c : text) {
    bytes.push_back(static_cast<Platform::BYTE>(c & 0xFF));
    bytes.push_back(static_cast<Platform::BYTE>(c >> 8));
  }
  return bytes;
}

// The data of a string value: the text and its terminator.
inline std::vector<Platform::BYTE> StringBytes(std::u16string_view text) {
  std::vector<Platform::BYTE> bytes = Utf16Bytes(text);
  bytes.insert(bytes.end(), {0, 0});
  return bytes;
}

}  // namespace Testing
