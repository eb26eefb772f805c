#include "tools/halcyra-reg/reg_file.h"

#include <cstdio>
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

// Whether a REG_SZ reads back the same from its quoted form: one terminator at the very end, no
// other one, and no line end that would split the statement. A string without even its terminator
// would come back with one.
bool IsPlainString(const std::vector<BYTE>& data) {
  if (data.empty() || data.size() % 2 != 0) return false;
  for (std::size_t i = 0; i + 2 < data.size(); i += 2) {
    const char16_t c = static_cast<char16_t>(data[i] | (data[i + 1] << 8));
    if (c == u'\0' || c == u'\r' || c == u'\n') return false;
  }
  return data[data.size() - 1] == 0 && data[data.size() - 2] == 0;
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

std::u16string Decode(std::string_view bytes) {
  auto utf16 = [&](std::size_t start, bool bigEndian) {
    std::u16string text;
    for (std::size_t i = start; i + 1 < bytes.size(); i += 2) {
      auto first = static_cast<unsigned char>(bytes[i]);
      auto second = static_cast<unsigned char>(bytes[i + 1]);
      text += static_cast<char16_t>(bigEndian ? (first << 8) | second : (second << 8) | first);
    }
    return text;
  };
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    return utf16(2, false);
  }
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFE &&
      static_cast<unsigned char>(bytes[1]) == 0xFF) {
    return utf16(2, true);
  }
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") return Utf8ToUtf16(bytes.substr(3));
  return Utf8ToUtf16(bytes);
}

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

std::u16string_view WithoutLeadingBlanks(std::u16string_view text) {
  std::size_t start = 0;
  while (start < text.size() && IsBlank(text[start])) ++start;
  return text.substr(start);
}

void SkipBlanks(std::u16string_view text, std::size_t& position) {
  while (position < text.size() && IsBlank(text[position])) ++position;
}

// Whether only blanks, or blanks and a ';' comment, follow `position`.
bool EndsAt(std::u16string_view text, std::size_t position) {
  SkipBlanks(text, position);
  return position == text.size() || text[position] == u';';
}

int HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// Reads up to `most` hexadecimal digits at `position`; false when there is none.
bool ReadHexNumber(std::u16string_view text, std::size_t& position, std::size_t most, DWORD& number) {
  std::size_t start = position;
  number = 0;
  while (position < text.size() && position - start < most && HexDigit(text[position]) >= 0) {
    number = number * 16 + static_cast<DWORD>(HexDigit(text[position++]));
  }
  return position > start;
}

// Reads a quoted string at `position` (just after its opening quote), with \\ and \" escapes.
bool ReadQuoted(std::u16string_view line, std::size_t& position, std::u16string& text) {
  text.clear();
  while (position < line.size()) {
    char16_t c = line[position++];
    if (c == u'"') return true;
    if (c == u'\\' && position < line.size()) c = line[position++];
    text += c;
  }
  return false;
}

// The lines of a file after its first, each without its line end.
class Lines {
public:
  explicit Lines(std::u16string_view text) {
    std::size_t start = 0;
    while (start <= text.size()) {
      std::size_t end = text.find(u'\n', start);
      if (end == std::u16string_view::npos) end = text.size();
      std::u16string_view line = text.substr(start, end - start);
      if (!line.empty() && line.back() == u'\r') line.remove_suffix(1);
      m_lines.push_back(line);
      start = end + 1;
    }
  }
  std::size_t Count() const { return m_lines.size(); }
  std::u16string_view operator[](std::size_t index) const { return m_lines[index]; }

private:
  std::vector<std::u16string_view> m_lines;
};

RegFileFormat FormatOf(std::u16string_view firstLine) {
  std::u16string_view header = WithoutLeadingBlanks(firstLine);
  while (!header.empty() && IsBlank(header.back())) header.remove_suffix(1);
  if (header == kRegFileHeader) return RegFileFormat::Version5;
  if (header == u"REGEDIT4") return RegFileFormat::Version4;
  if (header.substr(0, 7) == u"REGEDIT") return RegFileFormat::Unsupported;
  return RegFileFormat::Invalid;
}

// A key line ("[name]" or "[-name]", `line` without leading blanks): the key is created or deleted.
// False for a line reg.exe does not take: no closing bracket, a blank after the bracket, an unknown
// root, or a root to delete.
bool ParseKeyLine(std::u16string_view line, RegStatement& statement) {
  std::size_t close = line.rfind(u']');
  if (close == std::u16string_view::npos || !EndsAt(line, close + 1)) return false;
  std::u16string_view name = line.substr(1, close - 1);
  bool deletion = !name.empty() && name[0] == u'-';
  if (deletion) name.remove_prefix(1);
  if (name.empty() || IsBlank(name[0])) return false;
  while (!name.empty() && name.back() == u'\\') name.remove_suffix(1);
  if (!ParseKeyName(Utf16ToUtf8(name), statement.key)) return false;
  if (deletion && statement.key.path.empty()) return false;
  statement.kind = deletion ? RegStatement::Kind::DeleteKey : RegStatement::Kind::CreateKey;
  return true;
}

// One run of hexadecimal bytes ("01,02,..."). `continues` tells whether it ends with ",\", so that
// the next line goes on with it.
bool ReadHexRun(std::u16string_view text, std::vector<BYTE>& bytes, bool& continues) {
  continues = false;
  std::size_t position = 0;
  if (EndsAt(text, position)) return true;
  for (;;) {
    SkipBlanks(text, position);
    DWORD byte = 0;
    if (!ReadHexNumber(text, position, 2, byte)) return false;
    bytes.push_back(static_cast<BYTE>(byte));
    if (EndsAt(text, position)) return true;
    SkipBlanks(text, position);
    if (text[position++] != u',') return false;
    if (EndsAt(text, position)) return true;
    SkipBlanks(text, position);
    if (text[position] == u'\\') {
      continues = EndsAt(text, position + 1);
      return continues;
    }
  }
}

// Hexadecimal data from `text` on, and on the lines after it while a run ends with ",\"; blank and
// ';' comment lines between are passed over. `index` moves to the last line read.
bool ReadHexData(std::u16string_view text, const Lines& lines, std::size_t& index, std::vector<BYTE>& bytes) {
  bytes.clear();
  for (;;) {
    bool continues = false;
    if (!ReadHexRun(text, bytes, continues)) return false;
    if (!continues) return true;
    do {
      if (index + 1 == lines.Count()) return true;
      text = WithoutLeadingBlanks(lines[++index]);
    } while (text.empty() || text[0] == u';');
  }
}

// The data after "name=" (`data`, without leading blanks): "-", a quoted string, dword:, hex: or
// hex(type):. Reads on over further lines for continued hexadecimal data.
bool ParseValueData(std::u16string_view data, const Lines& lines, std::size_t& index, RegStatement& statement) {
  Value& value = statement.value;
  statement.kind = RegStatement::Kind::SetValue;
  if (!data.empty() && data[0] == u'-') {
    statement.kind = RegStatement::Kind::DeleteValue;
    return EndsAt(data, 1);
  }
  if (!data.empty() && data[0] == u'"') {
    std::size_t position = 1;
    std::u16string text;
    if (!ReadQuoted(data, position, text) || !EndsAt(data, position)) return false;
    value.type = REG_SZ;
    value.data.assign((text.size() + 1) * 2, 0);
    if (!text.empty()) std::memcpy(value.data.data(), text.data(), text.size() * 2);
    return true;
  }
  if (data.substr(0, 6) == u"dword:") {
    std::size_t position = 6;
    DWORD number = 0;
    if (!ReadHexNumber(data, position, 8, number) || !EndsAt(data, position)) return false;
    value.type = REG_DWORD;
    value.data.resize(4);
    std::memcpy(value.data.data(), &number, 4);
    return true;
  }
  std::size_t position = 0;
  if (data.substr(0, 4) == u"hex:") {
    value.type = REG_BINARY;
    position = 4;
  } else if (data.substr(0, 4) == u"hex(") {
    position = 4;
    if (!ReadHexNumber(data, position, 8, value.type) || data.substr(position, 2) != u"):") return false;
    position += 2;
  } else {
    return false;
  }
  return ReadHexData(data.substr(position), lines, index, value.data);
}

// A value line ("name"=data or @=data, `line` without leading blanks) of the key `key`.
bool ParseValueLine(std::u16string_view line, const Lines& lines, std::size_t& index, RegStatement& statement) {
  std::size_t position = 1;
  if (line[0] == u'"' && !ReadQuoted(line, position, statement.value.name)) return false;
  SkipBlanks(line, position);
  if (position == line.size() || line[position] != u'=') return false;
  ++position;
  SkipBlanks(line, position);
  return ParseValueData(line.substr(position), lines, index, statement);
}

}  // namespace

RegFile ParseRegFile(std::string_view bytes) {
  RegFile file;
  const std::u16string text = Decode(bytes);
  const Lines lines(text);
  file.format = FormatOf(lines[0]);
  if (file.format != RegFileFormat::Version5 && file.format != RegFileFormat::Version4) return file;
  bool inKey = false;
  KeyName currentKey;
  for (std::size_t index = 1; index < lines.Count(); ++index) {
    std::u16string_view line = WithoutLeadingBlanks(lines[index]);
    if (line.empty() || line[0] == u';' || line[0] == u'#') continue;
    RegStatement statement;
    statement.line = index + 1;
    bool taken = false;
    if (line[0] == u'[') {
      taken = ParseKeyLine(line, statement);
      inKey = taken && statement.kind == RegStatement::Kind::CreateKey;
      if (inKey) currentKey = statement.key;
    } else if ((line[0] == u'"' || line[0] == u'@') && inKey) {
      statement.key = currentKey;
      taken = ParseValueLine(line, lines, index, statement);
    }
    if (taken) {
      file.statements.push_back(std::move(statement));
    } else {
      file.skippedLines.push_back(statement.line);
    }
  }
  return file;
}

}  // namespace RegTool
