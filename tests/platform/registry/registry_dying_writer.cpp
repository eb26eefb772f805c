// A child program for the test of a writer killed between its commit and its announcement (Linux
// only: the hook belongs to the Linux registry).
//
//   registry_dying_writer KEY VALUE   sets the DWORD value "Value" of KEY below HKEY_CURRENT_USER
//                                     and is killed right after that write's commit, before the
//                                     change is announced to other processes
#include <signal.h>

#include <cstdlib>
#include <string>

#include "platform/posix/registry/state.h"
#include "platform/registry.h"

using namespace Platform;

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::u16string key;
  for (const char* c = argv[1]; *c != 0; ++c) key += static_cast<char16_t>(static_cast<unsigned char>(*c));
  HKEY handle = nullptr;
  // Opened before the hook is set: only the write below reaches it.
  if (RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_SET_VALUE, &handle) != ERROR_SUCCESS) return 3;
  Posix::SetAfterCommitHookForTests([] { ::raise(SIGKILL); });
  DWORD value = static_cast<DWORD>(std::strtoul(argv[2], nullptr, 10));
  RegSetValueExW(handle, u"Value", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4);
  return 4;
}
