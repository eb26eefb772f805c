#include "platform/module.h"
#include "platform/system_error.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/utf.h"
#include "tests/support/wine.h"

namespace {

void FunctionInThisProgram() {}

TEST(ModuleTest, ExecutableFileNameEndsWithTheProgramName) {
  char16_t path[4096];
  Platform::DWORD length = Platform::GetModuleFileNameW(nullptr, path, 4096);
  ASSERT_GT(length, 0u);
  std::string name = Platform::Utf16ToUtf8(std::u16string(path, length));
  EXPECT_NE(name.find("platform_tests"), std::string::npos) << name;
}

TEST(ModuleTest, ShortBufferIsFilledCutAndTerminated) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine cuts the path without a terminator and leaves the last error, as Windows XP did";
  }
  char16_t path[5];
  EXPECT_EQ(Platform::GetModuleFileNameW(nullptr, path, 5), 5u);
  EXPECT_EQ(path[4], 0);
  EXPECT_EQ(Platform::GetLastError(), static_cast<Platform::DWORD>(Platform::ERROR_INSUFFICIENT_BUFFER));
}

TEST(ModuleTest, HandleFromAnAddressIsTheHandleOfItsModule) {
  Platform::HMODULE fromAddress = nullptr, executable = nullptr;
  ASSERT_TRUE(Platform::GetModuleHandleExW(
      Platform::GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | Platform::GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<const char16_t*>(&FunctionInThisProgram), &fromAddress));
  ASSERT_TRUE(Platform::GetModuleHandleExW(0, nullptr, &executable));
  EXPECT_EQ(fromAddress, executable);
  EXPECT_EQ(fromAddress, Platform::GetLinkedImageBase());
}

TEST(ModuleTest, MissingLibraryGivesNullAndModuleNotFound) {
  EXPECT_EQ(Platform::LoadLibraryW(u"no-such-library-anywhere.bin"), nullptr);
  EXPECT_EQ(Platform::GetLastError(), static_cast<Platform::DWORD>(Platform::ERROR_MOD_NOT_FOUND));
}

TEST(ModuleTest, MissingExportGivesNullAndProcNotFound) {
  Platform::HMODULE executable = nullptr;
  ASSERT_TRUE(Platform::GetModuleHandleExW(0, nullptr, &executable));
  EXPECT_EQ(Platform::GetProcAddress(executable, "NoSuchExportAnywhere"), nullptr);
  EXPECT_EQ(Platform::GetLastError(), static_cast<Platform::DWORD>(Platform::ERROR_PROC_NOT_FOUND));
}

}  // namespace
