// reg watch: one line for each change of a key (or its subtree with /s) until interrupted.
//
// After each signal the watch is armed again first, so that no change is missed, and then the
// key is read again and compared with what was seen before: each value that appeared or changed
// is printed as "reg query" prints it, after the key's name, and each value or key that went is
// named as gone.
#include <map>

#include "platform/synchronization.h"
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

// What the watch has seen: for each key (by full name) its values, by name.
using Snapshot = std::map<std::string, std::map<std::u16string, Value>>;

LSTATUS Take(HKEY key, const std::string& fullName, bool subtree, Snapshot& snapshot) {
  std::vector<Value> values;
  std::vector<std::u16string> subKeys;
  LSTATUS status = ReadValues(key, values);
  if (status == ERROR_SUCCESS) status = ReadSubKeys(key, subKeys);
  if (status != ERROR_SUCCESS) return status;
  auto& entry = snapshot[fullName];
  for (Value& value : values) entry.emplace(value.name, std::move(value));
  for (const std::u16string& name : subKeys) {
    std::string childName = fullName + "\\" + Utf16ToUtf8(name);
    if (!subtree) {
      snapshot[childName];
      continue;
    }
    UniqueKey child;
    if (RegOpenKeyExW(key, name.c_str(), 0, KEY_READ, child.Put()) != ERROR_SUCCESS) continue;
    status = Take(child.Get(), childName, true, snapshot);
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

int Report(const Snapshot& before, const Snapshot& after, const std::string& watched) {
  int lines = 0;
  for (const auto& [keyName, values] : after) {
    auto old = before.find(keyName);
    if (old == before.end()) {
      PrintLine(keyName + "    (key added)");
      ++lines;
    }
    for (const auto& [valueName, value] : values) {
      const Value* previous = nullptr;
      if (old != before.end()) {
        auto found = old->second.find(valueName);
        if (found != old->second.end()) previous = &found->second;
      }
      if (previous != nullptr && previous->type == value.type && previous->data == value.data) continue;
      PrintLine(keyName + "    " + DisplayName(value.name) + "    " + TypeName(value.type) + "    " + QueryText(value));
      ++lines;
    }
    if (old == before.end()) continue;
    for (const auto& [valueName, value] : old->second) {
      if (values.count(valueName) != 0) continue;
      PrintLine(keyName + "    " + DisplayName(valueName) + "    (value deleted)");
      ++lines;
    }
  }
  for (const auto& [keyName, values] : before) {
    if (after.count(keyName) != 0 || keyName == watched) continue;
    PrintLine(keyName + "    (key deleted)");
    ++lines;
  }
  return lines;
}

}  // namespace

int Watch(const Arguments& arguments) {
  if (arguments.empty() || arguments.size() > 2 || (arguments.size() == 2 && !IsOption(arguments[1], "s"))) {
    return InvalidSyntax("WATCH");
  }
  KeyName name;
  if (!ParseKeyName(arguments[0], name)) return InvalidKeyName("WATCH");
  bool subtree = arguments.size() == 2;
  UniqueKey key;
  LSTATUS status = RegOpenKeyExW(name.root, name.path.empty() ? nullptr : name.WidePath().c_str(), 0,
                                 KEY_READ | KEY_NOTIFY, key.Put());
  if (status != ERROR_SUCCESS) return Failed(status);
  UniqueKernelHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  if (!event) return Failed(ERROR_NOT_ENOUGH_MEMORY);
  const DWORD filter = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_THREAD_AGNOSTIC;

  status = RegNotifyChangeKeyValue(key.Get(), subtree ? TRUE : FALSE, filter, event.Get(), TRUE);
  Snapshot seen;
  if (status == ERROR_SUCCESS) status = Take(key.Get(), name.Full(), subtree, seen);
  if (status != ERROR_SUCCESS) return Failed(status);
  PrintLine("Watching " + name.Full() + (subtree ? " and its subkeys" : "") + ". Press Ctrl+C to stop.");
  for (;;) {
    if (WaitForSingleObject(event.Get(), INFINITE) != WAIT_OBJECT_0) return Failed(ERROR_INVALID_HANDLE);
    status = RegNotifyChangeKeyValue(key.Get(), subtree ? TRUE : FALSE, filter, event.Get(), TRUE);
    Snapshot now;
    if (status == ERROR_SUCCESS) status = Take(key.Get(), name.Full(), subtree, now);
    if (status == ERROR_KEY_DELETED) {
      PrintLine(name.Full() + "    (key deleted)");
      return kSuccess;
    }
    if (status != ERROR_SUCCESS) return Failed(status);
    if (Report(seen, now, name.Full()) == 0) PrintLine(name.Full() + "    (changed)");
    seen = std::move(now);
  }
}

}  // namespace RegTool
