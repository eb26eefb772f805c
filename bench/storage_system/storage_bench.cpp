// Speed of registry values through the storage system against the bare registry calls on the same
// key, and the time from a write in another process to OnStoreChange of a monitor. Runs in a
// registry folder of its own, removed at the end.
//
// The latency is measured against a writer process (this program started again with
// --notify-writer): it stores the steady clock's time in nanoseconds as a REG_QWORD just before
// each write, every few milliseconds. The monitor takes the time when it is called, reads the value
// through the storage system and subtracts. Changes that come while a handler runs are folded into
// the next call, so each call measures the latest write it sees.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "foundation/built_in_types.h"
#include "bench/support/latency_samples.h"
#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "storage_system/heap_allocator.h"
#include "storage_system/storage_flags.h"
#include "storage_system/registry/registry_value.h"
#include "storage_system/registry/storage_system.h"

using namespace StorageSystem;
using namespace StorageSystem::Registry;

namespace {

constexpr const char16_t* kBase = u"Software\\HalcyraStorageBench";
constexpr const char16_t* kNotifyKey = u"Software\\HalcyraStorageBench\\Notify";
constexpr int kNotifyWrites = 400;
constexpr auto kNotifyInterval = std::chrono::milliseconds(3);

std::string g_program;

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

IStorageSystem* OpenBenchStorage() {
  const StorageSystemParameters parameters = {Platform::HKEY_CURRENT_USER, kBase, Platform::KEY_WOW64_64KEY, nullptr,
                                              GetProcessAllocator(),       0};
  IStorageSystem* storage = nullptr;
  if (OpenStorageSystem(parameters, &storage, SF_READ | SF_WRITE | SF_CREATE, nullptr, false) != ErrorNone)
    return nullptr;
  return storage;
}

// The storage system's own key of the benchmarks, opened as the storage system opens it.
Platform::UniqueKey OpenBareKey() {
  Platform::UniqueKey key;
  Platform::RegOpenKeyExW(Platform::HKEY_CURRENT_USER, kBase, 0, Platform::kKeyReadWrite64, key.Put());
  return key;
}

// Opens the storage system and its DWORD value "Number" (1234 when it is new) for the read
// benchmarks; false, with the benchmark skipped, when either does not open.
bool OpenNumber(benchmark::State& state, IStorageSystem*& storage, IRegistryValue*& value) {
  storage = OpenBenchStorage();
  const std::uint32_t initial = 1234;
  if (storage == nullptr ||
      storage->OpenValue(u"Number", &value, SF_READ | SF_CREATE, TypeOfUnsignedInt(), &initial, 4) != ErrorNone) {
    state.SkipWithError("the value did not open");
    return false;
  }
  return true;
}

void ReadDwordThroughRegistryValue(benchmark::State& state) {
  IStorageSystem* storage = nullptr;
  IRegistryValue* value = nullptr;
  if (!OpenNumber(state, storage, value)) return;
  for (auto _ : state) {
    std::uint32_t read = 0;
    ErrorCode code = value->Read(&read, sizeof read);
    benchmark::DoNotOptimize(code);
    benchmark::DoNotOptimize(read);
  }
  value->Release();
  storage->Release();
}
BENCHMARK(ReadDwordThroughRegistryValue);

void ReadDwordBareRegGetValueW(benchmark::State& state) {
  IStorageSystem* storage = nullptr;
  IRegistryValue* value = nullptr;
  if (!OpenNumber(state, storage, value)) return;
  Platform::UniqueKey key = OpenBareKey();
  for (auto _ : state) {
    Platform::DWORD read = 0;
    Platform::DWORD type = Platform::REG_DWORD;
    Platform::DWORD size = sizeof read;
    Platform::LSTATUS status =
        Platform::RegGetValueW(key.Get(), nullptr, u"Number", Platform::RRF_RT_REG_DWORD, &type, &read, &size);
    benchmark::DoNotOptimize(status);
    benchmark::DoNotOptimize(read);
  }
  value->Release();
  storage->Release();
}
BENCHMARK(ReadDwordBareRegGetValueW);

void WriteDwordThroughRegistryValue(benchmark::State& state) {
  IStorageSystem* storage = OpenBenchStorage();
  IRegistryValue* value = nullptr;
  if (storage == nullptr ||
      storage->OpenValue(u"Written", &value, SF_READ | SF_CREATE, TypeOfUnsignedInt(), nullptr, 0) != ErrorNone) {
    state.SkipWithError("the value did not open");
    return;
  }
  std::uint32_t number = 0;
  for (auto _ : state) {
    ++number;
    ErrorCode code = value->Write(&number, sizeof number);
    benchmark::DoNotOptimize(code);
  }
  value->Release();
  storage->Release();
}
BENCHMARK(WriteDwordThroughRegistryValue);

void WriteDwordBareRegSetValueExW(benchmark::State& state) {
  IStorageSystem* storage = OpenBenchStorage();
  if (storage == nullptr) {
    state.SkipWithError("the storage system did not open");
    return;
  }
  Platform::UniqueKey key = OpenBareKey();
  Platform::DWORD number = 0;
  for (auto _ : state) {
    ++number;
    Platform::LSTATUS status = Platform::RegSetValueExW(key.Get(), u"Written", 0, Platform::REG_DWORD,
                                                        reinterpret_cast<const Platform::BYTE*>(&number), 4);
    benchmark::DoNotOptimize(status);
  }
  storage->Release();
}
BENCHMARK(WriteDwordBareRegSetValueExW);

// Takes the time of each call and the writer's time of the value it then reads.
class LatencyMonitor : public IStoreMonitor {
public:
  explicit LatencyMonitor(IRegistryValue* time) : m_time(time) {}

  void OnStoreChange(std::uint32_t detail) override {
    const std::int64_t called = Now();
    std::int64_t written = 0;
    if (m_time->Read(&written, sizeof written) != ErrorNone || written == m_last) return;
    m_last = written;
    samples.Add(static_cast<double>(called - written) / 1000.0);
  }

  Bench::LatencySamples samples;

private:
  IRegistryValue* m_time;
  std::int64_t m_last = 0;
};

void WriteInAnotherProcessToOnStoreChange(benchmark::State& state) {
  IStorageSystem* storage = OpenBenchStorage();
  IStore* store = nullptr;
  IRegistryValue* time = nullptr;
  if (storage == nullptr || storage->OpenStore(u"Notify", &store, SF_READ | SF_WRITE | SF_CREATE) != ErrorNone ||
      store->OpenValue(u"Time", &time, SF_READ | SF_CREATE, TypeOfUnsignedLongLong(), nullptr, 0) != ErrorNone) {
    state.SkipWithError("the store did not open");
    return;
  }
  for (auto _ : state) {
    LatencyMonitor monitor(time);
    if (store->RegisterMonitor(&monitor) != ErrorNone) {
      state.SkipWithError("the monitor did not register");
      break;
    }
    const std::string command = "'" + g_program + "' --notify-writer &";
    if (std::system(command.c_str()) != 0) {
      state.SkipWithError("the writer process did not start");
      break;
    }
    std::vector<double> latencies = monitor.samples.WaitFor(kNotifyWrites - 20, std::chrono::seconds(30));
    static_cast<void>(store->UnregisterMonitor(&monitor));
    if (latencies.size() < 200) {
      state.SkipWithError("fewer than 200 notifications arrived");
      break;
    }
    state.SetIterationTime(Bench::Percentile(latencies, 0.5) / 1e6);
    state.counters["median_us"] = Bench::Percentile(latencies, 0.5);
    state.counters["p99_us"] = Bench::Percentile(latencies, 0.99);
    state.counters["samples"] = static_cast<double>(latencies.size());
  }
  time->Release();
  store->Release();
  storage->Release();
}
BENCHMARK(WriteInAnotherProcessToOnStoreChange)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

// The writer side of the latency run: waits for the monitor to arm, then writes its clock.
int NotifyWriter() {
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  for (int i = 0; i < kNotifyWrites + 20; ++i) {
    const std::int64_t now = Now();
    if (Platform::RegSetKeyValueW(Platform::HKEY_CURRENT_USER, kNotifyKey, u"Time", Platform::REG_QWORD, &now, 8) !=
        Platform::ERROR_SUCCESS) {
      return 1;
    }
    std::this_thread::sleep_for(kNotifyInterval);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  g_program = std::filesystem::absolute(argv[0]).string();
  if (argc == 2 && std::strcmp(argv[1], "--notify-writer") == 0) return NotifyWriter();

  std::random_device random;
  std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("halcyra-storage-bench-" + std::to_string(random()));
  std::filesystem::create_directories(folder);
  Platform::SetEnvironmentVariableW(u"HALCYRA_REGISTRY_ROOT", Platform::Utf8ToUtf16(folder.string()).c_str());

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return 0;
}
