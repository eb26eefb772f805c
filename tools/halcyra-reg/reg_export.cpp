// reg export: a key and its subtree to a .reg file, in UTF-16LE with a byte-order mark.
#include <filesystem>
#include <fstream>

#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tools/halcyra-reg/reg_commands.h"
#include "tools/halcyra-reg/reg_console.h"
#include "tools/halcyra-reg/reg_file.h"
#include "tools/halcyra-reg/reg_key_contents.h"
#include "tools/halcyra-reg/reg_key_name.h"
#include "tools/halcyra-reg/reg_value_text.h"

namespace RegTool {

using namespace Platform;

namespace {

LSTATUS AppendTree(HKEY key, const std::string& fullName, std::u16string& text) {
  std::vector<Value> values;
  std::vector<std::u16string> subKeys;
  LSTATUS status = ReadValues(key, values);
  if (status == ERROR_SUCCESS) status = ReadSubKeys(key, subKeys);
  if (status != ERROR_SUCCESS) return status;
  AppendKeyText(text, fullName, values);
  for (const std::u16string& name : subKeys) {
    UniqueKey sub;
    status = RegOpenKeyExW(key, name.c_str(), 0, KEY_READ, sub.Put());
    if (status == ERROR_SUCCESS) status = AppendTree(sub.Get(), fullName + "\\" + Utf16ToUtf8(name), text);
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

}  // namespace

int Export(const Arguments& arguments) {
  if (arguments.size() < 2 || arguments.size() > 3 || (arguments.size() == 3 && !IsOption(arguments[2], "y"))) {
    return InvalidSyntax("EXPORT");
  }
  KeyName name;
  if (!ParseKeyName(arguments[0], name)) return InvalidKeyName("EXPORT");
  const std::string& file = arguments[1];
  const std::filesystem::path path(Utf8ToUtf16(file));
  bool overwrite = arguments.size() == 3;
  UniqueKey key;
  LSTATUS status =
      RegOpenKeyExW(name.root, name.path.empty() ? nullptr : name.WidePath().c_str(), 0, KEY_READ, key.Put());
  if (status != ERROR_SUCCESS) return Failed(status);

  std::u16string text = std::u16string(kRegFileHeader) + u"\r\n\r\n";
  status = AppendTree(key.Get(), name.Full(), text);
  if (status != ERROR_SUCCESS) return Failed(status);
  std::error_code ignored;
  if (!overwrite && std::filesystem::exists(path, ignored) && !Confirm("File " + file + " already exists. Overwrite")) {
    return Canceled();
  }
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  std::string bytes = "\xFF\xFE";
  for (char16_t c : text) {
    bytes += static_cast<char>(c & 0xFF);
    bytes += static_cast<char>(c >> 8);
  }
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) {
    PrintError("ERROR: Error opening the file. There may be a disk or file system error.");
    return kFailure;
  }
  return Succeeded();
}

}  // namespace RegTool
