#include "tools/halcyra-reg/reg_value_text.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
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

std::vector<BYTE> StringBytes(const std::u16string& text) {
  std::vector<BYTE> bytes((text.size() + 1) * sizeof(char16_t), 0);
  std::memcpy(bytes.data(), text.data(), text.size() * sizeof(char16_t));
  return bytes;
}

bool ParseNumber(const std::string& text, unsigned long long limit, unsigned long long& number) {
  if (text.empty() || text[0] == '-' || text[0] == '+' || std::isspace(static_cast<unsigned char>(text[0]))) return false;
  bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  errno = 0;
  char* end = nullptr;
  number = std::strtoull(hex ? text.c_str() + 2 : text.c_str(), &end, hex ? 16 : 10);
  return errno == 0 && end != nullptr && *end == 0 && number <= limit;
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
  for (char c : name) upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  for (DWORD accepted : {REG_SZ, REG_MULTI_SZ, REG_EXPAND_SZ, REG_DWORD, REG_QWORD, REG_BINARY, REG_NONE}) {
    if (upper == TypeName(accepted)) {
      type = accepted;
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
    case REG_DWORD:
    case REG_QWORD:
      if (value.data.size() == (value.type == REG_DWORD ? 4u : 8u)) {
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
        if (!text.empty()) text += "\\0";
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

bool ParseData(DWORD type, const std::string& data, const std::string& separator, std::vector<BYTE>& bytes) {
  bytes.clear();
  switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
      bytes = StringBytes(Utf8ToUtf16(data));
      return true;
    case REG_DWORD:
    case REG_QWORD: {
      unsigned long long number = 0;
      std::string text = data.empty() ? "0" : data;
      if (!ParseNumber(text, type == REG_DWORD ? 0xFFFFFFFFull : ~0ull, number)) return false;
      bytes.resize(type == REG_DWORD ? 4 : 8);
      std::memcpy(bytes.data(), &number, bytes.size());
      return true;
    }
    case REG_MULTI_SZ: {
      std::string sep = separator.empty() ? "\\0" : separator;
      std::u16string all;
      std::size_t start = 0;
      while (start < data.size()) {
        std::size_t end = data.find(sep, start);
        if (end == std::string::npos) end = data.size();
        // Two separators in a row would end the list early; reg.exe refuses them.
        if (end == start) return false;
        all += Utf8ToUtf16(data.substr(start, end - start));
        all += u'\0';
        start = end + sep.size();
        if (start == data.size() && end != data.size()) return false;
      }
      all += u'\0';
      bytes.resize(all.size() * 2);
      std::memcpy(bytes.data(), all.data(), bytes.size());
      return true;
    }
    default: {
      if (data.size() % 2 != 0) return false;
      for (std::size_t i = 0; i < data.size(); i += 2) {
        if (!std::isxdigit(static_cast<unsigned char>(data[i])) || !std::isxdigit(static_cast<unsigned char>(data[i + 1]))) {
          return false;
        }
        bytes.push_back(static_cast<BYTE>(std::strtoul(data.substr(i, 2).c_str(), nullptr, 16)));
      }
      return true;
    }
  }
}

LSTATUS ReadValues(HKEY key, std::vector<Value>& values) {
  values.clear();
  std::vector<char16_t> name(MAX_VALUE_NAME_LENGTH + 1);
  std::vector<BYTE> data(4096);
  for (DWORD index = 0;;) {
    DWORD nameLength = static_cast<DWORD>(name.size());
    DWORD size = static_cast<DWORD>(data.size());
    DWORD type = 0;
    LSTATUS status = RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type, data.data(), &size);
    if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (status == ERROR_MORE_DATA && size > data.size()) {
      data.resize(size);
      continue;
    }
    if (status != ERROR_SUCCESS) return status;
    values.push_back(Value{std::u16string(name.data(), nameLength), type, std::vector<BYTE>(data.begin(), data.begin() + size)});
    ++index;
  }
}

LSTATUS ReadSubKeys(HKEY key, std::vector<std::u16string>& names) {
  names.clear();
  for (DWORD index = 0;; ++index) {
    char16_t name[MAX_KEY_NAME_LENGTH + 1];
    DWORD length = MAX_KEY_NAME_LENGTH + 1;
    LSTATUS status = RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) return status;
    names.emplace_back(name, length);
  }
}

}  // namespace RegTool
