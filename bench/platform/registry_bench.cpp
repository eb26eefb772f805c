// Speed of the registry: the calls the system makes most, and the time a change takes to reach a
// watcher in another process. Runs in a registry folder of its own, removed at the end.
//
// The notification latency is measured against a writer process (this program started again with
// --notify-writer FILE): it stores the steady clock's time in nanoseconds as a REG_QWORD just before
// each write, at the interval in microseconds that the benchmark's argument gives, and lists in FILE
// when each write started and returned. The watcher takes the time as soon as its event is
// signalled: "median_us" and "p99_us" count from the start of the write call,
// "after_write_median_us" from its return; "write_median_us" is the write call itself, which in
// this run also wakes the watcher (a futex call, during which the woken thread may take the
// writer's processor). Two intervals: 5 ms, as a real program writes, and 0.5 ms. The steady clock
// is the machine's monotonic clock, the same in both processes.
//
// BareSqliteWriteTransaction* are the floor under RegSetKeyValueW: the same row written in one
// SQLite transaction with the hive's settings and nothing of ours, busy and after 5 ms of sleep.
#include <benchmark/benchmark.h>
#if !defined(_WIN32)
#include <sqlite3.h>
#endif

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"

using namespace Platform;

namespace {

constexpr const char16_t* kBase = u"Software\\HalcyraBench";
constexpr const char16_t* kNotifyKey = u"Software\\HalcyraBench\\Notify";
constexpr int kNotifyWrites = 400;

std::string g_program;
std::filesystem::path g_folder;

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

UniqueKey CreateKey(HKEY parent, const std::u16string& path) {
  UniqueKey key;
  RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(), nullptr);
  return key;
}

void RegGetValueOfADword(benchmark::State& state) {
  UniqueKey key = CreateKey(HKEY_CURRENT_USER, std::u16string(kBase) + u"\\Get");
  DWORD number = 1234;
  RegSetValueExW(key.Get(), u"Number", 0, REG_DWORD, reinterpret_cast<BYTE*>(&number), 4);
  for (auto _ : state) {
    DWORD value = 0, size = 4;
    LSTATUS status = RegGetValueW(key.Get(), nullptr, u"Number", RRF_RT_REG_DWORD, nullptr, &value, &size);
    benchmark::DoNotOptimize(status);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(RegGetValueOfADword);

void RegSetKeyValueOfADword(benchmark::State& state) {
  std::u16string path = std::u16string(kBase) + u"\\Set";
  DWORD number = 0;
  for (auto _ : state) {
    ++number;
    LSTATUS status = RegSetKeyValueW(HKEY_CURRENT_USER, path.c_str(), u"Number", REG_DWORD, &number, 4);
    benchmark::DoNotOptimize(status);
  }
}
BENCHMARK(RegSetKeyValueOfADword);

double Percentile(std::vector<double> samples, double fraction);

// The same calls timed one by one, for their median and 99th percentile: the mean above also
// carries the WAL checkpoints, which a few calls pay for all.
void RegSetKeyValueOfADwordOneByOne(benchmark::State& state) {
  std::u16string path = std::u16string(kBase) + u"\\SetOne";
  DWORD number = 0;
  std::vector<double> times;
  for (auto _ : state) {
    times.clear();
    for (int i = 0; i < 20000; ++i) {
      ++number;
      std::int64_t start = Now();
      LSTATUS status = RegSetKeyValueW(HKEY_CURRENT_USER, path.c_str(), u"Number", REG_DWORD, &number, 4);
      times.push_back(static_cast<double>(Now() - start) / 1000.0);
      benchmark::DoNotOptimize(status);
    }
  }
  state.counters["median_us"] = Percentile(times, 0.5);
  state.counters["p99_us"] = Percentile(times, 0.99);
}
BENCHMARK(RegSetKeyValueOfADwordOneByOne)->Iterations(1)->Unit(benchmark::kMillisecond);

#if !defined(_WIN32)
// The floor under RegSetKeyValueW: one SQLite write transaction of the same row shape, with the
// hive's settings (WAL, normal sync, 2 KiB pages) and prepared statements, and nothing of ours.
class BareTransaction {
public:
  BareTransaction() {
    std::string file = (g_folder / "bare.db").string();
    sqlite3_open(file.c_str(), &m_db);
    sqlite3_exec(m_db,
                 "PRAGMA page_size=2048; PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                 "CREATE TABLE IF NOT EXISTS vals(id INTEGER PRIMARY KEY, key INTEGER NOT NULL, name BLOB NOT NULL,"
                 " folded BLOB NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL, written INTEGER NOT NULL);"
                 "CREATE UNIQUE INDEX IF NOT EXISTS vals_by_name ON vals(key, folded);",
                 nullptr, nullptr, nullptr);
    sqlite3_prepare_v2(m_db, "BEGIN IMMEDIATE", -1, &m_begin, nullptr);
    sqlite3_prepare_v2(m_db, "COMMIT", -1, &m_commit, nullptr);
    sqlite3_prepare_v2(m_db,
                       "INSERT INTO vals(key, name, folded, type, data, written) VALUES(1, ?1, ?1, 4, ?2, ?3)"
                       " ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data,"
                       " written = excluded.written",
                       -1, &m_upsert, nullptr);
  }
  ~BareTransaction() {
    sqlite3_finalize(m_begin);
    sqlite3_finalize(m_commit);
    sqlite3_finalize(m_upsert);
    sqlite3_close(m_db);
  }
  bool Write(DWORD number) {
    bool done = sqlite3_step(m_begin) == SQLITE_DONE;
    sqlite3_reset(m_begin);
    sqlite3_bind_blob(m_upsert, 1, u"Number", 12, SQLITE_STATIC);
    sqlite3_bind_blob(m_upsert, 2, &number, 4, SQLITE_TRANSIENT);
    sqlite3_bind_int64(m_upsert, 3, Now());
    done = sqlite3_step(m_upsert) == SQLITE_DONE && done;
    sqlite3_reset(m_upsert);
    done = sqlite3_step(m_commit) == SQLITE_DONE && done;
    sqlite3_reset(m_commit);
    return done;
  }

private:
  sqlite3* m_db = nullptr;
  sqlite3_stmt* m_begin = nullptr;
  sqlite3_stmt* m_commit = nullptr;
  sqlite3_stmt* m_upsert = nullptr;
};

void BareSqliteWriteTransaction(benchmark::State& state) {
  BareTransaction bare;
  DWORD number = 0;
  for (auto _ : state) {
    if (!bare.Write(++number)) state.SkipWithError("the bare transaction failed");
  }
}
BENCHMARK(BareSqliteWriteTransaction);
#endif

// A write made after 5 ms of sleep, as a real program writes, timed alone: the cold cost that
// the notification latency carries. kAfterSleepWrites writes; median and 99th percentile.
constexpr int kAfterSleepWrites = 400;

template <class Write>
void TimeWritesAfterSleep(benchmark::State& state, Write write) {
  std::vector<double> times;
  for (auto _ : state) {
    for (int i = 0; i < kAfterSleepWrites; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      std::int64_t start = Now();
      if (!write(static_cast<DWORD>(i))) state.SkipWithError("a write failed");
      times.push_back(static_cast<double>(Now() - start) / 1000.0);
    }
  }
  state.counters["median_us"] = Percentile(times, 0.5);
  state.counters["p99_us"] = Percentile(times, 0.99);
}

void RegSetKeyValueAfterSleep(benchmark::State& state) {
  std::u16string path = std::u16string(kBase) + u"\\SetAfterSleep";
  TimeWritesAfterSleep(state, [&](DWORD number) {
    return RegSetKeyValueW(HKEY_CURRENT_USER, path.c_str(), u"Number", REG_DWORD, &number, 4) == ERROR_SUCCESS;
  });
}
BENCHMARK(RegSetKeyValueAfterSleep)->Iterations(1)->Unit(benchmark::kMillisecond);

#if !defined(_WIN32)
void BareSqliteWriteTransactionAfterSleep(benchmark::State& state) {
  BareTransaction bare;
  TimeWritesAfterSleep(state, [&](DWORD number) { return bare.Write(number); });
}
BENCHMARK(BareSqliteWriteTransactionAfterSleep)->Iterations(1)->Unit(benchmark::kMillisecond);
#endif

void OpenAndCloseAKeyThreeLevelsDown(benchmark::State& state) {
  CreateKey(HKEY_CURRENT_USER, std::u16string(kBase) + u"\\Two\\Three");
  const char16_t* path = u"Software\\HalcyraBench\\Two\\Three";
  for (auto _ : state) {
    HKEY key = nullptr;
    LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key);
    benchmark::DoNotOptimize(status);
    RegCloseKey(key);
  }
}
BENCHMARK(OpenAndCloseAKeyThreeLevelsDown);

void EnumerateAThousandSubKeys(benchmark::State& state) {
  UniqueKey parent = CreateKey(HKEY_CURRENT_USER, std::u16string(kBase) + u"\\Many");
  for (int i = 0; i < 1000; ++i) {
    char name[16];
    std::snprintf(name, sizeof(name), "Key%04d", i);
    CreateKey(parent.Get(), Utf8ToUtf16(name));
  }
  for (auto _ : state) {
    DWORD count = 0;
    for (DWORD index = 0;; ++index) {
      char16_t name[256];
      DWORD length = 256;
      if (RegEnumKeyExW(parent.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
      ++count;
    }
    if (count != 1000) state.SkipWithError("enumeration did not see 1000 sub-keys");
  }
}
BENCHMARK(EnumerateAThousandSubKeys)->Unit(benchmark::kMicrosecond);

double Percentile(std::vector<double> samples, double fraction) {
  std::sort(samples.begin(), samples.end());
  std::size_t index = static_cast<std::size_t>(fraction * static_cast<double>(samples.size() - 1) + 0.5);
  return samples[std::min(index, samples.size() - 1)];
}

void NotificationLatencyAcrossProcesses(benchmark::State& state) {
  UniqueKey watched = CreateKey(HKEY_CURRENT_USER, kNotifyKey);
  UniqueKernelHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  const std::string times = (g_folder / "writes.txt").string();
  for (auto _ : state) {
    std::vector<double> latencies;
    std::map<std::int64_t, std::int64_t> wakes;  // write start: wake
    const DWORD filter = REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_THREAD_AGNOSTIC;
    RegNotifyChangeKeyValue(watched.Get(), TRUE, filter, event.Get(), TRUE);
    // The writer runs as a process of its own, waited for by a thread of this one. Double quotes
    // suit both /bin/sh and cmd.exe; cmd.exe drops the first and the last quote of its line, so
    // there the whole line takes one more pair.
    std::string command =
        "\"" + g_program + "\" --notify-writer \"" + times + "\" " + std::to_string(state.range(0));
#if defined(_WIN32)
    command = "\"" + command + "\"";
#endif
    int writerResult = -1;
    std::thread writer([&] { writerResult = std::system(command.c_str()); });
    while (WaitForSingleObject(event.Get(), 5000) == WAIT_OBJECT_0) {
      std::int64_t woken = Now();
      std::int64_t written = 0;
      DWORD size = 8;
      RegNotifyChangeKeyValue(watched.Get(), TRUE, filter, event.Get(), TRUE);
      if (RegGetValueW(watched.Get(), nullptr, u"Time", RRF_RT_REG_QWORD, nullptr, &written, &size) == ERROR_SUCCESS) {
        latencies.push_back(static_cast<double>(woken - written) / 1000.0);
        wakes[written] = woken;
      }
      if (latencies.size() >= kNotifyWrites) break;
    }
    writer.join();
    if (writerResult != 0 || latencies.size() < 200) {
      state.SkipWithError("the writer failed, or fewer than 200 notifications arrived");
      break;
    }
    std::vector<double> afterWrite, writeTimes;
    {
      std::ifstream in(times);
      std::int64_t start = 0, end = 0;
      while (in >> start >> end) {
        writeTimes.push_back(static_cast<double>(end - start) / 1000.0);
        auto wake = wakes.find(start);
        if (wake != wakes.end()) afterWrite.push_back(static_cast<double>(wake->second - end) / 1000.0);
      }
    }
    if (!afterWrite.empty()) state.counters["after_write_median_us"] = Percentile(afterWrite, 0.5);
    if (!writeTimes.empty()) state.counters["write_median_us"] = Percentile(writeTimes, 0.5);
    state.SetIterationTime(Percentile(latencies, 0.5) / 1e6);
    state.counters["median_us"] = Percentile(latencies, 0.5);
    state.counters["p99_us"] = Percentile(latencies, 0.99);
    state.counters["samples"] = static_cast<double>(latencies.size());
  }
}
BENCHMARK(NotificationLatencyAcrossProcesses)
    ->Arg(5000)
    ->Arg(500)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

// The writer side of the latency run: waits for the watcher to arm, then writes its clock every
// `interval` microseconds, and at the end lists each write's start and return in `file`.
int NotifyWriter(const char* file, long interval) {
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  std::vector<std::pair<std::int64_t, std::int64_t>> writes;
  for (int i = 0; i < kNotifyWrites + 20; ++i) {
    std::int64_t start = Now();
    if (RegSetKeyValueW(HKEY_CURRENT_USER, kNotifyKey, u"Time", REG_QWORD, &start, 8) != ERROR_SUCCESS) return 1;
    writes.emplace_back(start, Now());
    std::this_thread::sleep_for(std::chrono::microseconds(interval));
  }
  std::ofstream out(file);
  for (const auto& [start, end] : writes) out << start << ' ' << end << '\n';
  return out ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  g_program = std::filesystem::absolute(argv[0]).string();
  if (argc == 4 && std::strcmp(argv[1], "--notify-writer") == 0) {
    return NotifyWriter(argv[2], std::strtol(argv[3], nullptr, 10));
  }

  std::random_device random;
  g_folder = std::filesystem::temp_directory_path() / ("halcyra-registry-bench-" + std::to_string(random()));
  std::filesystem::create_directories(g_folder);
  SetEnvironmentVariableW(u"HALCYRA_REGISTRY_ROOT", Utf8ToUtf16(g_folder.string()).c_str());

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ignored;
  std::filesystem::remove_all(g_folder, ignored);
  return 0;
}
