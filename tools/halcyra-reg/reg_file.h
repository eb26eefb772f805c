// The text of .reg files ("Windows Registry Editor Version 5.00"): writing a key with its values,
// and reading the statements of a file. Pure text: nothing here touches the registry, so any
// thread may call it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/halcyra-reg/reg_key_name.h"
#include "tools/halcyra-reg/reg_value_text.h"

namespace RegTool {

// Appends the lines of one key: "[name]", its values, and the blank line after them. Line ends
// are "\r\n", as Windows writes them. Reading the text back gives the same values.
void AppendKeyText(std::u16string& text, const std::string& fullName, const std::vector<Value>& values);

// The first line of every file.
extern const char16_t* const kRegFileHeader;

// What the first line of a file says it is.
enum class RegFileFormat {
  Version5,     // "Windows Registry Editor Version 5.00"
  Version4,     // "REGEDIT4"
  Unsupported,  // another line that starts with "REGEDIT": nothing in the file is read
  Invalid,      // anything else: not a .reg file
};

// One statement of a .reg file.
struct RegStatement {
  enum class Kind { CreateKey, DeleteKey, SetValue, DeleteValue } kind = Kind::CreateKey;
  KeyName key;
  Value value;           // for SetValue, and the name for DeleteValue
  std::size_t line = 0;  // where the statement starts, from 1
};

struct RegFile {
  RegFileFormat format = RegFileFormat::Invalid;
  std::vector<RegStatement> statements;
  // The lines (from 1) where a statement starts that is not taken: a malformed key or value, or a
  // value below a key line that was not taken or that deletes its key. Reading goes on after each,
  // as reg.exe's does.
  std::vector<std::size_t> skippedLines;
};

// Decodes a file's bytes (UTF-16 with a byte-order mark, else UTF-8 with or without one) and reads
// its statements. The first line may be indented; comments start with ';' (also after data) or,
// for a whole line, '#'; hexadecimal data goes on over lines that end with ",\".
RegFile ParseRegFile(std::string_view bytes);

}  // namespace RegTool
