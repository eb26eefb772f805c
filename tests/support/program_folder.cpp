#include "tests/support/program_folder.h"

#include "platform/module.h"
#include "platform/utf.h"

namespace Testing {

std::string ProgramFolder() {
  char16_t path[4096];
  const std::u16string program(path, Platform::GetModuleFileNameW(nullptr, path, 4096));
  return Platform::Utf16ToUtf8(program.substr(0, program.find_last_of(u"/\\") + 1));
}

}  // namespace Testing
