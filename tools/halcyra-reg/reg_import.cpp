// reg import: the statements of a .reg file, applied in order.
//
// A line that does not parse is passed over and the rest of the file is imported, as reg.exe
// does; so is every value below a key line that was passed over. The import fails when the file is
// not a .reg file, or at the first statement the registry refuses.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tools/halcyra-reg/reg_commands.h"
#include "tools/halcyra-reg/reg_console.h"
#include "tools/halcyra-reg/reg_file.h"
#include "tools/halcyra-reg/reg_key_name.h"

namespace RegTool {

using namespace Platform;

namespace {

LSTATUS Apply(const RegStatement& statement) {
  const std::u16string path = statement.key.WidePath();
  const HKEY root = statement.key.root;
  switch (statement.kind) {
    case RegStatement::Kind::DeleteKey: {
      LSTATUS status = RegDeleteTreeW(root, path.c_str());
      return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
    }
    case RegStatement::Kind::DeleteValue: {
      LSTATUS status = RegDeleteKeyValueW(root, path.c_str(), statement.value.name.c_str());
      return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
    }
    case RegStatement::Kind::CreateKey:
    case RegStatement::Kind::SetValue: {
      UniqueKey key;
      LSTATUS status = RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, key.Put(), nullptr);
      if (status != ERROR_SUCCESS || statement.kind == RegStatement::Kind::CreateKey) return status;
      const Value& value = statement.value;
      return RegSetValueExW(key.Get(), value.name.c_str(), 0, value.type, value.data.data(),
                            static_cast<DWORD>(value.data.size()));
    }
  }
  return ERROR_INVALID_PARAMETER;
}

}  // namespace

int Import(const Arguments& arguments) {
  if (arguments.size() != 1) return InvalidSyntax("IMPORT");
  std::ifstream in(std::filesystem::path(Utf8ToUtf16(arguments[0])), std::ios::binary);
  if (!in) {
    PrintError("ERROR: Error opening the file. There may be a disk or file system error.");
    return kFailure;
  }
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const RegFile file = ParseRegFile(bytes);
  if (file.format == RegFileFormat::Invalid) {
    PrintError("ERROR: Error accessing the registry.");
    return kFailure;
  }
  for (const RegStatement& statement : file.statements) {
    if (Apply(statement) != ERROR_SUCCESS) {
      PrintError("ERROR: Error accessing the registry.");
      return kFailure;
    }
  }
  return Succeeded();
}

}  // namespace RegTool
