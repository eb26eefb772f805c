// reg delete: a key with its subtree, one value, or every value of a key.
#include <optional>

#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tools/halcyra-reg/reg_commands.h"
#include "tools/halcyra-reg/reg_console.h"
#include "tools/halcyra-reg/reg_key_contents.h"
#include "tools/halcyra-reg/reg_key_name.h"
#include "tools/halcyra-reg/reg_value_text.h"

namespace RegTool {

using namespace Platform;

int Delete(const Arguments& arguments) {
  if (arguments.empty()) return InvalidSyntax("DELETE");
  KeyName name;
  if (!ParseKeyName(arguments[0], name)) return InvalidKeyName("DELETE");
  std::optional<std::string> valueName;
  bool defaultValue = false, allValues = false, force = false;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    bool noValueYet = !valueName && !defaultValue && !allValues;
    if (IsOption(arguments[i], "v") && i + 1 < arguments.size() && noValueYet) {
      valueName = arguments[++i];
    } else if (IsOption(arguments[i], "ve") && noValueYet) {
      defaultValue = true;
    } else if (IsOption(arguments[i], "va") && noValueYet) {
      allValues = true;
    } else if (IsOption(arguments[i], "f") && !force) {
      force = true;
    } else {
      return InvalidSyntax("DELETE");
    }
  }
  bool wholeKey = !valueName && !defaultValue && !allValues;
  if (wholeKey && name.path.empty()) return InvalidKeyName("DELETE");

  UniqueKey key;
  LSTATUS status = RegOpenKeyExW(name.root, name.path.empty() ? nullptr : name.WidePath().c_str(), 0,
                                 KEY_QUERY_VALUE | KEY_SET_VALUE, key.Put());
  if (status != ERROR_SUCCESS) return Failed(status);

  if (wholeKey) {
    if (!force && !Confirm("Permanently delete the registry key " + name.Full())) return Canceled();
    key.Reset();
    status = RegDeleteTreeW(name.root, name.WidePath().c_str());
    return status == ERROR_SUCCESS ? Succeeded() : Failed(status);
  }
  if (allValues) {
    if (!force && !Confirm("Delete all values under the registry key " + name.Full())) return Canceled();
    std::vector<Value> values;
    status = ReadValues(key.Get(), values);
    for (const Value& value : values) {
      if (status == ERROR_SUCCESS) status = RegDeleteValueW(key.Get(), value.name.c_str());
    }
    return status == ERROR_SUCCESS ? Succeeded() : Failed(status);
  }
  std::u16string wideName = valueName ? Utf8ToUtf16(*valueName) : std::u16string();
  if (RegQueryValueExW(key.Get(), wideName.c_str(), nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
    return Failed(ERROR_FILE_NOT_FOUND);
  }
  if (!force && !Confirm("Delete the registry value " + DisplayName(wideName))) return Canceled();
  status = RegDeleteValueW(key.Get(), wideName.c_str());
  return status == ERROR_SUCCESS ? Succeeded() : Failed(status);
}

}  // namespace RegTool
