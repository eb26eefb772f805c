// Values as text, in reg.exe's forms: type names, the data column of "reg query", and the /d data
// of "reg add". Pure text: nothing here touches the registry, so any thread may call it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/registry.h"

namespace RegTool {

struct Value {
  std::u16string name;
  Platform::DWORD type = Platform::REG_NONE;
  std::vector<Platform::BYTE> data;
};

// "REG_SZ", "REG_DWORD", ...; a type without a name as its number ("0x100").
std::string TypeName(Platform::DWORD type);
// The type of a /t name, in any case; false for a name reg.exe does not take. REG_DWORD_LITTLE_ENDIAN
// is another name of REG_DWORD.
bool TypeByName(const std::string& name, Platform::DWORD& type);

// "(Default)" for the unnamed value, else the name.
std::string DisplayName(const std::u16string& name);

// The data as "reg query" shows it: strings as they are (a multi-string joined by "\0"), numbers
// as 0x..., anything else as upper-case hexadecimal digits.
std::string QueryText(const Value& value);

// What "reg add" stores for /d `data` (absent when /d was not given) in a value of `type`, with
// `separator` between the strings of a REG_MULTI_SZ (0: the two characters "\0"). False when
// reg.exe refuses the text:
//   - REG_SZ, REG_EXPAND_SZ and REG_NONE store the text as a terminated string;
//   - REG_DWORD and REG_DWORD_BIG_ENDIAN need /d: decimal or 0x hexadecimal, no sign, at most
//     0xFFFFFFFF ("" is 0); REG_QWORD takes the same up to 64 bits, a negative decimal as its
//     two's complement, and stores 0 without /d;
//   - REG_BINARY takes hexadecimal digits, an odd count with a 0 put in front;
//   - REG_MULTI_SZ splits at the separator; one separator at the end is dropped, and an empty
//     string is refused unless it is the only one, as is a string holding a terminator.
bool ParseData(Platform::DWORD type, const std::optional<std::u16string>& data, char16_t separator,
               std::vector<Platform::BYTE>& bytes);

// The text of a UTF-16 string held in value bytes, up to its first terminator.
std::u16string StringOf(const std::vector<Platform::BYTE>& data);

}  // namespace RegTool
