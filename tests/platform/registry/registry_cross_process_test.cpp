// The registry shared by separate processes: halcyra-reg and a child program of the tests run as
// processes of their own against the sandbox's registry (on Linux they inherit its
// HALCYRA_REGISTRY_ROOT; on Windows the machine's registry is shared anyway).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tests/support/child_process.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/platform_kind.h"

using namespace Platform;
using Testing::ChildProcess;

namespace {

constexpr int kLineWait = 10000;

class RegistryCrossProcessTest : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(m_sandbox.Ready()); }

  // Reads lines of `child` until one contains `text`; false when none does in time.
  static bool WaitForLine(ChildProcess& child, const std::string& text, std::string* line = nullptr) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLineWait);
    std::string read;
    while (std::chrono::steady_clock::now() < deadline) {
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (!child.ReadLine(read, static_cast<int>(left.count()) + 1)) return false;
      if (read.find(text) != std::string::npos) {
        if (line != nullptr) *line = read;
        return true;
      }
    }
    return false;
  }

  Testing::RegistrySandbox m_sandbox;
};

TEST_F(RegistryCrossProcessTest, WatchToolPrintsAChangeMadeByTheAddTool) {
  UniqueKey probe;
  ASSERT_EQ(ERROR_SUCCESS,
            RegCreateKeyExW(m_sandbox.Root(), u"Probe", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, probe.Put(), nullptr));
  const std::string probeName = "HKEY_CURRENT_USER\\" + Platform::Utf16ToUtf8(m_sandbox.RootPath()) + "\\Probe";
  ChildProcess watcher;
  ASSERT_TRUE(watcher.Start(HALCYRA_REG_TOOL, {"watch", m_sandbox.RootCommandPath() + "\\Probe", "/s"}));
  ASSERT_TRUE(WaitForLine(watcher, "Watching " + probeName));

  const std::string addedKey = m_sandbox.RootCommandPath() + "\\Probe\\A";
  ChildProcess::Result added =
      ChildProcess::Run(HALCYRA_REG_TOOL, {"add", addedKey, "/v", "x", "/t", "REG_DWORD", "/d", "5", "/f"});
  EXPECT_EQ(0, added.exitCode);
  EXPECT_EQ("The operation completed successfully.\n", added.output);

  std::string line;
  ASSERT_TRUE(WaitForLine(watcher, "x    REG_DWORD", &line));
  EXPECT_EQ(probeName + "\\A    x    REG_DWORD    0x5", line);
  // Ctrl+C reaches a child on Windows only through the console it shares with this process.
  if (Testing::kRunningOnWindows) {
    watcher.Kill();
  } else {
    watcher.Interrupt();
  }
  EXPECT_NE(-1, watcher.Finish(kLineWait).exitCode);
}

TEST_F(RegistryCrossProcessTest, ChildWatchIsSignalledByAWriteOfThisProcess) {
  UniqueKey watched;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_sandbox.Root(), u"Watched", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                           watched.Put(), nullptr));
  ChildProcess child;
  std::string key = Platform::Utf16ToUtf8(m_sandbox.RootPath()) + "\\Watched";
  ASSERT_TRUE(child.Start(HALCYRA_REGISTRY_CHILD, {"watch", key, "10"}));
  ASSERT_TRUE(WaitForLine(child, "armed"));
  DWORD value = 1;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(watched.Get(), u"Deeper", u"V", REG_DWORD, &value, 4));
  ChildProcess::Result result = child.Finish(kLineWait);
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ("signalled\n", result.output);
}

// The values this process has read stay in its cache across another process's writes, except
// those the writes changed. Each test reads a value first, so that it is cached, then lets a
// child change the hive, then reads again.
class RegistryCrossProcessCacheTest : public RegistryCrossProcessTest {
protected:
  void SetUp() override {
    RegistryCrossProcessTest::SetUp();
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_sandbox.Root(), u"Changed", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                             m_changed.Put(), nullptr));
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_sandbox.Root(), u"Untouched", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                             m_untouched.Put(), nullptr));
    ASSERT_EQ(kStartValue, Write(m_changed.Get(), u"N00000", kStartValue));
    ASSERT_EQ(kStartValue, Write(m_untouched.Get(), u"Kept", kStartValue));
    ASSERT_EQ(kStartValue, Read(m_changed.Get(), u"N00000"));
    ASSERT_EQ(kStartValue, Read(m_untouched.Get(), u"Kept"));
  }

  static DWORD Write(HKEY key, const char16_t* name, DWORD value) {
    return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4) == ERROR_SUCCESS
               ? value
               : kFailed;
  }
  // The value, or kFailed with the status in `status`.
  static DWORD Read(HKEY key, const char16_t* name, LSTATUS* status = nullptr) {
    DWORD value = 0, size = 4;
    LSTATUS result = RegGetValueW(key, nullptr, name, RRF_RT_REG_DWORD, nullptr, &value, &size);
    if (status != nullptr) *status = result;
    return result == ERROR_SUCCESS ? value : kFailed;
  }
  std::string ChangedKeyPath() const { return Platform::Utf16ToUtf8(m_sandbox.RootPath()) + "\\Changed"; }
  // Runs the child that sets N00000, N00001, ... of the changed key to 0, 1, ...
  void WriteSequenceInAChild(int count) {
    ChildProcess writer;
    ASSERT_TRUE(writer.Start(HALCYRA_REGISTRY_CHILD, {"sequence", ChangedKeyPath(), std::to_string(count)}));
    ChildProcess::Result result = writer.Finish(60000);
    ASSERT_EQ(0, result.exitCode) << result.output;
  }

  static constexpr DWORD kStartValue = 77;
  static constexpr DWORD kFailed = 0xFFFFFFFF;
  UniqueKey m_changed;
  UniqueKey m_untouched;
};

TEST_F(RegistryCrossProcessCacheTest, ValueChangedByAnotherProcessIsReadAnewAndAnotherKeysValueIsKept) {
  ASSERT_NO_FATAL_FAILURE(WriteSequenceInAChild(10));
  EXPECT_EQ(0u, Read(m_changed.Get(), u"N00000"));
  EXPECT_EQ(9u, Read(m_changed.Get(), u"N00009"));
  EXPECT_EQ(kStartValue, Read(m_untouched.Get(), u"Kept"));
}

TEST_F(RegistryCrossProcessCacheTest, ValuesAreCurrentAfterMoreChangesThanTheAnnouncementsHold) {
  ASSERT_NO_FATAL_FAILURE(WriteSequenceInAChild(600));
  EXPECT_EQ(0u, Read(m_changed.Get(), u"N00000"));
  EXPECT_EQ(599u, Read(m_changed.Get(), u"N00599"));
  EXPECT_EQ(kStartValue, Read(m_untouched.Get(), u"Kept"));
}

TEST_F(RegistryCrossProcessCacheTest, ValueDeletedByAnotherProcessIsGone) {
  ChildProcess::Result deleted =
      ChildProcess::Run(HALCYRA_REG_TOOL, {"delete", m_sandbox.RootCommandPath() + "\\Changed", "/v", "N00000", "/f"});
  ASSERT_EQ(0, deleted.exitCode) << deleted.output;
  LSTATUS status = ERROR_SUCCESS;
  EXPECT_EQ(kFailed, Read(m_changed.Get(), u"N00000", &status));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, status);
  EXPECT_EQ(kStartValue, Read(m_untouched.Get(), u"Kept"));
}

TEST_F(RegistryCrossProcessCacheTest, KeyDeletedAndMadeAgainByAnotherProcessShowsTheNewKeysValue) {
  const std::string changed = m_sandbox.RootCommandPath() + "\\Changed";
  ASSERT_EQ(0, ChildProcess::Run(HALCYRA_REG_TOOL, {"delete", changed, "/f"}).exitCode);
  ASSERT_EQ(0, ChildProcess::Run(HALCYRA_REG_TOOL, {"add", changed, "/v", "N00000", "/t", "REG_DWORD", "/d", "5", "/f"})
                   .exitCode);
  LSTATUS status = ERROR_SUCCESS;
  EXPECT_EQ(kFailed, Read(m_changed.Get(), u"N00000", &status));
  EXPECT_EQ(ERROR_KEY_DELETED, status);
  UniqueKey again;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(m_sandbox.Root(), u"Changed", 0, KEY_READ, again.Put()));
  EXPECT_EQ(5u, Read(again.Get(), u"N00000"));
  EXPECT_EQ(kStartValue, Read(m_untouched.Get(), u"Kept"));
}

TEST_F(RegistryCrossProcessCacheTest, SubKeysListedThroughANewHandleIncludeOneAnotherProcessAdded) {
  auto list = [&] {
    UniqueKey root;
    std::vector<std::u16string> names;
    if (RegOpenKeyExW(m_sandbox.Root(), nullptr, 0, KEY_READ, root.Put()) != ERROR_SUCCESS) return names;
    char16_t name[256];
    for (DWORD index = 0;; ++index) {
      DWORD length = 256;
      if (RegEnumKeyExW(root.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
      names.emplace_back(name, length);
    }
    return names;
  };
  ASSERT_EQ((std::vector<std::u16string>{u"Changed", u"Untouched"}), list());
  ASSERT_EQ(0, ChildProcess::Run(HALCYRA_REG_TOOL, {"add", m_sandbox.RootCommandPath() + "\\Added", "/f"}).exitCode);
  EXPECT_EQ((std::vector<std::u16string>{u"Added", u"Changed", u"Untouched"}), list());
  ASSERT_EQ(0, ChildProcess::Run(HALCYRA_REG_TOOL, {"delete", m_sandbox.RootCommandPath() + "\\Changed", "/f"}).exitCode);
  EXPECT_EQ((std::vector<std::u16string>{u"Added", u"Untouched"}), list());
}

TEST_F(RegistryCrossProcessTest, WriterKilledInTheMiddleLeavesAPrefixOfItsWrites) {
  const std::string key = Platform::Utf16ToUtf8(m_sandbox.RootPath()) + "\\Killed";
  const std::u16string wideKey = Platform::Utf8ToUtf16(key);
  std::mt19937 random(std::random_device{}());
  for (int round = 0; round < 3; ++round) {
    LSTATUS cleared = RegDeleteTreeW(HKEY_CURRENT_USER, wideKey.c_str());
    ASSERT_TRUE(cleared == ERROR_SUCCESS || cleared == ERROR_FILE_NOT_FOUND);
    ChildProcess writer;
    ASSERT_TRUE(writer.Start(HALCYRA_REGISTRY_CHILD, {"sequence", key, "10000"}));
    ASSERT_TRUE(WaitForLine(writer, "started"));
    // Lets the writer get a random way into its run before the kill; the wait is bounded.
    const DWORD target = std::uniform_int_distribution<DWORD>(200, 4000)(random);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    char targetName[16];
    std::snprintf(targetName, sizeof(targetName), "N%05u", target);
    const std::u16string wideTarget = Platform::Utf8ToUtf16(targetName);
    while (RegGetValueW(HKEY_CURRENT_USER, wideKey.c_str(), wideTarget.c_str(), RRF_RT_ANY, nullptr, nullptr,
                        nullptr) != ERROR_SUCCESS &&
           std::chrono::steady_clock::now() < deadline) {
      std::this_thread::yield();
    }
    writer.Kill();
    ChildProcess::Result result = writer.Finish(kLineWait);
    ASSERT_EQ(ChildProcess::kKilledExitCode, result.exitCode)
        << "the writer ended before it was killed: " << result.output;

    // A fresh start of the registry in this process opens the hive as any next process would.
    Testing::RegistrySandbox::ReopenRegistry();
    UniqueKey killed;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, wideKey.c_str(), 0, KEY_READ, killed.Put()));
    std::set<DWORD> numbers;
    for (DWORD index = 0;; ++index) {
      char16_t name[32];
      DWORD length = 32, data = 0, size = 4, type = 0;
      LSTATUS status =
          RegEnumValueW(killed.Get(), index, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
      if (status == ERROR_NO_MORE_ITEMS) break;
      ASSERT_EQ(ERROR_SUCCESS, status);
      char expected[16];
      std::snprintf(expected, sizeof(expected), "N%05u", data);
      EXPECT_EQ(Platform::Utf8ToUtf16(expected), std::u16string(name, length));
      EXPECT_EQ(REG_DWORD, type);
      numbers.insert(data);
    }
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(0u, *numbers.begin());
    EXPECT_EQ(numbers.size() - 1, *numbers.rbegin()) << "the writes kept are not a prefix";
    EXPECT_LT(numbers.size(), 10000u);
    DWORD after = 1;
    EXPECT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_CURRENT_USER, wideKey.c_str(), u"After", REG_DWORD, &after, 4));
  }
}

TEST_F(RegistryCrossProcessTest, FourWritersAndAWatcherLoseNothingInTenSeconds) {
  const std::string base = Platform::Utf16ToUtf8(m_sandbox.RootPath()) + "\\Busy";
  UniqueKey busy;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, Platform::Utf8ToUtf16(base).c_str(), 0, nullptr, 0,
                                           KEY_ALL_ACCESS, nullptr, busy.Put(), nullptr));
  constexpr int kWriters = 4;
  auto readValues = [&] {
    std::map<int, DWORD> values;
    for (int i = 0; i < kWriters; ++i) {
      DWORD value = 0, size = 4;
      std::u16string sub = u"W" + Platform::Utf8ToUtf16(std::to_string(i));
      if (RegGetValueW(busy.Get(), sub.c_str(), u"Value", RRF_RT_REG_DWORD, nullptr, &value, &size) == ERROR_SUCCESS) {
        values[i] = value;
      }
    }
    return values;
  };

  // The watcher arms first and reads after, on every round, as a client of the notifications must.
  std::atomic<bool> stop{false};
  std::atomic<int> signals{0};
  std::mutex viewMutex;
  std::map<int, DWORD> lastView;
  bool lastViewAfterSignal = false;
  LSTATUS watcherStatus = ERROR_SUCCESS;
  std::thread watcher([&] {
    UniqueKernelHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    bool signalled = false;
    while (!stop) {
      LSTATUS status = RegNotifyChangeKeyValue(
          busy.Get(), TRUE, REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_THREAD_AGNOSTIC,
          event.Get(), TRUE);
      if (status != ERROR_SUCCESS) {
        watcherStatus = status;
        return;
      }
      {
        std::lock_guard<std::mutex> lock(viewMutex);
        lastView = readValues();
        lastViewAfterSignal = signalled;
      }
      while (!stop && WaitForSingleObject(event.Get(), 50) != WAIT_OBJECT_0) {
      }
      signalled = true;
      ++signals;
    }
  });

  std::vector<std::unique_ptr<ChildProcess>> writers;
  for (int i = 0; i < kWriters; ++i) {
    writers.push_back(std::make_unique<ChildProcess>());
    ASSERT_TRUE(writers.back()->Start(HALCYRA_REGISTRY_CHILD, {"writer", base + "\\W" + std::to_string(i), "10"}));
  }
  std::map<int, DWORD> lastWritten;
  for (int i = 0; i < kWriters; ++i) {
    ChildProcess::Result result = writers[i]->Finish(60000);
    EXPECT_EQ(0, result.exitCode) << result.output << result.error;
    unsigned failures = 1, last = 0;
    ASSERT_EQ(2, std::sscanf(result.output.c_str(), "failures %u last %u", &failures, &last)) << result.output;
    EXPECT_EQ(0u, failures);
    EXPECT_GT(last, 0u);
    lastWritten[i] = last;
  }
  EXPECT_EQ(lastWritten, readValues());

  // After a signal for every change it had not seen, the watcher's view is the final one.
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  bool caughtUp = false;
  while (!caughtUp && std::chrono::steady_clock::now() < deadline) {
    {
      std::lock_guard<std::mutex> lock(viewMutex);
      caughtUp = lastView == lastWritten && lastViewAfterSignal;
    }
    if (!caughtUp) std::this_thread::yield();
  }
  stop = true;
  watcher.join();
  EXPECT_EQ(ERROR_SUCCESS, watcherStatus);
  EXPECT_TRUE(caughtUp);
  EXPECT_GT(signals.load(), 0);
}

TEST_F(RegistryCrossProcessTest, ExportAndImportRoundTripThroughAFile) {
  UniqueKey source;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_sandbox.Root(), u"Source\\Sub", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                           source.Put(), nullptr));
  DWORD number = 0x100;
  ASSERT_EQ(ERROR_SUCCESS, RegSetValueExW(source.Get(), u"DWORD", 0, REG_DWORD, reinterpret_cast<BYTE*>(&number), 4));
  const char16_t text[] = u"Use \\ and \" here";
  ASSERT_EQ(ERROR_SUCCESS,
            RegSetValueExW(source.Get(), u"String", 0, REG_SZ, reinterpret_cast<const BYTE*>(text), sizeof(text)));
  std::vector<BYTE> binary(40);
  for (std::size_t i = 0; i < binary.size(); ++i) binary[i] = static_cast<BYTE>(i * 7);
  ASSERT_EQ(ERROR_SUCCESS,
            RegSetValueExW(source.Get(), nullptr, 0, 0x100, binary.data(), static_cast<DWORD>(binary.size())));

  const std::string key = m_sandbox.RootCommandPath() + "\\Source";
  // A file of this test's own in the temporary folder (the sandbox has a folder on Linux only),
  // named after the sandbox's random key and removed at the end.
  const std::u16string& rootPath = m_sandbox.RootPath();
  const std::filesystem::path exportPath = std::filesystem::temp_directory_path() /
                                           (Platform::Utf16ToUtf8(rootPath.substr(rootPath.rfind(u'\\') + 1)) + ".reg");
  struct RemoveAtEnd {
    std::filesystem::path path;
    ~RemoveAtEnd() {
      std::error_code ignored;
      std::filesystem::remove(path, ignored);
    }
  } removeAtEnd{exportPath};
  const std::string file = exportPath.string();
  ChildProcess::Result exported = ChildProcess::Run(HALCYRA_REG_TOOL, {"export", key, file, "/y"});
  ASSERT_EQ(0, exported.exitCode) << exported.error;
  ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(m_sandbox.Root(), u"Source"));
  ChildProcess::Result imported = ChildProcess::Run(HALCYRA_REG_TOOL, {"import", file});
  ASSERT_EQ(0, imported.exitCode) << imported.error;
  EXPECT_EQ("The operation completed successfully.\n", imported.output);

  UniqueKey back;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(m_sandbox.Root(), u"Source\\Sub", 0, KEY_READ, back.Put()));
  DWORD readNumber = 0, size = 4;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(back.Get(), nullptr, u"DWORD", RRF_RT_REG_DWORD, nullptr, &readNumber, &size));
  EXPECT_EQ(0x100u, readNumber);
  char16_t readText[32];
  size = sizeof(readText);
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(back.Get(), nullptr, u"String", RRF_RT_REG_SZ, nullptr, readText, &size));
  EXPECT_EQ(std::u16string(text), std::u16string(readText));
  std::vector<BYTE> readBinary(64);
  DWORD type = 0;
  size = static_cast<DWORD>(readBinary.size());
  EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(back.Get(), nullptr, nullptr, &type, readBinary.data(), &size));
  readBinary.resize(size);
  EXPECT_EQ(0x100u, type);
  EXPECT_EQ(binary, readBinary);
}

TEST_F(RegistryCrossProcessTest, QueryToolPrintsValuesAndSubKeysAsRegDoes) {
  UniqueKey key;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(m_sandbox.Root(), u"Query\\subkey", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                           key.Put(), nullptr));
  const char16_t hello[] = u"Hello, World";
  DWORD number = 0x123;
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(m_sandbox.Root(), u"Query", u"Test1", REG_SZ, hello, sizeof(hello)));
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(m_sandbox.Root(), u"Query", u"Test2", REG_DWORD, &number, 4));
  const std::string name = "HKEY_CURRENT_USER\\" + Platform::Utf16ToUtf8(m_sandbox.RootPath()) + "\\Query";
  ChildProcess::Result result = ChildProcess::Run(HALCYRA_REG_TOOL, {"query", m_sandbox.RootCommandPath() + "\\Query"});
  EXPECT_EQ(0, result.exitCode);
  EXPECT_EQ(
      "\n" + name + "\n    Test1    REG_SZ    Hello, World\n    Test2    REG_DWORD    0x123\n\n" + name + "\\subkey\n",
      result.output);

  result = ChildProcess::Run(HALCYRA_REG_TOOL, {"query", m_sandbox.RootCommandPath() + "\\Query", "/v", "Missing"});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("ERROR: The system was unable to find the specified registry key or value.\n", result.error);
}

TEST_F(RegistryCrossProcessTest, AddToolRefusesAnUnknownTypeAndBadData) {
  const std::string key = m_sandbox.RootCommandPath() + "\\Typed";
  ChildProcess::Result result =
      ChildProcess::Run(HALCYRA_REG_TOOL, {"add", key, "/v", "x", "/t", "REG_WHATEVER", "/d", "1", "/f"});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("ERROR: Invalid syntax.\nType \"REG ADD /?\" for usage.\n", result.error);
  result = ChildProcess::Run(HALCYRA_REG_TOOL, {"add", key, "/v", "x", "/t", "REG_DWORD", "/d", "0x100000000", "/f"});
  EXPECT_EQ(1, result.exitCode);
  result = ChildProcess::Run(HALCYRA_REG_TOOL, {"add", "HKXX\\Software", "/f"});
  EXPECT_EQ(1, result.exitCode);
  EXPECT_EQ("ERROR: Invalid key name.\nType \"REG ADD /?\" for usage.\n", result.error);
  HKEY typed = nullptr;
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(m_sandbox.Root(), u"Typed", 0, KEY_READ, &typed));
}

}  // namespace
