// Conversions between UTF-16 and UTF-8, for the edges where text leaves or enters the process
// (the debug channel, file names, the environment). Ill-formed input becomes U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace Platform {

// Writes the UTF-8 form of `c` (at most 4 bytes) to `out` and returns its length. Allocates nothing.
inline int EncodeUtf8(char32_t c, char* out) {
  if (c < 0x80) {
    out[0] = static_cast<char>(c);
    return 1;
  }
  if (c < 0x800) {
    out[0] = static_cast<char>(0xC0 | (c >> 6));
    out[1] = static_cast<char>(0x80 | (c & 0x3F));
    return 2;
  }
  if (c < 0x10000) {
    out[0] = static_cast<char>(0xE0 | (c >> 12));
    out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[2] = static_cast<char>(0x80 | (c & 0x3F));
    return 3;
  }
  out[0] = static_cast<char>(0xF0 | (c >> 18));
  out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
  out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
  out[3] = static_cast<char>(0x80 | (c & 0x3F));
  return 4;
}

// Reads one code point of UTF-16 at `text[index]`, advancing `index`; a lone surrogate is U+FFFD.
// `text` is terminated, so the look-ahead stops at the terminator.
inline char32_t DecodeUtf16(const char16_t* text, std::size_t& index) {
  char32_t c = text[index++];
  if (c >= 0xD800 && c < 0xDC00 && text[index] >= 0xDC00 && text[index] < 0xE000) {
    return 0x10000 + ((c - 0xD800) << 10) + (text[index++] - 0xDC00);
  }
  return (c >= 0xD800 && c < 0xE000) ? 0xFFFD : c;
}

inline void AppendUtf8(std::string& out, char32_t c) {
  char bytes[4];
  out.append(bytes, static_cast<std::size_t>(EncodeUtf8(c, bytes)));
}

inline std::string Utf16ToUtf8(std::u16string_view text) {
  std::u16string terminated(text);
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < terminated.size();) AppendUtf8(out, DecodeUtf16(terminated.c_str(), i));
  return out;
}

inline std::u16string Utf8ToUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    unsigned char lead = static_cast<unsigned char>(text[i]);
    int extra = lead < 0x80 ? 0 : (lead >> 5) == 0x6 ? 1 : (lead >> 4) == 0xE ? 2 : (lead >> 3) == 0x1E ? 3 : -1;
    char32_t c = extra == 0 ? lead : extra == 1 ? (lead & 0x1F) : extra == 2 ? (lead & 0x0F) : (lead & 0x07);
    bool good = extra >= 0;
    if (good) {
      for (int k = 1; k <= extra; ++k) {
        if (i + k >= text.size() || (static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) {
          good = false;
          break;
        }
        c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
      }
    }
    if (!good || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) {
      out += u'\xFFFD';
      ++i;
      continue;
    }
    i += extra + 1;
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (c >> 10));
      out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<char16_t>(c);
    }
  }
  return out;
}

// Length of a terminated UTF-16 string.
inline std::size_t StringLength(const char16_t* text) {
  std::size_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}

}  // namespace Platform
