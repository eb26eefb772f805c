// A fresh registry folder for a test and the programs it starts.
//
// On Linux the registry lives in the folder named by HALCYRA_REGISTRY_ROOT, read when a process
// first touches the registry. TemporaryRegistryFolder makes a new empty folder, points the
// variable at it for this process and its children, and removes the folder and restores the
// variable when destroyed. A process that has touched the registry already keeps its folder until
// it drops its hives (RegistrySandbox::ReopenRegistry). On Windows the variable means nothing and
// the machine's registry is used.
//
// Every test program starts on a throwaway folder already: CTest names one for each test, and a
// program started by hand makes its own (registry_root_guard.cpp); tests need this class only to
// hand a fresh folder to the programs they start, or through RegistrySandbox.
#pragma once

#include <string>

namespace Testing {

class TemporaryRegistryFolder {
public:
  TemporaryRegistryFolder();
  ~TemporaryRegistryFolder();
  TemporaryRegistryFolder(const TemporaryRegistryFolder&) = delete;
  TemporaryRegistryFolder& operator=(const TemporaryRegistryFolder&) = delete;

  // UTF-8 path of the folder; empty when it could not be made.
  const std::string& Path() const { return m_path; }

private:
  std::string m_path;
  std::u16string m_previous;
  bool m_hadPrevious = false;
};

}  // namespace Testing
