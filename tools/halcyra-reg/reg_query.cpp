// reg query: the values of a key, its sub-keys, or one value, optionally through the subtree.
#include <cwctype>
#include <optional>

#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tools/halcyra-reg/reg_commands.h"
#include "tools/halcyra-reg/reg_console.h"
#include "tools/halcyra-reg/reg_key_name.h"
#include "tools/halcyra-reg/reg_value_text.h"

namespace RegTool {

using namespace Platform;

namespace {

// Value names compare without regard to case, as the registry compares them.
bool SameName(const std::u16string& a, const std::u16string& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::towupper(a[i]) != std::towupper(b[i])) return false;
  }
  return true;
}

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
    if (RegOpenKeyExW(key, name.c_str(), 0, KEY_READ, sub.put()) != ERROR_SUCCESS) continue;
    status = QueryTree(sub.get(), fullName + "\\" + Utf16ToUtf8(name), false, output);
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

// Lines of the keys of the subtree that have the value `name`, and how many do.
LSTATUS FindValue(HKEY key, const std::string& fullName, const std::u16string& name, std::string& output, int& matches) {
  std::vector<Value> values;
  std::vector<std::u16string> subKeys;
  LSTATUS status = ReadValues(key, values);
  if (status == ERROR_SUCCESS) status = ReadSubKeys(key, subKeys);
  if (status != ERROR_SUCCESS) return status;
  for (const Value& value : values) {
    if (!SameName(value.name, name)) continue;
    output += fullName + "\n" + ValueLine(value) + "\n\n";
    ++matches;
  }
  for (const std::u16string& sub : subKeys) {
    UniqueKey child;
    if (RegOpenKeyExW(key, sub.c_str(), 0, KEY_READ, child.put()) != ERROR_SUCCESS) continue;
    status = FindValue(child.get(), fullName + "\\" + Utf16ToUtf8(sub), name, output, matches);
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
  LSTATUS status = RegOpenKeyExW(name.root, name.path.empty() ? nullptr : name.WidePath().c_str(), 0, KEY_READ, key.put());
  if (status != ERROR_SUCCESS) return Failed(status);

  std::string output = "\n";
  if (valueName || defaultValue) {
    std::u16string wanted = valueName ? Utf8ToUtf16(*valueName) : std::u16string();
    if (subtree) {
      int matches = 0;
      status = FindValue(key.get(), name.Full(), wanted, output, matches);
      if (status != ERROR_SUCCESS) return Failed(status);
      if (matches == 0) return Failed(ERROR_FILE_NOT_FOUND);
      output += "End of search: " + std::to_string(matches) + " match(es) found.";
      PrintLine(output);
      return kSuccess;
    }
    std::vector<Value> values;
    status = ReadValues(key.get(), values);
    if (status != ERROR_SUCCESS) return Failed(status);
    std::optional<Value> found;
    for (const Value& value : values) {
      if (SameName(value.name, wanted)) {
        found = value;
        break;
      }
    }
    if (!found) {
      if (!defaultValue) return Failed(ERROR_FILE_NOT_FOUND);
      output += name.Full() + "\n    (Default)    REG_SZ    (value not set)\n";
    } else {
      output += name.Full() + "\n" + ValueLine(*found) + "\n";
    }
    PrintLine(output);
    return kSuccess;
  }
  if (subtree) {
    status = QueryTree(key.get(), name.Full(), true, output);
    if (status != ERROR_SUCCESS) return Failed(status);
    output.pop_back();
    PrintLine(output);
    return kSuccess;
  }
  std::vector<Value> values;
  std::vector<std::u16string> subKeys;
  status = ReadValues(key.get(), values);
  if (status == ERROR_SUCCESS) status = ReadSubKeys(key.get(), subKeys);
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
