// Case-insensitive search and upper-casing on Linux, over the letters that Windows maps one to one.
#include "platform/shell_string.h"

#include <cstdint>

namespace Platform {
namespace {

char16_t ToUpper(char16_t c) {
  if (c < 0x80) return (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 0x20) : c;
  // Latin-1: à..þ except ÷; ÿ goes to Latin Extended-A.
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<char16_t>(c - 0x20);
  if (c == 0xFF) return 0x178;
  // Latin Extended-A: pairs of capital and small letter, capital first, with three runs that pair
  // the other way round and the dotless i, which has no pair of its own here.
  if (c >= 0x100 && c <= 0x17F) {
    if (c == 0x131 || c == 0x138 || c == 0x149 || c == 0x17F) return c;
    bool oddSmall = (c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177);
    bool evenSmall = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (oddSmall && (c & 1) == 1) return static_cast<char16_t>(c - 1);
    if (evenSmall && (c & 1) == 0) return static_cast<char16_t>(c - 1);
    return c;
  }
  // Greek: α..ω except final sigma, which becomes Σ as well.
  if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return static_cast<char16_t>(c - 0x20);
  if (c == 0x3C2) return 0x3A3;
  // Cyrillic: а..я, then ѐ..џ.
  if (c >= 0x430 && c <= 0x44F) return static_cast<char16_t>(c - 0x20);
  if (c >= 0x450 && c <= 0x45F) return static_cast<char16_t>(c - 0x50);
  return c;
}

}  // namespace

LPWSTR StrStrIW(LPCWSTR text, LPCWSTR search) {
  if (text == nullptr || search == nullptr || *search == 0) return nullptr;
  for (LPCWSTR start = text; *start != 0; ++start) {
    LPCWSTR a = start;
    LPCWSTR b = search;
    while (*a != 0 && *b != 0 && ToUpper(*a) == ToUpper(*b)) {
      ++a;
      ++b;
    }
    if (*b == 0) return const_cast<LPWSTR>(start);
  }
  return nullptr;
}

LPWSTR CharUpperW(LPWSTR text) {
  auto value = reinterpret_cast<std::uintptr_t>(text);
  if ((value >> 16) == 0) {
    return reinterpret_cast<LPWSTR>(static_cast<std::uintptr_t>(ToUpper(static_cast<char16_t>(value))));
  }
  for (LPWSTR c = text; *c != 0; ++c) *c = ToUpper(*c);
  return text;
}

}  // namespace Platform
