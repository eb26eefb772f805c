// reg import: the statements of a .reg file, applied in order.
#include <fstream>
#include <iterator>

#include "platform/unique_handle.h"
#include "tools/halcyra-reg/reg_commands.h"
#include "tools/halcyra-reg/reg_console.h"
#include "tools/halcyra-reg/reg_file.h"
#include "tools/halcyra-reg/reg_key_name.h"

namespace RegTool {

using namespace Platform;

namespace {

LSTATUS Apply(const RegStatement& statement) {
  KeyName name;
  if (!ParseKeyName(statement.key, name) || name.path.empty()) return ERROR_INVALID_PARAMETER;
  std::u16string path = name.WidePath();
  switch (statement.kind) {
    case RegStatement::Kind::DeleteKey: {
      LSTATUS status = RegDeleteTreeW(name.root, path.c_str());
      return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
    }
    case RegStatement::Kind::DeleteValue: {
      LSTATUS status = RegDeleteKeyValueW(name.root, path.c_str(), statement.value.name.c_str());
      return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
    }
    case RegStatement::Kind::CreateKey:
    case RegStatement::Kind::SetValue: {
      UniqueKey key;
      LSTATUS status = RegCreateKeyExW(name.root, path.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, key.put(), nullptr);
      if (status != ERROR_SUCCESS || statement.kind == RegStatement::Kind::CreateKey) return status;
      const Value& value = statement.value;
      return RegSetValueExW(key.get(), value.name.c_str(), 0, value.type, value.data.data(),
                            static_cast<DWORD>(value.data.size()));
    }
  }
  return ERROR_INVALID_PARAMETER;
}

}  // namespace

int Import(const Arguments& arguments) {
  if (arguments.size() != 1) return InvalidSyntax("IMPORT");
  std::ifstream in(arguments[0], std::ios::binary);
  if (!in) {
    PrintError("ERROR: Error opening the file. There may be a disk or file system error.");
    return kFailure;
  }
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::vector<RegStatement> statements;
  std::size_t line = 0;
  if (!ParseRegFile(bytes, statements, line)) {
    PrintError("ERROR: Error accessing the registry.");
    return kFailure;
  }
  for (const RegStatement& statement : statements) {
    if (Apply(statement) != ERROR_SUCCESS) {
      PrintError("ERROR: Error accessing the registry.");
      return kFailure;
    }
  }
  return Succeeded();
}

}  // namespace RegTool
