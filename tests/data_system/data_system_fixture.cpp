#include "tests/data_system/data_system_fixture.h"

#include "data_system/access_flags.h"
#include "data_system/index_table.h"
#include "data_system/interface_ids.h"
#include "storage_system/interface_ids.h"
#include "platform/utf.h"
#include "tests/support/registry_sandbox.h"

namespace Testing {

using namespace DataSystem;

std::string Narrow16(const char16_t* text) { return text == nullptr ? std::string("(null)") : Text(text); }

void RecordingMonitor::Record(HeardNotification::Kind kind, IItem* item, bool direct) {
  HeardNotification heard{
      kind, item, Narrow16(item->GetPath()), item->IsAlive() != 0, direct, std::this_thread::get_id()};
  {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_heard.push_back(heard);
  }
  if (onHeard) onHeard(heard);
  m_changed.notify_all();
}

void RecordingMonitor::OnValueChange(IValue* value, CNotificationCompletionList* list) {
  Record(HeardNotification::ValueChange, value, list != nullptr);
}
void RecordingMonitor::OnItemInsert(IItem* item, CNotificationCompletionList* list) {
  Record(HeardNotification::ItemInsert, item, list != nullptr);
}
void RecordingMonitor::OnItemErase(IItem* item, CNotificationCompletionList* list) {
  Record(HeardNotification::ItemErase, item, list != nullptr);
}

bool RecordingMonitor::WaitFor(std::size_t count, std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(m_mutex);
  return m_changed.wait_for(lock, timeout, [&] { return m_heard.size() >= count; });
}

std::vector<HeardNotification> RecordingMonitor::Heard() {
  std::lock_guard<std::mutex> guard(m_mutex);
  return m_heard;
}

std::size_t RecordingMonitor::Count() {
  std::lock_guard<std::mutex> guard(m_mutex);
  return m_heard.size();
}

std::string RecordingMonitor::Summary() {
  static const char* const kKinds[] = {"ValueChange", "ItemInsert", "ItemErase"};
  std::string text;
  for (const HeardNotification& heard : Heard()) text += std::string(kKinds[heard.kind]) + " " + heard.path + "; ";
  return text;
}

void RecordingMonitor::Clear() {
  std::lock_guard<std::mutex> guard(m_mutex);
  m_heard.clear();
}

void DataSystemTest::SetUp() {
  RegistryStorageTest::SetUp();
  GetIndexTable().clear();
}

void DataSystemTest::TearDown() {
  Close();
  RegistryStorageTest::TearDown();
}

ErrorCode DataSystemTest::Open(std::uint32_t flags) {
  Close();
  ErrorCode status = OpenStorage(AccessFromFlags(&Schema::RootModel(), flags), &dataStorage);
  if (status != ErrorNone) return status;
  auto* root = static_cast<StorageSystem::IStore*>(dataStorage->GetInterface(&StorageSystem::IID_IStore));
  return Schema::OpenTestDataSystem(root, flags, &dataSystem);
}

ErrorCode DataSystemTest::OpenFaulty(std::uint32_t flags) {
  Close();
  ErrorCode status = OpenStorage(AccessFromFlags(&Schema::RootModel(), flags), &dataStorage);
  if (status != ErrorNone) return status;
  auto* root = static_cast<StorageSystem::IStore*>(dataStorage->GetInterface(&StorageSystem::IID_IStore));
  root->AddRef();
  auto* faulty = new FaultyStore(root, faults);
  status = Schema::OpenTestDataSystem(faulty, flags, &dataSystem);
  faulty->Release();
  return status;
}

void DataSystemTest::Close() {
  if (dataSystem != nullptr) dataSystem->Release();
  dataSystem = nullptr;
  if (dataStorage != nullptr) dataStorage->Release();
  dataStorage = nullptr;
}

IItem* DataSystemTest::Item(const char16_t* path) {
  IItem* item = nullptr;
  EXPECT_EQ(dataSystem->GetItem(path, &item), ErrorNone) << Narrow16(path) << "\n" << capture.Text();
  return item;
}

IStore* DataSystemTest::Store(const char16_t* path) {
  IItem* item = Item(path);
  return item == nullptr ? nullptr : static_cast<IStore*>(item->GetInterface(&IID_IStore));
}

std::u16string DataSystemTest::Name(const Common::GUID& model) {
  char16_t text[Common::GUID::kTextCapacity];
  return model.ToString(text);
}

std::u16string DataSystemTest::Name(const Common::GUID& model, unsigned index) {
  return Name(model) + u", " + Platform::Utf8ToUtf16(std::to_string(index));
}

void DataSystemTest::WriteDword(const std::u16string& key, const std::u16string& name, Platform::DWORD value) {
  ASSERT_EQ(SetRawDword(key.c_str(), name.c_str(), value), Platform::ERROR_SUCCESS);
}

bool DataSystemTest::WaitUntilWatched(RecordingMonitor& monitor) {
  const std::u16string level = Name(Schema::kLevelGuid);
  for (Platform::DWORD round = 0; round < 50; ++round) {
    std::size_t before = monitor.Count();
    WriteDword(SettingsKey(), level, 2 + round % 2);
    if (monitor.WaitFor(before + 1, std::chrono::milliseconds(200))) {
      // Let the notifications of the priming writes run out: wait until a while passes quietly.
      while (monitor.WaitFor(monitor.Count() + 1, std::chrono::milliseconds(250))) {
      }
      monitor.Clear();
      return true;
    }
  }
  return false;
}

}  // namespace Testing
