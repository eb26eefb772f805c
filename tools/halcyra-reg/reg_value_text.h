// Values as text, in reg.exe's forms: type names, the data column of "reg query", and the /d data
// of "reg add".
#pragma once

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
// The type of a /t name; false for a name reg.exe does not take.
bool TypeByName(const std::string& name, Platform::DWORD& type);

// "(Default)" for the unnamed value, else the name.
std::string DisplayName(const std::u16string& name);

// The data as "reg query" shows it: strings as they are (a multi-string joined by "\0"), numbers
// as 0x..., anything else as upper-case hexadecimal digits.
std::string QueryText(const Value& value);

// The bytes of /d `data` for a value of `type`; false when the text does not fit the type (a
// number out of range, odd or non-hexadecimal digits).
bool ParseData(Platform::DWORD type, const std::string& data, const std::string& separator,
               std::vector<Platform::BYTE>& bytes);

// The text of a UTF-16 string held in value bytes, up to its first terminator.
std::u16string StringOf(const std::vector<Platform::BYTE>& data);

// Reads every value of `key`, in enumeration order.
Platform::LSTATUS ReadValues(Platform::HKEY key, std::vector<Value>& values);
// Reads the names of the sub-keys of `key`, in enumeration order.
Platform::LSTATUS ReadSubKeys(Platform::HKEY key, std::vector<std::u16string>& names);

}  // namespace RegTool
