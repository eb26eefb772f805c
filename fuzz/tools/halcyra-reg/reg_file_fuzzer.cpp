// Feeds arbitrary bytes to the .reg file reader and checks what it reads: statements and passed-over
// lines in file order, no deleted root, and every value and key it took written back by the
// exporter and read again unchanged.
#include "tools/halcyra-reg/reg_file.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/utf.h"

namespace {

using namespace RegTool;

void Check(bool condition) {
  if (!condition) __builtin_trap();
}

// Writes the values under one key and reads them back.
void CheckValuesReadBack(const std::vector<Value>& values) {
  std::u16string text = std::u16string(kRegFileHeader) + u"\r\n\r\n";
  AppendKeyText(text, "HKEY_CURRENT_USER\\Fuzz", values);
  const RegFile file = ParseRegFile(Platform::Utf16ToUtf8(text));
  Check(file.skippedLines.empty());
  Check(file.statements.size() == values.size() + 1);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const RegStatement& statement = file.statements[i + 1];
    Check(statement.kind == RegStatement::Kind::SetValue);
    Check(statement.value.name == values[i].name);
    Check(statement.value.type == values[i].type);
    Check(statement.value.data == values[i].data);
  }
}

// Writes a key line and reads it back.
void CheckKeyReadBack(const KeyName& key) {
  std::u16string text = std::u16string(kRegFileHeader) + u"\r\n\r\n";
  AppendKeyText(text, key.Full(), {});
  const RegFile file = ParseRegFile(Platform::Utf16ToUtf8(text));
  Check(file.statements.size() == 1);
  Check(file.statements[0].key.root == key.root);
  Check(file.statements[0].key.path == key.path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const RegFile file = ParseRegFile(std::string_view(reinterpret_cast<const char*>(data), size));
  if (file.format != RegFileFormat::Version5 && file.format != RegFileFormat::Version4) {
    Check(file.statements.empty() && file.skippedLines.empty());
    return 0;
  }
  std::size_t previous = 1;
  std::vector<Value> values;
  std::size_t skipped = 0;
  for (const RegStatement& statement : file.statements) {
    // Passed-over lines come between the statements, in order too.
    while (skipped < file.skippedLines.size() && file.skippedLines[skipped] < statement.line) {
      Check(file.skippedLines[skipped] > previous);
      previous = file.skippedLines[skipped++];
    }
    Check(statement.line > previous);
    previous = statement.line;
    Check(statement.key.root != nullptr);
    if (statement.kind == RegStatement::Kind::DeleteKey) Check(!statement.key.path.empty());
    if (statement.kind == RegStatement::Kind::SetValue) values.push_back(statement.value);
    if (statement.kind == RegStatement::Kind::CreateKey) CheckKeyReadBack(statement.key);
  }
  for (; skipped < file.skippedLines.size(); ++skipped) {
    Check(file.skippedLines[skipped] > previous);
    previous = file.skippedLines[skipped];
  }
  CheckValuesReadBack(values);
  return 0;
}
