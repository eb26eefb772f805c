#include "tools/halcyra-reg/reg_file.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/utf.h"

namespace RegTool {

using namespace Platform;

const char16_t* const kRegFileHeader = u"Windows Registry Editor Version 5.00";

namespace {

// Hexadecimal data is wrapped once a line has reached this many characters.
constexpr std::size_t kWrapColumn = 77;

std::u16string Quoted(const std::u16string& text) {
  std::u16string out = u"\"";
  for (char16_t c : text) {
    if (c == u'\\' || c == u'"') out += u'\\';
    out += c;
  }
  out += u'"';
  return out;
}

void AppendHex(std::u16string& text, std::size_t lineStart, const std::string& prefix, const std::vector<BYTE>& data) {
  text += Utf8ToUtf16(prefix);
  char digits[4];
  for (std::size_t i = 0; i < data.size(); ++i) {
    std::snprintf(digits, sizeof(digits), "%02x", data[i]);
    text += Utf8ToUtf16(digits);
    if (i + 1 == data.size()) break;
    text += u',';
    if (text.size() - lineStart >= kWrapColumn) {
      text += u"\\\r\n  ";
      lineStart = text.size() - 2;
    }
  }
}

bool IsPlainString(const std::vector<BYTE>& data) {
  if (data.empty()) return true;
  return data.size() % 2 == 0 && data[data.size() - 1] == 0 && data[data.size() - 2] == 0;
}

}  // namespace

void AppendKeyText(std::u16string& text, const std::string& fullName, const std::vector<Value>& values) {
  text += u"[" + Utf8ToUtf16(fullName) + u"]\r\n";
  for (const Value& value : values) {
    std::size_t lineStart = text.size();
    text += value.name.empty() ? u"@" : Quoted(value.name);
    text += u'=';
    if (value.type == REG_SZ && IsPlainString(value.data)) {
      text += Quoted(StringOf(value.data));
    } else if (value.type == REG_DWORD && value.data.size() == 4) {
      DWORD number = 0;
      std::memcpy(&number, value.data.data(), 4);
      char digits[16];
      std::snprintf(digits, sizeof(digits), "dword:%08x", number);
      text += Utf8ToUtf16(digits);
    } else if (value.type == REG_BINARY) {
      AppendHex(text, lineStart, "hex:", value.data);
    } else {
      char prefix[24];
      std::snprintf(prefix, sizeof(prefix), "hex(%x):", value.type);
      AppendHex(text, lineStart, prefix, value.data);
    }
    text += u"\r\n";
  }
  text += u"\r\n";
}

namespace {

std::u16string Decode(const std::string& bytes) {
  auto utf16 = [&](std::size_t start, bool bigEndian) {
    std::u16string text;
    for (std::size_t i = start; i + 1 < bytes.size(); i += 2) {
      auto first = static_cast<unsigned char>(bytes[i]);
      auto second = static_cast<unsigned char>(bytes[i + 1]);
      text += static_cast<char16_t>(bigEndian ? (first << 8) | second : (second << 8) | first);
    }
    return text;
  };
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF && static_cast<unsigned char>(bytes[1]) == 0xFE) {
    return utf16(2, false);
  }
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFE && static_cast<unsigned char>(bytes[1]) == 0xFF) {
    return utf16(2, true);
  }
  if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) return Utf8ToUtf16(std::string_view(bytes).substr(3));
  return Utf8ToUtf16(bytes);
}

std::u16string Trimmed(std::u16string_view text) {
  std::size_t start = 0, end = text.size();
  while (start < end && (text[start] == u' ' || text[start] == u'\t')) ++start;
  while (end > start && (text[end - 1] == u' ' || text[end - 1] == u'\t' || text[end - 1] == u'\r')) --end;
  return std::u16string(text.substr(start, end - start));
}

// Reads a quoted string at `position` (just after its opening quote), with \\ and \" escapes.
bool ReadQuoted(const std::u16string& line, std::size_t& position, std::u16string& text) {
  text.clear();
  while (position < line.size()) {
    char16_t c = line[position++];
    if (c == u'"') return true;
    if (c == u'\\' && position < line.size()) c = line[position++];
    text += c;
  }
  return false;
}

bool ReadHexBytes(std::u16string_view text, std::vector<BYTE>& bytes) {
  bytes.clear();
  std::string digits;
  for (char16_t c : text) {
    if (c == u',' || c == u' ' || c == u'\t') {
      if (digits.empty()) {
        if (c == u',') return false;
        continue;
      }
      if (digits.size() > 2) return false;
      bytes.push_back(static_cast<BYTE>(std::strtoul(digits.c_str(), nullptr, 16)));
      digits.clear();
      continue;
    }
    if (c > 0x7F || !std::isxdigit(static_cast<int>(c))) return false;
    digits += static_cast<char>(c);
  }
  if (!digits.empty()) {
    if (digits.size() > 2) return false;
    bytes.push_back(static_cast<BYTE>(std::strtoul(digits.c_str(), nullptr, 16)));
  }
  return true;
}

bool ParseValueData(std::u16string_view data, Value& value) {
  if (!data.empty() && data[0] == u'"') {
    std::u16string line(data);
    std::size_t position = 1;
    std::u16string text;
    if (!ReadQuoted(line, position, text) || !Trimmed(std::u16string_view(line).substr(position)).empty()) return false;
    value.type = REG_SZ;
    value.data.assign((text.size() + 1) * 2, 0);
    std::memcpy(value.data.data(), text.data(), text.size() * 2);
    return true;
  }
  if (data.rfind(u"dword:", 0) == 0) {
    std::string digits = Utf16ToUtf8(data.substr(6));
    if (digits.empty() || digits.size() > 8) return false;
    for (char c : digits) {
      if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
    }
    DWORD number = static_cast<DWORD>(std::strtoul(digits.c_str(), nullptr, 16));
    value.type = REG_DWORD;
    value.data.resize(4);
    std::memcpy(value.data.data(), &number, 4);
    return true;
  }
  if (data.rfind(u"hex:", 0) == 0) {
    value.type = REG_BINARY;
    return ReadHexBytes(data.substr(4), value.data);
  }
  if (data.rfind(u"hex(", 0) == 0) {
    std::size_t close = data.find(u"):");
    if (close == std::u16string_view::npos || close == 4) return false;
    std::string digits = Utf16ToUtf8(data.substr(4, close - 4));
    for (char c : digits) {
      if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
    }
    value.type = static_cast<DWORD>(std::strtoul(digits.c_str(), nullptr, 16));
    return ReadHexBytes(data.substr(close + 2), value.data);
  }
  return false;
}

}  // namespace

bool ParseRegFile(const std::string& bytes, std::vector<RegStatement>& statements, std::size_t& lineNumber) {
  std::u16string text = Decode(bytes);
  std::vector<std::u16string> lines;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find(u'\n', start);
    if (end == std::u16string::npos) end = text.size();
    lines.push_back(Trimmed(std::u16string_view(text).substr(start, end - start)));
    start = end + 1;
  }
  lineNumber = 0;
  std::size_t index = 0;
  while (index < lines.size() && lines[index].empty()) ++index;
  if (index == lines.size() || (lines[index] != kRegFileHeader && lines[index] != u"REGEDIT4")) {
    lineNumber = index + 1;
    return false;
  }
  std::string currentKey;
  for (++index; index < lines.size(); ++index) {
    lineNumber = index + 1;
    std::u16string line = lines[index];
    if (line.empty() || line[0] == u';') continue;
    // Hexadecimal data goes on over lines that end with a backslash.
    while (!line.empty() && line.back() == u'\\' && index + 1 < lines.size()) {
      line.pop_back();
      line += lines[++index];
    }
    if (line[0] == u'[') {
      if (line.back() != u']') return false;
      RegStatement statement;
      bool deletion = line.size() > 2 && line[1] == u'-';
      statement.kind = deletion ? RegStatement::Kind::DeleteKey : RegStatement::Kind::CreateKey;
      statement.key = Utf16ToUtf8(std::u16string_view(line).substr(deletion ? 2 : 1, line.size() - (deletion ? 3 : 2)));
      currentKey = deletion ? std::string() : statement.key;
      statements.push_back(std::move(statement));
      continue;
    }
    if (currentKey.empty()) return false;
    RegStatement statement;
    statement.key = currentKey;
    std::size_t position = 0;
    if (line[0] == u'@') {
      position = 1;
    } else if (line[0] == u'"') {
      position = 1;
      if (!ReadQuoted(line, position, statement.value.name)) return false;
    } else {
      return false;
    }
    std::u16string rest = Trimmed(std::u16string_view(line).substr(position));
    if (rest.empty() || rest[0] != u'=') return false;
    std::u16string data = Trimmed(std::u16string_view(rest).substr(1));
    if (data == u"-") {
      statement.kind = RegStatement::Kind::DeleteValue;
    } else {
      statement.kind = RegStatement::Kind::SetValue;
      if (!ParseValueData(data, statement.value)) return false;
    }
    statements.push_back(std::move(statement));
  }
  return true;
}

}  // namespace RegTool
