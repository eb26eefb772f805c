// A fresh registry folder for a test process and the programs it starts.
//
// On Linux the registry lives in the folder named by HALCYRA_REGISTRY_ROOT, read when a process
// first touches the registry. TemporaryRegistryFolder makes a new empty folder, points the
// variable at it for this process and its children, and removes the folder and restores the
// variable when destroyed. A process that has touched the registry already keeps its folder, so
// suites that test in-process use UseProcessRegistryFolder() before their first registry call. On
// Windows the variable means nothing and the machine's registry is used.
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

// One temporary folder for the rest of this process, made at the first call. Call it before the
// process's first registry call.
const std::string& UseProcessRegistryFolder();

}  // namespace Testing
