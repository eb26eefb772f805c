// Speed of the data system against the bare registry calls on the same values: a cached Get, a
// Set, one scan of a large store where one value changed, and the time from a write in another
// process to OnValueChange. Runs in a registry folder of its own, removed at the end.
//
// The latency is measured against a writer process (this program started again with
// --stamp-writer): every 5 ms, as a program that sleeps between writes does, it stores the low 32
// bits of the steady clock in microseconds as the value Stamp. The monitor takes the clock when
// OnValueChange arrives and subtracts, modulo 2^32.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "data_system/access_flags.h"
#include "data_system/bounded_value_item.h"
#include "data_system/data_system.h"
#include "data_system/interface_ids.h"
#include "data_system/item_vector_indexer.h"
#include "data_system/single_item_indexer.h"
#include "data_system/store_item.h"
#include "data_system/store_model.h"
#include "data_system/value_item.h"
#include "data_system/value_model.h"
#include "bench/support/latency_samples.h"
#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/utf.h"
#include "storage_system/heap_allocator.h"
#include "storage_system/interface_ids.h"
#include "storage_system/registry/storage_system.h"

using namespace DataSystem;

namespace {

constexpr const char16_t* kBase = u"Software\\HalcyraDataSystemBench";
constexpr int kManyValues = 1000;
constexpr int kInstances = 100;
constexpr int kStampWrites = 420;
constexpr auto kStampInterval = std::chrono::milliseconds(5);

constexpr Common::GUID Numbered(std::uint32_t number) {
  return Common::GUID(0x5E1A0000u + number, 0x2B3C, 0x4D5E, 0x8F, 0x60, 0x71, 0x82, 0x93, 0xA4, 0xB5, 0xC6);
}

CStoreModel& RootModel() {
  static CStoreModel model(Numbered(1), u"Bench", SM_INHERIT);
  return model;
}
CStoreModel& LargeModel() {
  static CStoreModel model(Numbered(2), u"Large", SM_READ | SM_WRITE | SM_MONITORED);
  return model;
}
CStoreModel& LatencyModel() {
  static CStoreModel model(Numbered(3), u"Latency", SM_READ | SM_WRITE | SM_MONITORED);
  return model;
}
CStoreModel& ItemModel() {
  static CStoreModel model(Numbered(4), u"Item", SM_INHERIT);
  return model;
}
CValueModelT<bool>& FlagModel() {
  static CValueModelT<bool> model(Numbered(5), u"Flag", true);
  return model;
}
CValueModelT<std::uint32_t>& NumberModel() {
  static CValueModelT<std::uint32_t> model(Numbered(6), u"Number", 0u);
  return model;
}
CValueModelT<std::uint32_t>& StampModel() {
  static CValueModelT<std::uint32_t> model(Numbered(7), u"Stamp", 0u);
  return model;
}
// The models of the many values of Large, and of the three values of an Item.
std::vector<std::unique_ptr<CValueModelT<std::uint32_t>>>& ManyModels() {
  static std::vector<std::unique_ptr<CValueModelT<std::uint32_t>>> models = [] {
    static std::u16string names[kManyValues + 3];
    std::vector<std::unique_ptr<CValueModelT<std::uint32_t>>> made;
    for (int i = 0; i < kManyValues + 3; ++i) {
      names[i] = u"V" + Platform::Utf8ToUtf16(std::to_string(i));
      made.push_back(std::make_unique<CValueModelT<std::uint32_t>>(Numbered(100 + i), names[i].c_str(), 0u));
    }
    return made;
  }();
  return models;
}

using ValueIndexer = CSingleItemIndexerT<CValueT<std::uint32_t>>;

class CItemStore : public CStoreT<> {
public:
  CItemStore(IStoreModel* model, IItem* parent) : CStoreT(model, parent) {
    for (int i = 0; i < 3; ++i)
      values.push_back(std::make_unique<ValueIndexer>(ManyModels()[kManyValues + i].get(), this));
  }
  std::vector<std::unique_ptr<ValueIndexer>> values;
};

class CLargeStore : public CStoreT<> {
public:
  CLargeStore(IStoreModel* model, IItem* parent) : CStoreT(model, parent) {
    for (int i = 0; i < kManyValues; ++i) values.push_back(std::make_unique<ValueIndexer>(ManyModels()[i].get(), this));
  }
  CSingleItemIndexerT<CBoundedValueT<bool>> flag{&FlagModel(), this};
  CSingleItemIndexerT<CBoundedValueT<std::uint32_t>> number{&NumberModel(), this};
  std::vector<std::unique_ptr<ValueIndexer>> values;
  CItemVectorIndexerT<CItemStore> items{&ItemModel(), this};
};

class CLatencyStore : public CStoreT<> {
public:
  CLatencyStore(IStoreModel* model, IItem* parent) : CStoreT(model, parent) {}
  CSingleItemIndexerT<CBoundedValueT<std::uint32_t>> stamp{&StampModel(), this};
};

class CBenchDataSystem : public CDataSystem {
public:
  CBenchDataSystem(StorageSystem::IStore* storage) : CDataSystem(&RootModel(), 0, storage, nullptr) {}
  CSingleItemIndexerT<CLargeStore> large{&LargeModel(), this};
  CSingleItemIndexerT<CLatencyStore> latency{&LatencyModel(), this};
};

std::string g_program;

std::uint32_t NowMicroseconds() {
  auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

// The bench's storage and data system, opened once for the whole run.
struct BenchTree {
  StorageSystem::IStorageSystem* storage = nullptr;
  IDataSystem* dataSystem = nullptr;
  CBenchDataSystem* tree = nullptr;
  Platform::HKEY largeKey = nullptr;

  bool Open() {
    const StorageSystem::Registry::StorageSystemParameters parameters = {
        Platform::HKEY_CURRENT_USER,          kBase, Platform::KEY_WOW64_64KEY, nullptr,
        StorageSystem::GetProcessAllocator(), 0};
    if (StorageSystem::Registry::OpenStorageSystem(parameters, &storage, AccessFromFlags(&RootModel(), 0), nullptr,
                                                   false) != ErrorNone) {
      return false;
    }
    auto* root = static_cast<StorageSystem::IStore*>(storage->GetInterface(&StorageSystem::IID_IStore));
    tree = new CBenchDataSystem(root);
    if (CDataSystem::Open(tree, &dataSystem) != ErrorNone) return false;
    IStore* large = Large();
    IItem* item = nullptr;
    for (int i = static_cast<int>(large->GetItemCount(ItemModel().GetGuid())); i < kInstances; ++i) {
      if (large->InsertDefaultItem(u"Item", &item) != ErrorNone) return false;
    }
    char16_t name[Common::GUID::kTextCapacity];
    std::u16string path = std::u16string(kBase) + u"\\" + LargeModel().GetGuid()->ToString(name);
    return Platform::RegOpenKeyExW(Platform::HKEY_CURRENT_USER, path.c_str(), 0, 0x2011F, &largeKey) ==
           Platform::ERROR_SUCCESS;
  }
  IStore* Large() { return &tree->large.item; }
  static std::u16string ValueName(const Common::GUID& model) {
    char16_t name[Common::GUID::kTextCapacity];
    return model.ToString(name);
  }
};

// The bench, or null when it did not open.
BenchTree* TheBench() {
  static BenchTree* bench = [] {
    auto* made = new BenchTree;
    if (!made->Open()) {
      delete made;
      return static_cast<BenchTree*>(nullptr);
    }
    return made;
  }();
  return bench;
}

bool Ready(benchmark::State& state) {
  if (TheBench() != nullptr) return true;
  state.SkipWithError("the data system did not open");
  return false;
}

void GetCachedBool(benchmark::State& state) {
  if (!Ready(state)) return;
  IValueT<bool>* flag = &TheBench()->tree->large.item.flag.item;
  for (auto _ : state) benchmark::DoNotOptimize(*flag->Get());
}
BENCHMARK(GetCachedBool);

void GetBoolBareRegGetValueW(benchmark::State& state) {
  if (!Ready(state)) return;
  const std::u16string name = BenchTree::ValueName(*FlagModel().GetGuid());
  for (auto _ : state) {
    Platform::DWORD read = 0, size = sizeof read;
    Platform::LSTATUS status = Platform::RegGetValueW(TheBench()->largeKey, nullptr, name.c_str(), Platform::RRF_RT_ANY,
                                                      nullptr, &read, &size);
    benchmark::DoNotOptimize(status);
    benchmark::DoNotOptimize(read);
  }
}
BENCHMARK(GetBoolBareRegGetValueW);

void SetUnsignedInt(benchmark::State& state) {
  if (!Ready(state)) return;
  IValueT<std::uint32_t>* number = &TheBench()->tree->large.item.number.item;
  std::uint32_t next = 0;
  for (auto _ : state) {
    ++next;
    benchmark::DoNotOptimize(number->Set(&next));
  }
}
BENCHMARK(SetUnsignedInt);

void SetBareRegSetKeyValueW(benchmark::State& state) {
  if (!Ready(state)) return;
  const std::u16string name = BenchTree::ValueName(*NumberModel().GetGuid());
  Platform::DWORD next = 0;
  for (auto _ : state) {
    ++next;
    benchmark::DoNotOptimize(
        Platform::RegSetKeyValueW(TheBench()->largeKey, nullptr, name.c_str(), Platform::REG_DWORD, &next, 4));
  }
}
BENCHMARK(SetBareRegSetKeyValueW);

// One scan of Large (1,000 values, a vector of 100 instances of three values) after another program
// changed one value; the change itself is not timed.
void ScanOfALargeStoreWithOneChange(benchmark::State& state) {
  if (!Ready(state)) return;
  IStore* large = TheBench()->Large();
  const std::u16string name = BenchTree::ValueName(*ManyModels()[500]->GetGuid());
  Platform::DWORD next = 1;
  for (auto _ : state) {
    state.PauseTiming();
    ++next;
    Platform::RegSetKeyValueW(TheBench()->largeKey, nullptr, name.c_str(), Platform::REG_DWORD, &next, 4);
    state.ResumeTiming();
    benchmark::DoNotOptimize(large->Update());
  }
}
BENCHMARK(ScanOfALargeStoreWithOneChange)->Unit(benchmark::kMicrosecond);

// Takes the time of each OnValueChange of Stamp against the writer's stamp.
class LatencyMonitor : public IStoreMonitor {
public:
  void OnValueChange(IValue* value, CNotificationCompletionList*) override {
    const std::uint32_t now = NowMicroseconds();
    auto* stamp = static_cast<IValueT<std::uint32_t>*>(value->GetInterface(&IID_IValueUInt));
    const std::uint32_t written = *stamp->Get();
    samples.Add(static_cast<double>(now - written));
  }
  void OnItemInsert(IItem*, CNotificationCompletionList*) override {}
  void OnItemErase(IItem*, CNotificationCompletionList*) override {}

  Bench::LatencySamples samples;
};

void WriteInAnotherProcessToOnValueChange(benchmark::State& state) {
  if (!Ready(state)) return;
  IStore* latency = &TheBench()->tree->latency.item;
  for (auto _ : state) {
    LatencyMonitor monitor;
    if (latency->RegisterMonitor(&monitor, MONITOR_DIRECT) != ErrorNone) {
      state.SkipWithError("the monitor did not register");
      break;
    }
    const std::string command = "'" + g_program + "' --stamp-writer &";
    if (std::system(command.c_str()) != 0) {
      state.SkipWithError("the writer process did not start");
      break;
    }
    std::vector<double> latencies = monitor.samples.WaitFor(kStampWrites - 20, std::chrono::seconds(30));
    static_cast<void>(latency->UnregisterMonitor(&monitor));
    if (latencies.size() < 200) {
      state.SkipWithError("fewer than 200 notifications arrived");
      break;
    }
    state.SetIterationTime(Bench::Percentile(latencies, 0.5) / 1e6);
    state.counters["median_us"] = Bench::Percentile(latencies, 0.5);
    state.counters["p99_us"] = Bench::Percentile(latencies, 0.99);
    state.counters["samples"] = static_cast<double>(latencies.size());
  }
}
BENCHMARK(WriteInAnotherProcessToOnValueChange)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

// The writer side of the latency run: waits for the monitor to arm, then writes its clock.
int StampWriter() {
  char16_t name[Common::GUID::kTextCapacity];
  const std::u16string key = std::u16string(kBase) + u"\\" + LatencyModel().GetGuid()->ToString(name);
  const std::u16string value = BenchTree::ValueName(*StampModel().GetGuid());
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  for (int i = 0; i < kStampWrites + 20; ++i) {
    const Platform::DWORD now = NowMicroseconds();
    if (Platform::RegSetKeyValueW(Platform::HKEY_CURRENT_USER, key.c_str(), value.c_str(), Platform::REG_DWORD, &now,
                                  4) != Platform::ERROR_SUCCESS) {
      return 1;
    }
    std::this_thread::sleep_for(kStampInterval);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  g_program = std::filesystem::absolute(argv[0]).string();
  if (argc == 2 && std::strcmp(argv[1], "--stamp-writer") == 0) return StampWriter();

  std::random_device random;
  std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("halcyra-data-system-bench-" + std::to_string(random()));
  std::filesystem::create_directories(folder);
  Platform::SetEnvironmentVariableW(u"HALCYRA_REGISTRY_ROOT", Platform::Utf8ToUtf16(folder.string()).c_str());

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return 0;
}
