// Clients on four threads, a writer in another process and monitors that come and go, all at once
// on one tree: no crash, no deadlock, and no direct call after UnregisterMonitor returned.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include "data_system/interface_ids.h"
#include "platform/utf.h"
#include "tests/data_system/data_system_fixture.h"
#include "tests/support/child_process.h"

namespace Testing {
namespace {

using namespace DataSystem;

// Counts the calls that arrive after its owner declared it removed.
class LateCallMonitor : public IStoreMonitor {
public:
  void OnValueChange(IValue*, CNotificationCompletionList*) override { Note(); }
  void OnItemInsert(IItem*, CNotificationCompletionList*) override { Note(); }
  void OnItemErase(IItem*, CNotificationCompletionList*) override { Note(); }
  std::atomic<bool> removed{true};
  std::atomic<int> calls{0};
  std::atomic<int> lateCalls{0};

private:
  void Note() {
    ++calls;
    if (removed) ++lateCalls;
  }
};

using DataSystemConcurrencyTest = DataSystemTest;

TEST_F(DataSystemConcurrencyTest, FourClientThreadsAWriterProcessAndMonitorsThatComeAndGo) {
  ASSERT_EQ(Open(), ErrorNone) << capture.Text();
  IStore* settings = Store(u"Settings");
  ChildProcess writer;
  const std::string writerKey =
      Platform::Utf16ToUtf8(sandbox.RootPath() + u"\\" + SettingsKey() + u"\\" + Name(Schema::kInnerGuid));
  ASSERT_TRUE(writer.Start(HALCYRA_REGISTRY_CHILD, {"writer", writerKey, "60"}));

  std::atomic<bool> stop{false};
  std::atomic<int> failures{0};
  auto level = Value<std::uint32_t>(u"Settings.Level");
  auto title = Value<WideString>(u"Settings.Title");
  std::vector<std::thread> clients;
  clients.emplace_back([&] {
    for (std::uint32_t i = 0; !stop; ++i) {
      std::uint32_t next = 1 + i % 10;
      if (level->Set(&next) != ErrorNone) ++failures;
      if (*level->Get() < 1) ++failures;
    }
  });
  clients.emplace_back([&] {
    for (int i = 0; !stop; ++i) {
      if (title->Set(i % 2 == 0 ? u"even" : u"odd") != ErrorNone) ++failures;
    }
  });
  clients.emplace_back([&] {
    while (!stop) {
      IItem* profile = nullptr;
      if (settings->InsertDefaultItemByNameRef(u"Profile", &profile) != ErrorNone) {
        ++failures;
        continue;
      }
      if (profile->Erase() != ErrorNone) ++failures;
      profile->Release();
    }
  });
  clients.emplace_back([&] {
    while (!stop) {
      IItem* tag = nullptr;
      if (settings->InsertDefaultItemByNameRef(u"Tag", &tag) == ErrorNone) {
        static_cast<void>(settings->GetItemCount(&Schema::kTagGuid));
        if (tag->Erase() != ErrorNone) ++failures;
        tag->Release();
      }
      IItem* first = nullptr;
      // Another thread may have erased every instance: not finding one is no failure.
      if (settings->GetItemRef(u"Profile[0]", &first) == ErrorNone) first->Release();
    }
  });

  LateCallMonitor monitor;
  int lateCalls = 0;
  for (int cycle = 0; cycle < 1000; ++cycle) {
    monitor.removed = false;
    ASSERT_EQ(settings->RegisterMonitor(&monitor, MONITOR_DIRECT), ErrorNone);
    if (cycle % 100 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_EQ(settings->UnregisterMonitor(&monitor), ErrorNone);
    monitor.removed = true;
  }
  lateCalls = monitor.lateCalls;
  stop = true;
  for (auto& client : clients) client.join();
  writer.Kill();

  EXPECT_EQ(failures.load(), 0) << capture.Text().substr(0, 4000);
  EXPECT_EQ(lateCalls, 0);
  EXPECT_EQ(settings->GetItemCount(&Schema::kProfileGuid), 0u);
  EXPECT_EQ(settings->GetItemCount(&Schema::kTagGuid), 0u);
}

}  // namespace
}  // namespace Testing
