// Key names as reg.exe takes them: a root (HKLM, HKCU, HKCR, HKU, HKCC or the long names, any
// case) and a path below it, and the full names it prints ("HKEY_CURRENT_USER\Software\x").
#pragma once

#include <string>

#include "platform/registry.h"

namespace RegTool {

struct KeyName {
  Platform::HKEY root = nullptr;
  std::string rootName;  // long form, as printed
  std::string path;      // below the root, without leading or trailing backslashes; may be empty

  // The full name as reg.exe prints it.
  std::string Full() const { return path.empty() ? rootName : rootName + "\\" + path; }
  std::u16string WidePath() const;
};

// Parses a key name of a command line. False for an unknown root, a remote name ("\\machine\..."),
// a root followed by a backslash and nothing more, and a path that starts or ends with more than
// one backslash; one backslash at the end is dropped.
bool ParseKeyName(const std::string& text, KeyName& name);

// The long name of a root as given in a .reg file or on a command line, or null.
Platform::HKEY RootByName(const std::string& name, std::string* longName = nullptr);

}  // namespace RegTool
