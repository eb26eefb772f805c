// reg add: creates a key, and sets one value of it: the named one, else its default value.
#include <optional>

#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tools/halcyra-reg/reg_commands.h"
#include "tools/halcyra-reg/reg_console.h"
#include "tools/halcyra-reg/reg_key_name.h"
#include "tools/halcyra-reg/reg_value_text.h"

namespace RegTool {

using namespace Platform;

int Add(const Arguments& arguments) {
  if (arguments.empty()) return InvalidSyntax("ADD");
  KeyName name;
  if (!ParseKeyName(arguments[0], name)) return InvalidKeyName("ADD");
  std::optional<std::string> valueName, typeName, separator, data;
  bool defaultValue = false, force = false;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    bool hasNext = i + 1 < arguments.size();
    if (IsOption(argument, "v") && hasNext && !valueName && !defaultValue) {
      valueName = arguments[++i];
    } else if (IsOption(argument, "ve") && !valueName && !defaultValue) {
      defaultValue = true;
    } else if (IsOption(argument, "t") && hasNext && !typeName) {
      typeName = arguments[++i];
    } else if (IsOption(argument, "s") && hasNext && !separator) {
      separator = arguments[++i];
    } else if (IsOption(argument, "d") && hasNext && !data) {
      data = arguments[++i];
    } else if (IsOption(argument, "f") && !force) {
      force = true;
    } else {
      return InvalidSyntax("ADD");
    }
  }
  DWORD type = REG_SZ;
  if (typeName && !TypeByName(*typeName, type)) return InvalidSyntax("ADD");
  // One character (not a terminator) whatever the type; only a REG_MULTI_SZ uses it.
  const std::u16string wideSeparator = separator ? Utf8ToUtf16(*separator) : std::u16string();
  if (separator && (wideSeparator.size() != 1 || wideSeparator[0] == u'\0')) return InvalidSyntax("ADD");
  std::optional<std::u16string> wideData;
  if (data) wideData = Utf8ToUtf16(*data);
  std::vector<BYTE> bytes;
  if (!ParseData(type, wideData, separator ? wideSeparator[0] : u'\0', bytes)) return InvalidSyntax("ADD");

  UniqueKey key;
  LSTATUS status = RegCreateKeyExW(name.root, name.WidePath().c_str(), 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE,
                                   nullptr, key.Put(), nullptr);
  if (status != ERROR_SUCCESS) return Failed(status);

  std::u16string wideName = valueName ? Utf8ToUtf16(*valueName) : std::u16string();
  if (!force && RegQueryValueExW(key.Get(), wideName.c_str(), nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
      !Confirm("Value " + DisplayName(wideName) + " exists, overwrite")) {
    return Canceled();
  }
  status = RegSetValueExW(key.Get(), wideName.c_str(), 0, type, bytes.data(), static_cast<DWORD>(bytes.size()));
  if (status != ERROR_SUCCESS) return Failed(status);
  return Succeeded();
}

}  // namespace RegTool
