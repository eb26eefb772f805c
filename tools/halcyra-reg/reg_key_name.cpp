#include "tools/halcyra-reg/reg_key_name.h"

#include "platform/utf.h"

namespace RegTool {
namespace {

struct Root {
  const char* shortName;
  const char* longName;
  Platform::HKEY key;
};

const Root kRoots[] = {
    {"HKLM", "HKEY_LOCAL_MACHINE", Platform::HKEY_LOCAL_MACHINE},
    {"HKCU", "HKEY_CURRENT_USER", Platform::HKEY_CURRENT_USER},
    {"HKCR", "HKEY_CLASSES_ROOT", Platform::HKEY_CLASSES_ROOT},
    {"HKU", "HKEY_USERS", Platform::HKEY_USERS},
    {"HKCC", "HKEY_CURRENT_CONFIG", Platform::HKEY_CURRENT_CONFIG},
};

// Root names are ASCII; other letters stay as they are, so that no locale can match them.
std::string Upper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

}  // namespace

std::u16string KeyName::WidePath() const { return Platform::Utf8ToUtf16(path); }

Platform::HKEY RootByName(const std::string& name, std::string* longName) {
  std::string upper = Upper(name);
  for (const Root& root : kRoots) {
    if (upper == root.shortName || upper == root.longName) {
      if (longName != nullptr) *longName = root.longName;
      return root.key;
    }
  }
  return nullptr;
}

bool ParseKeyName(const std::string& text, KeyName& name) {
  if (text.rfind("\\\\", 0) == 0) return false;
  std::size_t slash = text.find('\\');
  std::string root = text.substr(0, slash);
  name.root = RootByName(root, &name.rootName);
  if (name.root == nullptr) return false;
  if (slash == std::string::npos) {
    name.path.clear();
    return true;
  }
  name.path = text.substr(slash + 1);
  if (!name.path.empty() && name.path.back() == '\\') name.path.pop_back();
  return !name.path.empty() && name.path.front() != '\\' && name.path.back() != '\\';
}

}  // namespace RegTool
