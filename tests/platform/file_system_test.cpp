#include "platform/file_system.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/system_error.h"
#include "platform/utf.h"

namespace {

using namespace Platform;

class FileSystemTest : public ::testing::Test {
protected:
  FileSystemTest() : folder(std::filesystem::path(::testing::TempDir()) / "halcyra_file_system_test") {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
  }
  ~FileSystemTest() override { std::filesystem::remove_all(folder); }

  static std::u16string Wide(const std::filesystem::path& path) { return Utf8ToUtf16(path.string()); }

  std::filesystem::path folder;
};

TEST_F(FileSystemTest, AFileGivesItsSizeAndNoDirectoryAttribute) {
  const std::filesystem::path file = folder / "seven.bin";
  std::ofstream(file, std::ios::binary) << "1234567";
  WIN32_FILE_ATTRIBUTE_DATA data{};
  ASSERT_TRUE(GetFileAttributesExW(Wide(file).c_str(), GetFileExInfoStandard, &data));
  EXPECT_EQ(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
  EXPECT_EQ(data.nFileSizeLow, 7u);
  EXPECT_EQ(data.nFileSizeHigh, 0u);
  EXPECT_NE(data.ftLastWriteTime.dwHighDateTime, 0u);
}

TEST_F(FileSystemTest, ADirectoryHasTheDirectoryAttribute) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  ASSERT_TRUE(GetFileAttributesExW(Wide(folder).c_str(), GetFileExInfoStandard, &data));
  EXPECT_NE(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
}

TEST_F(FileSystemTest, AMissingEntryIsFileNotFound) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  SetLastError(0);
  EXPECT_FALSE(GetFileAttributesExW(Wide(folder / "missing.dll").c_str(), GetFileExInfoStandard, &data));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST_F(FileSystemTest, AMissingDirectoryOnTheWayIsPathNotFound) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  EXPECT_FALSE(GetFileAttributesExW(Wide(folder / "no" / "such.dll").c_str(), GetFileExInfoStandard, &data));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

}  // namespace
