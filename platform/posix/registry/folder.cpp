#include "platform/posix/registry/folder.h"

#include <errno.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "platform/environment.h"
#include "platform/utf.h"

namespace Platform::Posix {
namespace {

std::string Variable(const char16_t* name) {
  char16_t buffer[1024];
  DWORD length = GetEnvironmentVariableW(name, buffer, 1024);
  if (length == 0 || length >= 1024) return {};
  return Utf16ToUtf8(std::u16string_view(buffer, length));
}

}  // namespace

std::string RegistryFolder() {
  std::string root = Variable(u"HALCYRA_REGISTRY_ROOT");
  if (!root.empty()) return root;
  std::string state = Variable(u"XDG_STATE_HOME");
  if (!state.empty()) return state + "/halcyra/registry";
  std::string home = Variable(u"HOME");
  if (home.empty()) {
    passwd entry{};
    passwd* found = nullptr;
    char buffer[4096];
    if (::getpwuid_r(::getuid(), &entry, buffer, sizeof(buffer), &found) == 0 && found != nullptr) {
      home = found->pw_dir;
    }
  }
  return home + "/.local/state/halcyra/registry";
}

bool MakeFolder(const std::string& folder) {
  for (std::size_t slash = folder.find('/', 1);; slash = folder.find('/', slash + 1)) {
    std::string part = folder.substr(0, slash);
    if (!part.empty() && ::mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) break;
    if (slash == std::string::npos) break;
  }
  struct stat status {};
  return ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string CurrentBootId() {
  std::ifstream file("/proc/sys/kernel/random/boot_id");
  std::string id;
  std::getline(file, id);
  return id;
}

}  // namespace Platform::Posix
