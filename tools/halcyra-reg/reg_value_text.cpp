#include "tools/halcyra-reg/reg_value_text.h"

#include <cstdio>
#include <cstring>

#include "platform/utf.h"

namespace RegTool {

using namespace Platform;

namespace {

struct TypeEntry {
  DWORD type;
  const char* name;
};

const TypeEntry kTypes[] = {
    {REG_NONE, "REG_NONE"},
    {REG_SZ, "REG_SZ"},
    {REG_EXPAND_SZ, "REG_EXPAND_SZ"},
    {REG_BINARY, "REG_BINARY"},
    {REG_DWORD, "REG_DWORD"},
    {REG_DWORD_BIG_ENDIAN, "REG_DWORD_BIG_ENDIAN"},
    {REG_LINK, "REG_LINK"},
    {REG_MULTI_SZ, "REG_MULTI_SZ"},
    {8, "REG_RESOURCE_LIST"},
    {9, "REG_FULL_RESOURCE_DESCRIPTOR"},
    {10, "REG_RESOURCE_REQUIREMENTS_LIST"},
    {REG_QWORD, "REG_QWORD"},
};

// The types "reg add /t" takes, by the names it takes them by.
const TypeEntry kAddTypes[] = {
    {REG_SZ, "REG_SZ"},
    {REG_MULTI_SZ, "REG_MULTI_SZ"},
    {REG_EXPAND_SZ, "REG_EXPAND_SZ"},
    {REG_DWORD, "REG_DWORD"},
    {REG_DWORD, "REG_DWORD_LITTLE_ENDIAN"},
    {REG_DWORD_BIG_ENDIAN, "REG_DWORD_BIG_ENDIAN"},
    {REG_QWORD, "REG_QWORD"},
    {REG_BINARY, "REG_BINARY"},
    {REG_NONE, "REG_NONE"},
};

char AsciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

int HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

std::vector<BYTE> StringBytes(std::u16string_view text) {
  std::vector<BYTE> bytes((text.size() + 1) * sizeof(char16_t), 0);
  if (!text.empty()) std::memcpy(bytes.data(), text.data(), text.size() * sizeof(char16_t));
  return bytes;
}

// Digits of `base` only, the whole text, without overflowing `limit`.
bool ParseDigits(std::u16string_view text, unsigned base, unsigned long long limit, unsigned long long& number) {
  if (text.empty()) return false;
  number = 0;
  for (char16_t c : text) {
    int digit = HexDigit(c);
    if (digit < 0 || static_cast<unsigned>(digit) >= base) return false;
    if (number > (limit - static_cast<unsigned>(digit)) / base) return false;
    number = number * base + static_cast<unsigned>(digit);
  }
  return true;
}

// A /d number: decimal, or hexadecimal after "0x"; `negative` allows a '-' before a decimal, which
// stores its two's complement.
bool ParseNumber(std::u16string_view text, unsigned long long limit, bool negative, unsigned long long& number) {
  if (text.empty()) {
    number = 0;
    return true;
  }
  if (text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X')) {
    return ParseDigits(text.substr(2), 16, limit, number);
  }
  if (negative && text[0] == u'-') {
    if (!ParseDigits(text.substr(1), 10, limit, number)) return false;
    number = 0 - number;
    return true;
  }
  return ParseDigits(text, 10, limit, number);
}

bool ParseBinary(std::u16string_view text, std::vector<BYTE>& bytes) {
  std::size_t i = 0;
  // A lone first digit is the low half of the first byte.
  if (text.size() % 2 != 0) {
    int digit = HexDigit(text[0]);
    if (digit < 0) return false;
    bytes.push_back(static_cast<BYTE>(digit));
    i = 1;
  }
  for (; i < text.size(); i += 2) {
    int high = HexDigit(text[i]);
    int low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes.push_back(static_cast<BYTE>(high * 16 + low));
  }
  return true;
}

bool ParseMultiString(std::u16string_view text, char16_t separator, std::vector<BYTE>& bytes) {
  std::u16string all;
  if (!text.empty()) {
    const std::u16string_view split = separator == 0 ? std::u16string_view(u"\\0") : std::u16string_view(&separator, 1);
    std::vector<std::u16string_view> parts;
    std::size_t start = 0;
    for (;;) {
      std::size_t end = text.find(split, start);
      if (end == std::u16string_view::npos) {
        parts.push_back(text.substr(start));
        break;
      }
      parts.push_back(text.substr(start, end - start));
      start = end + split.size();
    }
    if (parts.back().empty()) parts.pop_back();
    for (std::u16string_view part : parts) {
      // An empty string inside the list, or a terminator inside a string (a command line can spell
      // one as an overlong UTF-8 form), would end the list early when read back.
      if ((part.empty() && parts.size() > 1) || part.find(u'\0') != std::u16string_view::npos) return false;
      all.append(part);
      all += u'\0';
    }
  }
  all += u'\0';
  bytes.resize(all.size() * sizeof(char16_t));
  std::memcpy(bytes.data(), all.data(), bytes.size());
  return true;
}

}  // namespace

std::string TypeName(DWORD type) {
  for (const TypeEntry& entry : kTypes) {
    if (entry.type == type) return entry.name;
  }
  char text[16];
  std::snprintf(text, sizeof(text), "0x%x", type);
  return text;
}

bool TypeByName(const std::string& name, DWORD& type) {
  std::string upper;
  for (char c : name) upper += AsciiUpper(c);
  for (const TypeEntry& entry : kAddTypes) {
    if (upper == entry.name) {
      type = entry.type;
      return true;
    }
  }
  return false;
}

std::string DisplayName(const std::u16string& name) { return name.empty() ? "(Default)" : Utf16ToUtf8(name); }

std::u16string StringOf(const std::vector<BYTE>& data) {
  std::u16string text(data.size() / 2, u'\0');
  if (!text.empty()) std::memcpy(text.data(), data.data(), text.size() * 2);
  std::size_t end = text.find(u'\0');
  if (end != std::u16string::npos) text.resize(end);
  return text;
}

std::string QueryText(const Value& value) {
  switch (value.type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
      return Utf16ToUtf8(StringOf(value.data));
    // DELIBERATE: a big-endian double word is read in the machine's order: Windows stores and shows
    // it as it does any REG_DWORD, so the number matches what "reg add" was given.
    case REG_DWORD:
    case REG_DWORD_BIG_ENDIAN:
    case REG_QWORD:
      if (value.data.size() == (value.type == REG_QWORD ? 8u : 4u)) {
        unsigned long long number = 0;
        std::memcpy(&number, value.data.data(), value.data.size());
        char text[24];
        std::snprintf(text, sizeof(text), "0x%llx", number);
        return text;
      }
      break;
    case REG_MULTI_SZ: {
      std::u16string all(value.data.size() / 2, u'\0');
      if (!all.empty()) std::memcpy(all.data(), value.data.data(), all.size() * 2);
      std::string text;
      std::size_t start = 0;
      while (start < all.size()) {
        std::size_t end = all.find(u'\0', start);
        if (end == std::u16string::npos) end = all.size();
        if (end == start) break;
        if (start != 0) text += "\\0";
        text += Utf16ToUtf8(std::u16string_view(all).substr(start, end - start));
        start = end + 1;
      }
      return text;
    }
    default:
      break;
  }
  std::string text;
  char digits[3];
  for (BYTE b : value.data) {
    std::snprintf(digits, sizeof(digits), "%02X", b);
    text += digits;
  }
  return text;
}

bool ParseData(DWORD type, const std::optional<std::u16string>& data, char16_t separator, std::vector<BYTE>& bytes) {
  bytes.clear();
  const std::u16string_view text = data ? std::u16string_view(*data) : std::u16string_view();
  switch (type) {
    case REG_DWORD:
    case REG_DWORD_BIG_ENDIAN:
    case REG_QWORD: {
      const bool quad = type == REG_QWORD;
      if (!data && !quad) return false;
      unsigned long long number = 0;
      if (!ParseNumber(text, quad ? ~0ull : 0xFFFFFFFFull, quad, number)) return false;
      // DELIBERATE: stored in the machine's order whatever the type, as Windows stores it.
      bytes.resize(quad ? 8 : 4);
      std::memcpy(bytes.data(), &number, bytes.size());
      return true;
    }
    case REG_BINARY:
      return ParseBinary(text, bytes);
    case REG_MULTI_SZ:
      return ParseMultiString(text, separator, bytes);
    default:
      bytes = StringBytes(text);
      return true;
  }
}

}  // namespace RegTool
