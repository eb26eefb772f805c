// The fixture of the data system tests: the test schema opened on a storage system in a throwaway
// registry place, a recording monitor, and direct registry access to what the schema stores.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <string>
#include <vector>

#include "data_system/store.h"
#include "data_system/value.h"
#include "tests/data_system/faulty_storage.h"
#include "tests/data_system/test_schema.h"
#include "foundation/log.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"

namespace Testing {

// What a monitor heard: the kind, the item, its path and whether it was alive at the time, and
// whether the completion list was null (asynchronous delivery).
struct HeardNotification {
  enum Kind { ValueChange, ItemInsert, ItemErase } kind;
  DataSystem::IItem* item;
  std::string path;
  bool alive;
  bool direct;
  std::thread::id thread;
};

// A monitor that records every call and lets a test wait for a number of them.
class RecordingMonitor : public DataSystem::IStoreMonitor {
public:
  void OnValueChange(DataSystem::IValue* value, DataSystem::CNotificationCompletionList* list) override;
  void OnItemInsert(DataSystem::IItem* item, DataSystem::CNotificationCompletionList* list) override;
  void OnItemErase(DataSystem::IItem* item, DataSystem::CNotificationCompletionList* list) override;

  // Waits up to `timeout` until at least `count` calls have been heard.
  bool WaitFor(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(5));
  std::vector<HeardNotification> Heard();
  std::size_t Count();
  void Clear();
  // What was heard, for failure messages: "ItemErase TestData.Settings.Profile[0]; ...".
  std::string Summary();
  // Called inside each notification, after it is recorded; may be empty.
  std::function<void(const HeardNotification&)> onHeard;

private:
  void Record(HeardNotification::Kind kind, DataSystem::IItem* item, bool direct);

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<HeardNotification> m_heard;
};

// Holds a tree's lock for a scope. A test that changes storage and scans by itself holds it, so that
// the storage's own change notifications (which Windows signals before the changing call returns)
// wait until the test's scan is done, and then find nothing new.
class TreeLock {
public:
  explicit TreeLock(DataSystem::IDataSystem* dataSystem) : m_lock(dataSystem->GetLock()) { m_lock->Lock(); }
  ~TreeLock() { m_lock->Unlock(); }
  TreeLock(const TreeLock&) = delete;
  TreeLock& operator=(const TreeLock&) = delete;

private:
  StorageSystem::ILock* m_lock;
};

class DataSystemTest : public RegistryStorageTest {
protected:
  // Also forgets the indexes that earlier tests of the process handed out.
  void SetUp() override;
  void TearDown() override;

  // Opens the test schema with `flags` on a storage system of its own, opened as the data system's
  // root is opened. Returns the data system's code.
  ErrorCode Open(std::uint32_t flags = 0);
  // Opens the test schema as Open does, but on a FaultyStore around the root of the storage, which
  // does wrong what `faults` says.
  ErrorCode OpenFaulty(std::uint32_t flags = 0);
  // Releases the opener's reference and the storage system.
  void Close();

  // The item at `path` below the root ("Settings.Level"), borrowed; fails the test when missing.
  DataSystem::IItem* Item(const char16_t* path);
  template <class T>
  DataSystem::IValueT<T>* Value(const char16_t* path) {
    auto* item = Item(path);
    return item == nullptr
               ? nullptr
               : static_cast<DataSystem::IValueT<T>*>(item->GetInterface(&DataSystem::kValueInterfaceId<T>));
  }
  DataSystem::IStore* Store(const char16_t* path);

  // The registry key of Settings and of Archive below the sandbox, and a key or value name of a
  // model ("{GUID}") or instance ("{GUID}, 3").
  static std::u16string Name(const Common::GUID& model);
  static std::u16string Name(const Common::GUID& model, unsigned index);
  static std::u16string SettingsKey() { return Name(Schema::kSettingsGuid); }
  static std::u16string ArchiveKey() { return Name(Schema::kArchiveGuid); }

  // Writes raw registry data as another program would, bypassing the data system.
  void WriteDword(const std::u16string& key, const std::u16string& name, Platform::DWORD value);
  // Scans Settings until a raw change is heard by `monitor` as OnValueChange: after that the
  // storage watch of Settings is known to be armed. False when it never is.
  bool WaitUntilWatched(RecordingMonitor& monitor);

  // The faults of OpenFaulty; they outlive the data system.
  StorageFaults faults;
  StorageSystem::IStorageSystem* dataStorage = nullptr;
  DataSystem::IDataSystem* dataSystem = nullptr;
};

// The data system opened on the test schema, with its Settings store at hand.
class SettingsStoreTest : public DataSystemTest {
protected:
  void SetUp() override {
    DataSystemTest::SetUp();
    ASSERT_EQ(Open(), ErrorNone) << capture.Text();
    settings = Store(u"Settings");
  }

  // Borrowed from the data system.
  DataSystem::IStore* settings = nullptr;
};

// Narrow text of a UTF-16 string (ASCII in tests).
std::string Narrow16(const char16_t* text);

}  // namespace Testing
