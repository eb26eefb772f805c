#include "tests/support/shell_command.h"

#include <cstdlib>

#include "platform/module.h"
#include "platform/utf.h"
#include "tests/support/platform_kind.h"

namespace Testing {

std::string ProgramFolder() {
  char16_t path[4096];
  std::u16string program(path, Platform::GetModuleFileNameW(nullptr, path, 4096));
  return Platform::Utf16ToUtf8(program.substr(0, program.find_last_of(u"/\\") + 1));
}

int RunShellCommand(const std::string& command) {
  // cmd.exe /c drops the first and the last quote of a line that holds more than one pair, so the
  // line gets a pair of its own.
  const std::string line = kRunningOnWindows ? "\"" + command + "\"" : command;
  return std::system(line.c_str());
}

}  // namespace Testing
