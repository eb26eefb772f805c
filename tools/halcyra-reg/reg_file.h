// The text of .reg files ("Windows Registry Editor Version 5.00"): writing a key with its subtree,
// and reading the statements of a file.
#pragma once

#include <string>
#include <vector>

#include "tools/halcyra-reg/reg_key_name.h"
#include "tools/halcyra-reg/reg_value_text.h"

namespace RegTool {

// Appends the lines of one key: "[name]", its values, and the blank line after them. Line ends
// are "\r\n", as Windows writes them.
void AppendKeyText(std::u16string& text, const std::string& fullName, const std::vector<Value>& values);

// The first line of every file.
extern const char16_t* const kRegFileHeader;

// One statement of a .reg file.
struct RegStatement {
  enum class Kind { CreateKey, DeleteKey, SetValue, DeleteValue } kind = Kind::CreateKey;
  std::string key;  // full key name as written in the file
  Value value;      // for SetValue and DeleteValue (name only)
};

// Decodes a file's bytes (UTF-16 with a byte-order mark, or UTF-8 with or without one) and parses
// its statements. False when it is not a .reg file of version 5.00 (or REGEDIT4) or a line does
// not parse; `line` then tells which.
bool ParseRegFile(const std::string& bytes, std::vector<RegStatement>& statements, std::size_t& line);

}  // namespace RegTool
