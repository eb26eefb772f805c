// The Linux registry's files: hives in the registry folder, a hive file that is not a database, a
// read-only folder, and volatile keys across a reboot. Windows keeps its registry elsewhere, so
// these tests skip there.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/debug_channel_capture.h"

using namespace Platform;
namespace fs = std::filesystem;

namespace {

class RegistryStorageTest : public ::testing::Test {
protected:
  void SetUp() override {
    if (!Testing::RegistrySandbox::HasRegistryFolder()) GTEST_SKIP() << "the registry has no folder of files here";
    ASSERT_TRUE(m_sandbox.Ready());
  }

  fs::path Folder() const { return m_sandbox.Folder(); }

  static std::string Contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  }

  Testing::RegistrySandbox m_sandbox;
};

TEST_F(RegistryStorageTest, HivesAreDatabasesInTheRegistryFolder) {
  DWORD value = 1;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_LOCAL_MACHINE, u"Software\\Stored", u"V", REG_DWORD, &value, 4));
  EXPECT_TRUE(fs::exists(Folder() / "user.db"));
  EXPECT_TRUE(fs::exists(Folder() / "machine.db"));
  EXPECT_EQ("SQLite format 3", Contents(Folder() / "machine.db").substr(0, 15));
}

TEST_F(RegistryStorageTest, ValuesSurviveReopeningTheRegistry) {
  DWORD value = 42;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(m_sandbox.Root(), u"Kept", u"V", REG_DWORD, &value, 4));
  Testing::RegistrySandbox::ReopenRegistry();
  DWORD read = 0, size = 4;
  ASSERT_EQ(ERROR_SUCCESS, RegGetValueW(HKEY_CURRENT_USER, (m_sandbox.RootPath() + u"\\Kept").c_str(), u"V",
                                        RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(42u, read);
}

TEST_F(RegistryStorageTest, HiveFileThatIsNotADatabaseGivesBadDbAndIsLeftAsItIs) {
  const fs::path hive = Folder() / "users.db";
  const std::string garbage = "This is not a database, and it must stay exactly as it is.\n";
  {
    std::ofstream out(hive, std::ios::binary);
    out << garbage;
  }
  Testing::RegistrySandbox::ReopenRegistry();
  Testing::DebugChannelCapture capture;
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_BADDB, RegOpenKeyExW(HKEY_USERS, u"Anything", 0, KEY_READ, &key));
  EXPECT_EQ(ERROR_BADDB,
            RegCreateKeyExW(HKEY_USERS, u"Anything", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  DWORD value = 1;
  EXPECT_EQ(ERROR_BADDB, RegSetKeyValueW(HKEY_USERS, u"Anything", u"V", REG_DWORD, &value, 4));
  EXPECT_EQ(garbage, Contents(hive));
  EXPECT_NE(std::string::npos, capture.Text().find("users.db is not a registry hive"));
  // The other hives are not affected.
  EXPECT_EQ(ERROR_SUCCESS,
            RegSetKeyValueW(HKEY_CURRENT_USER, m_sandbox.RootPath().c_str(), u"V", REG_DWORD, &value, 4));
}

TEST_F(RegistryStorageTest, ReadOnlyFolderServesReadsAndRefusesWrites) {
  DWORD value = 7;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(m_sandbox.Root(), u"Frozen", u"V", REG_DWORD, &value, 4));
  const std::u16string frozen = m_sandbox.RootPath() + u"\\Frozen";
  Testing::RegistrySandbox::ReopenRegistry();
  fs::permissions(Folder(), fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                                fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec);

  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS,
            RegGetValueW(HKEY_CURRENT_USER, frozen.c_str(), u"V", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(7u, read);
  UniqueKey key;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, frozen.c_str(), 0, KEY_ALL_ACCESS, key.Put()));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetValueExW(key.Get(), u"V", 0, REG_DWORD, reinterpret_cast<BYTE*>(&value), 4));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegSetKeyValueW(HKEY_CURRENT_USER, frozen.c_str(), u"W", REG_DWORD, &value, 4));
  HKEY created = nullptr;
  EXPECT_EQ(ERROR_ACCESS_DENIED,
            RegCreateKeyExW(key.Get(), u"New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created, nullptr));
  EXPECT_EQ(ERROR_ACCESS_DENIED, RegDeleteTreeW(HKEY_CURRENT_USER, frozen.c_str()));
  // A hive the folder does not hold yet reads as empty and cannot be written either.
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_USERS, u"Anything", 0, KEY_READ, &created));
  EXPECT_EQ(ERROR_ACCESS_DENIED,
            RegCreateKeyExW(HKEY_USERS, u"Anything", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created, nullptr));
  key.Reset();
  fs::permissions(Folder(), fs::perms::owner_all);
}

TEST_F(RegistryStorageTest, WriteAheadLogStaysBoundedUnderManyWrites) {
  UniqueKey key;
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(m_sandbox.Root(), u"Busy", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(), nullptr));
  std::uintmax_t largest = 0;
  for (DWORD i = 0; i < 20000; ++i) {
    ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(key.Get(), u"Counter", 0, REG_DWORD, reinterpret_cast<BYTE*>(&i), 4));
    if (i % 1000 == 0) largest = std::max(largest, fs::file_size(Folder() / "user.db-wal"));
  }
  // Twenty thousand commits of two pages each would make some 80 MiB without checkpoints.
  EXPECT_LT(largest, 40u * 1024 * 1024);
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(key.Get(), nullptr, u"Counter", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(19999u, read);
}

TEST_F(RegistryStorageTest, VolatileKeysAreGoneAfterAReboot) {
  UniqueKey volatileKey, child;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_sandbox.Root(), u"Volatile", 0, nullptr, REG_OPTION_VOLATILE,
                                           KEY_ALL_ACCESS, nullptr, volatileKey.Put(), nullptr));
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(volatileKey.Get(), u"Child", 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                                           nullptr, child.Put(), nullptr));
  DWORD value = 1;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(volatileKey.Get(), nullptr, u"V", REG_DWORD, &value, 4));
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(m_sandbox.Root(), u"Stable", u"V", REG_DWORD, &value, 4));
  volatileKey.Reset();
  child.Reset();
  const std::u16string root = m_sandbox.RootPath();

  // Reopening within the same boot keeps them.
  Testing::RegistrySandbox::ReopenRegistry();
  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, (root + u"\\Volatile\\Child").c_str(), 0, KEY_READ, &key));
  RegCloseKey(key);

  Testing::RegistrySandbox::ReopenRegistry("00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_CURRENT_USER, (root + u"\\Volatile").c_str(), 0, KEY_READ, &key));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND,
            RegOpenKeyExW(HKEY_CURRENT_USER, (root + u"\\Volatile\\Child").c_str(), 0, KEY_READ, &key));
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(HKEY_CURRENT_USER, (root + u"\\Stable").c_str(), u"V", RRF_RT_REG_DWORD,
                                        nullptr, &read, &size));
  Testing::RegistrySandbox::ReopenRegistry();
}

}  // namespace
