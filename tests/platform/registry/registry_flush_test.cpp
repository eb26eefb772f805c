// RegFlushKey, against the platform API only (both platforms). What it promises, that the hive is
// on the disk when it returns, shows only after a power loss; these tests check its answers.
#include <gtest/gtest.h>

#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "tests/support/registry_sandbox.h"

using namespace Platform;

namespace {

class RegistryFlushTest : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(m_sandbox.Ready()); }

  Testing::RegistrySandbox m_sandbox;
};

TEST_F(RegistryFlushTest, FlushOfAnOpenKeySucceedsAndKeepsItsValues) {
  DWORD value = 7;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(m_sandbox.Root(), u"Flushed", u"V", REG_DWORD, &value, 4));
  UniqueKey key;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(m_sandbox.Root(), u"Flushed", 0, KEY_READ, key.Put()));
  EXPECT_EQ(ERROR_SUCCESS, RegFlushKey(key.Get()));
  DWORD read = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(key.Get(), nullptr, u"V", RRF_RT_REG_DWORD, nullptr, &read, &size));
  EXPECT_EQ(7u, read);
}

TEST_F(RegistryFlushTest, FlushOfAPredefinedKeySucceeds) {
  EXPECT_EQ(ERROR_SUCCESS, RegFlushKey(HKEY_CURRENT_USER));
  EXPECT_EQ(ERROR_SUCCESS, RegFlushKey(HKEY_LOCAL_MACHINE));
}

TEST_F(RegistryFlushTest, FlushOfAClosedHandleIsInvalidHandle) {
  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(m_sandbox.Root(), nullptr, 0, KEY_READ, &key));
  ASSERT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegFlushKey(key));
}

}  // namespace
