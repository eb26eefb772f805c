// How fast the routing loop answers a change made in another process, less its 200 ms debounce:
//  - from the write of bVacRoutingState in another process to the module's first
//    SetEndpointVisibility call;
//  - from an endpoint's state change in another process to the routing value written back, as that
//    process sees it through a registry watch (so the figure includes one notification delivery).
//
// The module's synchronizer runs here on the simulated audio system; the other process is this
// program started again with --writer. The writer stamps each change with the clock that every
// process of the machine shares, and leaves its stamps in the registry for this process to read.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "audio_service/vad_state_synchronizer.h"
#include "bench/support/latency_samples.h"
#include "platform/environment.h"
#include "platform/no_destructor.h"
#include "platform/process.h"
#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "simulator/audio_system.h"
#include "simulator/class_registration.h"
#include "tests/support/routing_value_location.h"

namespace {

using namespace Platform;
using Clock = std::chrono::steady_clock;

constexpr int kRounds = 50;
constexpr std::chrono::milliseconds kDebounce(200);
// Long enough for every debounced exchange that a change sets off to end: the change, the scan it
// causes, and the scan caused by the scan's own endpoint changes.
constexpr std::chrono::milliseconds kSettle(1500);

const Simulator::AudioRoot kAudioRoot{HKEY_LOCAL_MACHINE, u"SOFTWARE\\HalcyraBench\\Audio"};
constexpr const char16_t* kStampsKey = u"SOFTWARE\\HalcyraBench\\Stamps";
constexpr const char16_t* kVadRender = u"{5AD00000-0000-4000-8000-000000000001}";
constexpr const char16_t* kVadCapture = u"{5AD00000-0000-4000-8000-000000000002}";
constexpr const char16_t* kSpeakers = u"{5AD00000-0000-4000-8000-000000000003}";
using Testing::kProfilesKey;
using Testing::kRoutingValue;
constexpr const char* kVisibility = "IPolicyConfig::SetEndpointVisibility";
constexpr const char* kEnum = "IMMDeviceEnumerator::EnumAudioEndpoints";

std::uint64_t Stamp(Clock::time_point time) {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count());
}

std::u16string StampName(const char* what, int round) {
  return Utf8ToUtf16(std::string(what) + " " + std::to_string(round));
}

bool WriteStamp(const char* what, int round, Clock::time_point time) {
  const std::uint64_t value = Stamp(time);
  return RegSetKeyValueW(HKEY_LOCAL_MACHINE, kStampsKey, StampName(what, round).c_str(), REG_QWORD, &value,
                         sizeof value) == ERROR_SUCCESS;
}

std::optional<std::uint64_t> ReadStamp(const char* what, int round) {
  std::uint64_t value = 0;
  DWORD size = sizeof value;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, kStampsKey, StampName(what, round).c_str(), RRF_RT_REG_QWORD, nullptr, &value,
                   &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  return value;
}

DWORD Routing() {
  DWORD value = 0, size = sizeof value;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, kProfilesKey, kRoutingValue, RRF_RT_REG_DWORD, nullptr, &value, &size) !=
      ERROR_SUCCESS) {
    return 0xFFFFFFFF;
  }
  return value;
}

// The other process: in each round it writes the routing value 1, lets the loop settle, then
// disables the VAD's render endpoint and waits for the value to come back 0. Returns 0 when every
// round saw its answer.
int Writer() {
  const Simulator::EndpointRegistry endpoints(kAudioRoot, [](const std::u16string&) {});
  Simulator::Endpoint render;
  if (!endpoints.Find(Simulator::EndpointRegistry::EndpointId(eRender, kVadRender).c_str(), render)) return 2;
  UniqueKey profiles;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kProfilesKey, 0, KEY_READ, profiles.Put()) != ERROR_SUCCESS) return 3;
  UniqueKernelHandle changed(CreateEventW(nullptr, FALSE, FALSE, nullptr));

  for (int round = 0; round < kRounds; ++round) {
    const DWORD shown = 1;
    const Clock::time_point written = Clock::now();
    if (RegSetKeyValueW(HKEY_LOCAL_MACHINE, kProfilesKey, kRoutingValue, REG_DWORD, &shown, sizeof shown) !=
        ERROR_SUCCESS) {
      return 4;
    }
    std::this_thread::sleep_for(kSettle);
    // Stamps are written once the loop has settled, so that their writes do not run beside it.
    if (!WriteStamp("routing", round, written)) return 4;

    const Clock::time_point disabled = Clock::now();
    if (RegNotifyChangeKeyValue(profiles.Get(), FALSE, REG_NOTIFY_CHANGE_LAST_SET, changed.Get(), TRUE) !=
            ERROR_SUCCESS ||
        endpoints.SetState(render, DEVICE_STATE_DISABLED) < 0) {
      return 5;
    }
    // Another value of the store may change first: wait on until the routing value is 0.
    while (Routing() != 0) {
      if (WaitForSingleObject(changed.Get(), 5000) != WAIT_OBJECT_0) return 6;
      if (Routing() != 0 && RegNotifyChangeKeyValue(profiles.Get(), FALSE, REG_NOTIFY_CHANGE_LAST_SET, changed.Get(),
                                                    TRUE) != ERROR_SUCCESS) {
        return 5;
      }
    }
    const Clock::time_point seen = Clock::now();
    if (!WriteStamp("disabled", round, disabled) || !WriteStamp("seen", round, seen)) return 4;
    std::this_thread::sleep_for(kSettle);
  }
  return 0;
}

// Runs this program again as the writer and waits for it; its exit code, or -1 when it did not
// start or end.
int RunWriter(const std::string& program) {
  std::u16string commandLine = u"\"" + Utf8ToUtf16(program) + u"\" --writer";
  const std::u16string application = Utf8ToUtf16(program);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(application.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                      &process)) {
    return -1;
  }
  UniqueKernelHandle processHandle(process.hProcess);
  UniqueKernelHandle threadHandle(process.hThread);
  const DWORD timeout = static_cast<DWORD>(kRounds * 2 * (kSettle.count() + 5000));
  DWORD exitCode = 0;
  if (WaitForSingleObject(processHandle.Get(), timeout) != WAIT_OBJECT_0 ||
      !GetExitCodeProcess(processHandle.Get(), &exitCode)) {
    TerminateProcess(processHandle.Get(), 1);
    return -1;
  }
  return static_cast<int>(exitCode);
}

// The simulated machine with the VAD's two endpoints and a speaker, and the synchronizer started on
// it as the module starts it.
struct Machine {
  Machine()
      : audio(kAudioRoot, [](const std::u16string&) {}), registration(audio), synchronizer(new VADStateSynchronizer) {
    using Definition = Simulator::EndpointDefinition;
    audio.Endpoints().Create(Definition{
        eRender, kVadRender, DEVICE_STATE_ACTIVE, {{PKEY_Device_InstanceId, u"ROOT\\MEDIA\\QuillonHL3Vad\\0000"}}, {}});
    audio.Endpoints().Create(Definition{eCapture,
                                        kVadCapture,
                                        DEVICE_STATE_ACTIVE,
                                        {{PKEY_Device_InstanceId, u"ROOT\\MEDIA\\QuillonHL3Vad\\0001"}},
                                        {}});
    audio.Endpoints().Create(Definition{
        eRender, kSpeakers, DEVICE_STATE_ACTIVE, {{PKEY_Device_InstanceId, u"HDAUDIO\\FUNC_01&VEN_10EC"}}, {}});
    synchronizer->Start();
    std::this_thread::sleep_for(kSettle);
  }

  Simulator::AudioSystem audio;
  Simulator::ClassRegistration registration;
  // The pipelines hold the synchronizer until the process ends, so it is never deleted here.
  VADStateSynchronizer* synchronizer;
};

std::string g_program;

void RoutingLoopAcrossProcesses(benchmark::State& state) {
  static NoDestructor<Machine> machine;
  if (!machine->registration.Registered()) {
    state.SkipWithError("the simulated audio system did not register");
    return;
  }
  for (auto _ : state) {
    machine->audio.State()->Calls().Clear();
    const int exitCode = RunWriter(g_program);
    if (exitCode != 0) {
      state.SkipWithError(("the writer failed with " + std::to_string(exitCode)).c_str());
      break;
    }
    const std::vector<Simulator::CallRecord> calls = machine->audio.State()->Calls().Calls();
    std::vector<double> toVisibility, scans, toValue;
    for (int round = 0; round < kRounds; ++round) {
      const std::optional<std::uint64_t> written = ReadStamp("routing", round);
      const std::optional<std::uint64_t> disabled = ReadStamp("disabled", round);
      const std::optional<std::uint64_t> seen = ReadStamp("seen", round);
      if (!written || !disabled || !seen) continue;
      // The first visibility call after the write, and the scan of the endpoints that led to it.
      std::optional<std::uint64_t> scanned;
      for (const Simulator::CallRecord& call : calls) {
        if (Stamp(call.at) <= *written) continue;
        if (call.operation == kEnum) scanned = Stamp(call.at);
        if (call.operation != kVisibility) continue;
        toVisibility.push_back(static_cast<double>(Stamp(call.at) - *written) / 1e3 -
                               std::chrono::duration<double, std::micro>(kDebounce).count());
        if (scanned) scans.push_back(static_cast<double>(Stamp(call.at) - *scanned) / 1e3);
        break;
      }
      toValue.push_back(static_cast<double>(*seen - *disabled) / 1e3 -
                        std::chrono::duration<double, std::micro>(kDebounce).count());
    }
    if (toVisibility.size() < kRounds / 2 || toValue.size() < kRounds / 2) {
      state.SkipWithError("fewer than half the rounds were answered");
      break;
    }
    state.SetIterationTime(Bench::Percentile(toVisibility, 0.5) / 1e6);
    state.counters["value_to_visibility_median_us"] = Bench::Percentile(toVisibility, 0.5);
    state.counters["value_to_visibility_p99_us"] = Bench::Percentile(toVisibility, 0.99);
    state.counters["of_which_scan_median_us"] = scans.empty() ? 0.0 : Bench::Percentile(scans, 0.5);
    state.counters["state_to_value_median_us"] = Bench::Percentile(toValue, 0.5);
    state.counters["state_to_value_p99_us"] = Bench::Percentile(toValue, 0.99);
    state.counters["rounds"] = static_cast<double>(toVisibility.size());
  }
}
BENCHMARK(RoutingLoopAcrossProcesses)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  g_program = std::filesystem::absolute(argv[0]).string();
  if (argc == 2 && std::strcmp(argv[1], "--writer") == 0) return Writer();

  // A registry of its own on Linux; on Windows the bench's keys are removed at the end.
  std::random_device random;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("halcyra-routing-bench-" + std::to_string(random()));
  std::filesystem::create_directories(folder);
  SetEnvironmentVariableW(u"HALCYRA_REGISTRY_ROOT", Utf8ToUtf16(folder.string()).c_str());

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\HalcyraBench");
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  // The machine and the synchronizer's worker threads live until the process ends: leave without
  // running destructors under their feet.
  std::fflush(nullptr);
  std::_Exit(0);
}
