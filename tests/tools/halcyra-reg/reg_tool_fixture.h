// A test of halcyra-reg as a separate process: a throwaway key to work below, the tool run with
// arguments, and files of the test's own that are removed at its end.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/registry.h"
#include "platform/utf.h"
#include "tests/support/child_process.h"
#include "tests/support/registry_sandbox.h"

namespace Testing {

class RegToolTest : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(m_sandbox.Ready()); }

  ~RegToolTest() override {
    std::error_code ignored;
    for (const std::filesystem::path& file : m_files) std::filesystem::remove(file, ignored);
  }

  // Runs halcyra-reg to its end.
  static ChildProcess::Result Run(const std::vector<std::string>& arguments) {
    return ChildProcess::Run(HALCYRA_REG_TOOL, arguments);
  }

  // The test's key on a command line ("HKCU\Software\HalcyraTests\<random>"), and as the tool prints it.
  std::string Key() const { return m_sandbox.RootCommandPath(); }
  std::string FullKey() const { return "HKEY_CURRENT_USER\\" + Platform::Utf16ToUtf8(m_sandbox.RootPath()); }
  Platform::HKEY Root() const { return m_sandbox.Root(); }
  // A name no other test uses, for what a test must put outside its key.
  std::string UniqueName() const {
    const std::u16string& path = m_sandbox.RootPath();
    return "HalcyraTest" + Platform::Utf16ToUtf8(path.substr(path.rfind(u'\\') + 1));
  }

  // A file of this test in the temporary folder, holding `bytes`; its path.
  std::string WriteFile(const std::string& suffix, const std::string& bytes) {
    std::filesystem::path path = std::filesystem::temp_directory_path() / (UniqueName() + suffix);
    m_files.push_back(path);
    std::FILE* file = std::fopen(path.string().c_str(), "wb");
    if (file != nullptr) {
      std::fwrite(bytes.data(), 1, bytes.size(), file);
      std::fclose(file);
    }
    return path.string();
  }

  // A value of the test's key as the registry holds it: its type and bytes.
  bool ReadValue(const std::u16string& name, Platform::DWORD& type, std::vector<Platform::BYTE>& data) const {
    data.resize(1024);
    Platform::DWORD size = static_cast<Platform::DWORD>(data.size());
    if (Platform::RegQueryValueExW(Root(), name.c_str(), nullptr, &type, data.data(), &size) !=
        Platform::ERROR_SUCCESS) {
      return false;
    }
    data.resize(size);
    return true;
  }

private:
  RegistrySandbox m_sandbox;
  std::vector<std::filesystem::path> m_files;
};

}  // namespace Testing
