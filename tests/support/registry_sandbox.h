// A throwaway place in the registry for one test, on both platforms.
//
// On Linux the whole registry moves to a fresh temporary folder first (a TemporaryRegistryFolder),
// so that tests never meet each other's keys; on Windows (and under Wine) the tests share the
// machine's registry. On both, the test works below a fresh key
// <hive>\Software\HalcyraTests\<random> (HKEY_CURRENT_USER unless told otherwise), which the
// sandbox deletes at the end.
#pragma once

#include <string>

#include "platform/registry.h"
#include "tests/support/temporary_registry_folder.h"

namespace Testing {

class RegistrySandbox {
public:
  explicit RegistrySandbox(Platform::HKEY hive = Platform::HKEY_CURRENT_USER);
  ~RegistrySandbox();
  RegistrySandbox(const RegistrySandbox&) = delete;
  RegistrySandbox& operator=(const RegistrySandbox&) = delete;

  // Whether the sandbox is ready; a test fails at once when it is not.
  bool Ready() const { return m_root != nullptr; }
  // A handle with every right on the test's key.
  Platform::HKEY Root() const { return m_root; }
  // The predefined key the test's key lies below, and its path there
  // ("Software\HalcyraTests\<random>").
  Platform::HKEY Hive() const { return m_hive; }
  const std::u16string& RootPath() const { return m_rootPath; }
  // The same as text for command lines: "HKCU\Software\HalcyraTests\<random>".
  std::string RootCommandPath() const;

  // Whether the registry lives in a folder of files (Linux), so that the folder can be acted on.
  static bool HasRegistryFolder();
  // The registry folder of the sandbox (Linux only).
  const std::string& Folder() const { return m_folder.Path(); }
  // Drops every handle and hive of this process so that the next call opens the folder afresh;
  // with `bootId`, as if the machine had rebooted into that boot (Linux only).
  static void ReopenRegistry(const char* bootId = nullptr);

private:
  TemporaryRegistryFolder m_folder;
  Platform::HKEY m_hive;
  std::u16string m_rootPath;
  Platform::HKEY m_root = nullptr;
};

}  // namespace Testing
