// reg query: the values of a key, its sub-keys, or one value, optionally through the subtree.
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

namespace {

std::string ValueLine(const Value& value) {
  return "    " + DisplayName(value.name) + "    " + TypeName(value.type) + "    " + QueryText(value);
}

// Lines of the whole subtree: each key with its values, then a blank line; the starting key only
// when it has values.
LSTATUS QueryTree(HKEY key, const std::string& fullName, bool isStart, std::string& output) {
  std::vector<Value> values;
  std::vector<std::u16string> subKeys;
  LSTATUS status = ReadValues(key, values);
  if (status == ERROR_SUCCESS) status = ReadSubKeys(key, subKeys);
  if (status != ERROR_SUCCESS) return status;
  if (!isStart || !values.empty()) {
    output += fullName + "\n";
    for (const Value& value : values) output += ValueLine(value) + "\n";
    output += "\n";
  }
  for (const std::u16string& name : subKeys) {
    UniqueKey sub;
    if (RegOpenKeyExW(key, name.c_str(), 0, KEY_READ, sub.Put()) != ERROR_SUCCESS) continue;
    status = QueryTree(sub.Get(), fullName + "\\" + Utf16ToUtf8(name), false, output);
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

// Lines of the keys of the subtree that have the value `name`, and how many do. The registry finds
// the value, matching the name as it matches any value name; the lines show `name` as typed, as
// for a query of one key.
LSTATUS FindValue(HKEY key, const std::string& fullName, const std::u16string& name, std::string& output,
                  int& matches) {
  Value value;
  LSTATUS status = ReadValue(key, name, value);
  if (status == ERROR_SUCCESS) {
    output += fullName + "\n" + ValueLine(value) + "\n\n";
    ++matches;
  } else if (status != ERROR_FILE_NOT_FOUND) {
    return status;
  }
  std::vector<std::u16string> subKeys;
  status = ReadSubKeys(key, subKeys);
  if (status != ERROR_SUCCESS) return status;
  for (const std::u16string& sub : subKeys) {
    UniqueKey child;
    if (RegOpenKeyExW(key, sub.c_str(), 0, KEY_READ, child.Put()) != ERROR_SUCCESS) continue;
    status = FindValue(child.Get(), fullName + "\\" + Utf16ToUtf8(sub), name, output, matches);
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

}  // namespace

int Query(const Arguments& arguments) {
  if (arguments.empty()) return InvalidSyntax("QUERY");
  KeyName name;
  if (!ParseKeyName(arguments[0], name)) return InvalidKeyName("QUERY");
  std::optional<std::string> valueName;
  bool defaultValue = false, subtree = false;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (IsOption(arguments[i], "v") && i + 1 < arguments.size() && !valueName && !defaultValue) {
      valueName = arguments[++i];
    } else if (IsOption(arguments[i], "ve") && !valueName && !defaultValue) {
      defaultValue = true;
    } else if (IsOption(arguments[i], "s") && !subtree) {
      subtree = true;
    } else {
      return InvalidSyntax("QUERY");
    }
  }
  UniqueKey key;
  LSTATUS status =
      RegOpenKeyExW(name.root, name.path.empty() ? nullptr : name.WidePath().c_str(), 0, KEY_READ, key.Put());
  if (status != ERROR_SUCCESS) return Failed(status);

  std::string output = "\n";
  if (valueName || defaultValue) {
    std::u16string wanted = valueName ? Utf8ToUtf16(*valueName) : std::u16string();
    if (subtree) {
      // A search: no match is a result too.
      int matches = 0;
      status = FindValue(key.Get(), name.Full(), wanted, output, matches);
      if (status != ERROR_SUCCESS) return Failed(status);
      output += "End of search: " + std::to_string(matches) + " match(es) found.";
      PrintLine(output);
      return kSuccess;
    }
    Value value;
    status = ReadValue(key.Get(), wanted, value);
    if (status == ERROR_FILE_NOT_FOUND && defaultValue) {
      output += name.Full() + "\n    (Default)    REG_SZ    (value not set)\n";
    } else if (status != ERROR_SUCCESS) {
      return Failed(status);
    } else {
      output += name.Full() + "\n" + ValueLine(value) + "\n";
    }
    PrintLine(output);
    return kSuccess;
  }
  if (subtree) {
    status = QueryTree(key.Get(), name.Full(), true, output);
    if (status != ERROR_SUCCESS) return Failed(status);
    output.pop_back();
    PrintLine(output);
    return kSuccess;
  }
  std::vector<Value> values;
  std::vector<std::u16string> subKeys;
  status = ReadValues(key.Get(), values);
  if (status == ERROR_SUCCESS) status = ReadSubKeys(key.Get(), subKeys);
  if (status != ERROR_SUCCESS) return Failed(status);
  if (!values.empty()) {
    output += name.Full() + "\n";
    for (const Value& value : values) output += ValueLine(value) + "\n";
    output += "\n";
  }
  for (const std::u16string& sub : subKeys) output += name.Full() + "\\" + Utf16ToUtf8(sub) + "\n";
  output.pop_back();
  PrintLine(output);
  return kSuccess;
}

}  // namespace RegTool
