// RegNotifyChangeKeyValue within one process, against the platform API only (both platforms): the
// filters, the subtree, one signal per arming, and the signals of a deleted key and a closed
// handle. Waits that expect no signal are bounded and short; waits for a signal allow seconds.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/unique_handle.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/wine.h"

using namespace Platform;

namespace {

constexpr DWORD kSignalWait = 5000;
constexpr DWORD kQuietWait = 200;
constexpr DWORD kAllChanges =
    REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_SECURITY;

class RegistryNotificationTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(m_sandbox.Ready());
    m_event.Reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    ASSERT_TRUE(m_event);
  }

  HKEY Root() const { return m_sandbox.Root(); }
  HANDLE Event() const { return m_event.Get(); }

  UniqueKey Create(HKEY parent, const char16_t* path, REGSAM access = KEY_ALL_ACCESS) {
    UniqueKey key;
    EXPECT_EQ(ERROR_SUCCESS, RegCreateKeyExW(parent, path, 0, nullptr, 0, access, nullptr, key.Put(), nullptr));
    return key;
  }

  void Arm(HKEY key, BOOL subtree, DWORD filter) {
    ASSERT_EQ(ERROR_SUCCESS, RegNotifyChangeKeyValue(key, subtree, filter | REG_NOTIFY_THREAD_AGNOSTIC, Event(), TRUE));
  }

  void SetDword(HKEY key, const char16_t* subKey, const char16_t* name, DWORD value) {
    ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(key, subKey, name, REG_DWORD, &value, 4));
  }

  bool Signalled(DWORD milliseconds = kSignalWait) {
    return WaitForSingleObject(Event(), milliseconds) == WAIT_OBJECT_0;
  }

  Testing::RegistrySandbox m_sandbox;
  UniqueKernelHandle m_event;
};

TEST_F(RegistryNotificationTest, ValueChangeSignalsTheWatchOnce) {
  Arm(Root(), FALSE, REG_NOTIFY_CHANGE_LAST_SET);
  SetDword(Root(), nullptr, u"V", 1);
  EXPECT_TRUE(Signalled());
  SetDword(Root(), nullptr, u"V", 2);
  EXPECT_FALSE(Signalled(kQuietWait));
}

TEST_F(RegistryNotificationTest, ChangeBeforeArmingDoesNotSignal) {
  SetDword(Root(), nullptr, u"V", 1);
  Arm(Root(), TRUE, kAllChanges);
  EXPECT_FALSE(Signalled(kQuietWait));
  SetDword(Root(), nullptr, u"V", 2);
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, DeletingAValueSignalsLastSet) {
  SetDword(Root(), nullptr, u"V", 1);
  Arm(Root(), FALSE, REG_NOTIFY_CHANGE_LAST_SET);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteValueW(Root(), u"V"));
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, SubtreeWatchSeesValueChangesBelow) {
  UniqueKey child = Create(Root(), u"A\\B");
  Arm(Root(), TRUE, REG_NOTIFY_CHANGE_LAST_SET);
  SetDword(child.Get(), nullptr, u"V", 1);
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, WatchWithoutSubtreeIgnoresValueChangesBelow) {
  UniqueKey child = Create(Root(), u"A");
  Arm(Root(), FALSE, REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_NAME);
  SetDword(child.Get(), nullptr, u"V", 1);
  EXPECT_FALSE(Signalled(kQuietWait));
  SetDword(Root(), nullptr, u"V", 1);
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, NameFilterSeesANewSubKey) {
  Arm(Root(), FALSE, REG_NOTIFY_CHANGE_NAME);
  Create(Root(), u"NewChild");
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, NameFilterIgnoresValueChanges) {
  Arm(Root(), TRUE, REG_NOTIFY_CHANGE_NAME);
  SetDword(Root(), nullptr, u"V", 1);
  EXPECT_FALSE(Signalled(kQuietWait));
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteValueW(Root(), u"V"));
  EXPECT_FALSE(Signalled(kQuietWait));
  Create(Root(), u"NewChild");
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, LastSetFilterIgnoresNewSubKeys) {
  Arm(Root(), FALSE, REG_NOTIFY_CHANGE_LAST_SET);
  Create(Root(), u"NewChild");
  EXPECT_FALSE(Signalled(kQuietWait));
}

TEST_F(RegistryNotificationTest, SubtreeNameWatchSeesAKeyDeletedDeepBelow) {
  Create(Root(), u"A\\B\\C");
  Arm(Root(), TRUE, REG_NOTIFY_CHANGE_NAME);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(Root(), u"A\\B"));
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, DeletingTheWatchedKeySignalsIt) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine does not signal the watch of a key that is deleted";
  UniqueKey watched = Create(Root(), u"Watched");
  Arm(watched.Get(), FALSE, REG_NOTIFY_CHANGE_LAST_SET);
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(Root(), u"Watched"));
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, ClosingTheHandleSignalsItsWatch) {
  UniqueKey watched = Create(Root(), u"Watched");
  Arm(watched.Get(), TRUE, kAllChanges);
  watched.Reset();
  EXPECT_TRUE(Signalled());
}

TEST_F(RegistryNotificationTest, WatchOfADeletedKeyIsRefused) {
  UniqueKey doomed = Create(Root(), u"Doomed");
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(Root(), u"Doomed"));
  EXPECT_EQ(ERROR_KEY_DELETED, RegNotifyChangeKeyValue(doomed.Get(), TRUE, REG_NOTIFY_CHANGE_LAST_SET, Event(), TRUE));
}

TEST_F(RegistryNotificationTest, AsynchronousWatchWithoutEventIsInvalidParameter) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine refuses the missing event with ERROR_INVALID_HANDLE";
  EXPECT_EQ(ERROR_INVALID_PARAMETER, RegNotifyChangeKeyValue(Root(), TRUE, REG_NOTIFY_CHANGE_LAST_SET, nullptr, TRUE));
}

TEST_F(RegistryNotificationTest, WatchThroughAHandleWithoutNotifyRightIsAccessDenied) {
  UniqueKey reader;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(Root(), nullptr, 0, KEY_QUERY_VALUE, reader.Put()));
  EXPECT_EQ(ERROR_ACCESS_DENIED,
            RegNotifyChangeKeyValue(reader.Get(), TRUE, REG_NOTIFY_CHANGE_LAST_SET, Event(), TRUE));
}

TEST_F(RegistryNotificationTest, SynchronousWatchReturnsAfterAChange) {
  UniqueKey watched = Create(Root(), u"Sync");
  std::atomic<bool> returned{false};
  std::thread watcher([&] {
    EXPECT_EQ(ERROR_SUCCESS, RegNotifyChangeKeyValue(watched.Get(), FALSE, REG_NOTIFY_CHANGE_LAST_SET, nullptr, FALSE));
    returned = true;
    SetEvent(Event());
  });
  // Writes until the watcher has returned: its arming may come after any one of them.
  DWORD value = 0;
  while (!returned) {
    SetDword(watched.Get(), nullptr, u"V", ++value);
    if (Signalled(20)) break;
  }
  watcher.join();
  EXPECT_TRUE(returned);
}

TEST_F(RegistryNotificationTest, EveryArmingSeesTheChangeThatFollowsIt) {
  UniqueKey watched = Create(Root(), u"Busy");
  for (DWORD round = 0; round < 100; ++round) {
    Arm(watched.Get(), TRUE, REG_NOTIFY_CHANGE_LAST_SET);
    std::thread writer([&] { SetDword(watched.Get(), u"Below", u"V", round); });
    writer.join();
    ASSERT_TRUE(Signalled()) << "round " << round;
  }
}

TEST_F(RegistryNotificationTest, ArmingResetsASignalledEvent) {
  ASSERT_TRUE(SetEvent(Event()));
  Arm(Root(), TRUE, REG_NOTIFY_CHANGE_NAME);
  EXPECT_FALSE(Signalled(0));
  Create(Root(), u"SubKey");
  EXPECT_TRUE(Signalled(0));
}

TEST_F(RegistryNotificationTest, OwnValueChangeSignalsBeforeTheChangingCallReturns) {
  UniqueKey watched = Create(Root(), u"Own");
  for (DWORD round = 0; round < 500; ++round) {
    Arm(watched.Get(), FALSE, REG_NOTIFY_CHANGE_LAST_SET);
    SetDword(watched.Get(), nullptr, u"V", round);
    ASSERT_TRUE(Signalled(0)) << "round " << round;
  }
}

TEST_F(RegistryNotificationTest, OwnNewSubKeySignalsBeforeTheCreatingCallReturns) {
  UniqueKey watched = Create(Root(), u"Own");
  Arm(watched.Get(), FALSE, REG_NOTIFY_CHANGE_NAME);
  Create(watched.Get(), u"Child");
  EXPECT_TRUE(Signalled(0));
}

TEST_F(RegistryNotificationTest, SeveralWatchesOnOneKeyAllFire) {
  UniqueKernelHandle second(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  UniqueKey other;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(Root(), nullptr, 0, KEY_NOTIFY, other.Put()));
  Arm(Root(), FALSE, REG_NOTIFY_CHANGE_LAST_SET);
  ASSERT_EQ(ERROR_SUCCESS, RegNotifyChangeKeyValue(other.Get(), FALSE, REG_NOTIFY_CHANGE_LAST_SET, second.Get(), TRUE));
  SetDword(Root(), nullptr, u"V", 1);
  EXPECT_TRUE(Signalled());
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(second.Get(), kSignalWait));
}

}  // namespace
