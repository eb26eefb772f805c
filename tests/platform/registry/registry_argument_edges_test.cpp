// What Windows does at the edges of the calls' arguments, checked against the platform API only on
// both platforms: a string size that leaves out the terminator, a data pointer into the null page,
// the result of a failed open, a missing result pointer, and class buffers too small to take the
// class.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/wine.h"

using namespace Platform;

namespace {

constexpr char16_t kString[] = u"ThisNeverBreaks";  // 15 characters: 32 bytes with the terminator

class RegistryArgumentEdgesTest : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(m_sandbox.Ready()); }

  HKEY Root() const { return m_sandbox.Root(); }

  // The stored bytes of the value `name` of the test's key.
  std::vector<BYTE> Stored(const char16_t* name) {
    DWORD size = 0;
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(Root(), name, nullptr, nullptr, nullptr, &size));
    std::vector<BYTE> bytes(size);
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(Root(), name, nullptr, nullptr, bytes.data(), &size));
    bytes.resize(size);
    return bytes;
  }

  Testing::RegistrySandbox m_sandbox;
};

std::vector<BYTE> BytesOf(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const BYTE*>(data);
  return std::vector<BYTE>(bytes, bytes + size);
}

TEST_F(RegistryArgumentEdgesTest, StringSizeWithoutTheTerminatorStoresTheTerminatorThatFollows) {
  ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(Root(), u"OffByOne", 0, REG_SZ, reinterpret_cast<const BYTE*>(kString),
                                          sizeof(kString) - 2));
  EXPECT_EQ(BytesOf(kString, sizeof(kString)), Stored(u"OffByOne"));
}

TEST_F(RegistryArgumentEdgesTest, StringSizeThatCutsTheTextIsKeptAsGiven) {
  // The character after the given bytes is not a terminator: nothing is added.
  const DWORD size = sizeof(kString) - 4;
  ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(Root(), u"Cut", 0, REG_SZ, reinterpret_cast<const BYTE*>(kString), size));
  EXPECT_EQ(BytesOf(kString, size), Stored(u"Cut"));
}

TEST_F(RegistryArgumentEdgesTest, ExpandableAndMultiStringsAlsoGetTheTerminatorThatFollows) {
  const auto* data = reinterpret_cast<const BYTE*>(kString);
  ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(Root(), u"Expand", 0, REG_EXPAND_SZ, data, sizeof(kString) - 2));
  EXPECT_EQ(sizeof(kString), Stored(u"Expand").size());
  ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(Root(), u"Binary", 0, REG_BINARY, data, sizeof(kString) - 2));
  EXPECT_EQ(sizeof(kString) - 2, Stored(u"Binary").size());
}

TEST_F(RegistryArgumentEdgesTest, DataPointerIntoTheNullPageIsNoAccess) {
  const auto* bad = reinterpret_cast<const BYTE*>(static_cast<std::uintptr_t>(1));
  EXPECT_EQ(ERROR_NOACCESS, RegSetValueExW(Root(), u"Bad", 0, REG_SZ, bad, 1));
  EXPECT_EQ(ERROR_NOACCESS, RegSetValueExW(Root(), u"Bad", 0, REG_DWORD, bad, 1));
  DWORD size = 0;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(Root(), u"Bad", nullptr, nullptr, nullptr, &size));
}

TEST_F(RegistryArgumentEdgesTest, OpenWithANullKeyClearsTheResult) {
  HKEY key = Root();
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegOpenKeyExW(nullptr, u"", 0, KEY_QUERY_VALUE, &key));
  EXPECT_EQ(nullptr, key);
  key = Root();
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegOpenKeyExW(nullptr, u"Software", 0, KEY_QUERY_VALUE, &key));
  EXPECT_EQ(nullptr, key);
}

TEST_F(RegistryArgumentEdgesTest, CreateWithoutAResultPointerIsBadKey) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine 8 writes through the missing result pointer";
  EXPECT_EQ(ERROR_BADKEY, RegCreateKeyExW(Root(), u"Subkey1", 0, nullptr, 0, KEY_NOTIFY, nullptr, nullptr, nullptr));
}

class RegistryClassBufferTest : public RegistryArgumentEdgesTest {
protected:
  void SetUp() override {
    RegistryArgumentEdgesTest::SetUp();
    char16_t keyClass[] = u"subkey class";
    ASSERT_EQ(ERROR_SUCCESS,
              RegCreateKeyExW(Root(), u"sub", 0, keyClass, 0, KEY_ALL_ACCESS, nullptr, m_key.Put(), nullptr));
    std::memset(m_buffer, 0x55, sizeof(m_buffer));
  }

  LSTATUS QueryClass(DWORD& length) {
    return RegQueryInfoKeyW(m_key.Get(), m_buffer, &length, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr);
  }

  bool BufferUntouched() const {
    for (char16_t c : m_buffer) {
      if (c != 0x5555) return false;
    }
    return true;
  }

  UniqueKey m_key;
  char16_t m_buffer[32];
};

TEST_F(RegistryClassBufferTest, ClassBufferOfSizeZeroSucceedsAndIsLeftAlone) {
  DWORD length = 0;
  EXPECT_EQ(ERROR_SUCCESS, QueryClass(length));
  EXPECT_TRUE(BufferUntouched());
  // Windows answers a length of 0 here; Wine gives the class's length.
  if (!Testing::RunningUnderWine()) {
    EXPECT_EQ(0u, length);
  }
}

TEST_F(RegistryClassBufferTest, ClassBufferOneCharacterShortIsInsufficientBuffer) {
  DWORD length = 12;  // the class's length: no room for the terminator
  EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, QueryClass(length));
  EXPECT_TRUE(BufferUntouched());
  EXPECT_TRUE(length == 11 || length == 12) << length;
}

TEST_F(RegistryClassBufferTest, ClassBufferThatFitsGetsTheClassAndItsLength) {
  DWORD length = 13;
  ASSERT_EQ(ERROR_SUCCESS, QueryClass(length));
  EXPECT_EQ(12u, length);
  EXPECT_EQ(u"subkey class", std::u16string(m_buffer));
  EXPECT_EQ(0x5555, m_buffer[13]);
}

}  // namespace
