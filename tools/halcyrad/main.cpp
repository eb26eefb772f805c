// halcyrad: the daemon side of the module library. It loads the library, drives its module through
// Init and Start, and on SIGINT, SIGTERM or after --for SECONDS through Stop, Uninit and
// ReleaseModule, showing the library's debug channel on standard error.
//
// With the simulated audio system (the default on Linux, where there is no other) it first seeds
// the default machine where the registry lacks it, and registers the simulator's classes in this
// process's class table, which the library reaches through the host settings.
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <optional>

#include "platform/com.h"
#include "platform/module.h"
#include "platform/synchronization.h"
#include "platform/utf.h"
#include "simulator/audio_system.h"
#include "simulator/class_registration.h"
#include "simulator/default_machine.h"
#include "simulator/endpoint_listing.h"
#include "tools/halcyrad/daemon_manager.h"
#include "tools/halcyrad/module_library.h"

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void OnSignal(int) { stopRequested = 1; }

void WriteDebugLine(void*, const char* text) {
  std::fputs(text, stderr);
  std::fflush(stderr);
}

// Whether the simulated audio system stands in for the system's when neither --simulate nor
// --no-simulate is given: on Linux, where the system has none.
constexpr bool kSimulateByDefault = HALCYRA_SIMULATE_BY_DEFAULT;

struct Options {
  std::u16string library;
  double seconds = -1;
  int logLevel = 2;
  bool simulate = kSimulateByDefault;
  Simulator::AudioRoot audioRoot = Simulator::DefaultAudioRoot();
  bool listEndpoints = false;
  bool help = false;
};

void PrintUsage() {
  std::puts(
      "usage: halcyrad [--library PATH] [--for SECONDS] [--log-level N] [--simulate | --no-simulate]\n"
      "                [--simulated-audio-root KEY]\n"
      "       halcyrad --list-endpoints [--simulated-audio-root KEY]\n"
      "  --library PATH    the module library (default: the one beside this program)\n"
      "  --for SECONDS     stop after this time instead of waiting for SIGINT or SIGTERM\n"
      "  --log-level N     show the library's log up to level N (1 errors ... 5 type matching; default 2)\n"
      "  --simulate        use the simulated audio system, seeding the default machine where it is missing\n"
      "                    (the default on Linux)\n"
      "  --no-simulate     use the system's audio components\n"
      "  --simulated-audio-root KEY\n"
      "                    keep the simulated endpoints below KEY (HKLM\\... or HKCU\\...) instead of\n"
      "                    HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\MMDevices\\Audio\n"
      "  --list-endpoints  seed like --simulate, list the simulated endpoints and exit");
}

std::u16string DefaultLibraryPath() {
  char16_t path[4096];
  Platform::DWORD length = Platform::GetModuleFileNameW(nullptr, path, 4096);
  std::u16string folder(path, length);
  std::size_t slash = folder.find_last_of(u"/\\");
  folder = slash == std::u16string::npos ? std::u16string() : folder.substr(0, slash + 1);
  return folder + HALCYRA_MODULE_LIBRARY_NAME;
}

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    std::string argument = argv[i];
    auto value = [&](const char* name) -> const char* {
      if (i + 1 >= argc) {
        std::fprintf(stderr, "halcyrad: %s needs a value\n", name);
        return nullptr;
      }
      return argv[++i];
    };
    if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else if (argument == "--simulate") {
      options.simulate = true;
    } else if (argument == "--no-simulate") {
      options.simulate = false;
    } else if (argument == "--list-endpoints") {
      options.listEndpoints = true;
    } else if (argument == "--simulated-audio-root") {
      const char* text = value("--simulated-audio-root");
      if (text == nullptr || !Simulator::ParseAudioRoot(Platform::Utf8ToUtf16(text), options.audioRoot)) {
        std::fprintf(stderr, "halcyrad: --simulated-audio-root takes a key of HKLM or HKCU\n");
        return false;
      }
    } else if (argument == "--library") {
      const char* path = value("--library");
      if (path == nullptr) return false;
      options.library = Platform::Utf8ToUtf16(path);
    } else if (argument == "--for") {
      const char* text = value("--for");
      char* end = nullptr;
      if (text == nullptr || (options.seconds = std::strtod(text, &end), *end != 0) || options.seconds < 0) {
        std::fprintf(stderr, "halcyrad: --for takes a number of seconds\n");
        return false;
      }
    } else if (argument == "--log-level") {
      const char* text = value("--log-level");
      char* end = nullptr;
      long level = text == nullptr ? -1 : std::strtol(text, &end, 10);
      if (text == nullptr || *end != 0 || level < 1 || level > 5) {
        std::fprintf(stderr, "halcyrad: --log-level takes a level from 1 to 5\n");
        return false;
      }
      options.logLevel = static_cast<int>(level);
    } else {
      std::fprintf(stderr, "halcyrad: unknown argument %s (see --help)\n", argument.c_str());
      return false;
    }
  }
  if (options.library.empty()) options.library = DefaultLibraryPath();
  return true;
}

// Waits until a signal arrives or the time is up (forever without --for). Signals can only set a
// flag, so the wait looks at it in short steps.
void WaitForStop(double seconds) {
  constexpr Platform::DWORD kStepMilliseconds = 20;
  double waited = 0;
  while (stopRequested == 0 && (seconds < 0 || waited < seconds)) {
    Platform::Sleep(kStepMilliseconds);
    waited += kStepMilliseconds / 1000.0;
  }
}

void WriteSimulatorMessage(const std::u16string& message) {
  std::fprintf(stderr, "%s\n", Platform::Utf16ToUtf8(message).c_str());
  std::fflush(stderr);
}

// Seeds what the machine lacks and says so.
bool SeedMachine(Simulator::AudioSystem& audio) {
  Simulator::SeedResult seeded = Simulator::SeedDefaultMachine(audio.Endpoints());
  if (seeded.productKeysCreated) std::fprintf(stderr, "halcyrad: seeded the product's registry keys\n");
  if (seeded.endpointsCreated) std::fprintf(stderr, "halcyrad: seeded the default simulated endpoints\n");
  if (seeded.result < 0) {
    std::fprintf(stderr, "halcyrad: the default machine could not be seeded (0x%08X)\n",
                 static_cast<unsigned>(seeded.result));
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) return 2;
  if (options.help) {
    PrintUsage();
    return 0;
  }
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);

  // Declared before the library, so that they outlive it: the library releases the simulator's
  // objects when it is unloaded.
  std::optional<Simulator::AudioSystem> audio;
  std::optional<Simulator::ClassRegistration> registration;
  if (options.simulate || options.listEndpoints) {
    audio.emplace(options.audioRoot, &WriteSimulatorMessage);
    if (!SeedMachine(*audio)) return 1;
    registration.emplace(*audio);
  }
  if (options.listEndpoints) {
    for (const std::string& line : Simulator::ListEndpoints(audio->Endpoints())) std::puts(line.c_str());
    return 0;
  }

  ModuleLibrary library;
  std::string error;
  if (!library.Load(options.library, error)) {
    std::fprintf(stderr, "halcyrad: %s\n", error.c_str());
    return 1;
  }
  HalcyraHostSettings settings{sizeof(HalcyraHostSettings),
                               options.logLevel,
                               nullptr,
                               nullptr,
                               &WriteDebugLine,
                               nullptr,
                               options.simulate ? &Platform::GetProcessClassObject : nullptr};
  if (!library.Configure(settings)) {
    std::fprintf(stderr, "halcyrad: the module library refused the host settings\n");
    return 1;
  }
  Common::GUID clsid;
  Daemon::IModule* module = library.OpenFirstModule(clsid, error);
  if (module == nullptr) {
    std::fprintf(stderr, "halcyrad: %s\n", error.c_str());
    return 1;
  }

  DaemonManager manager(module, clsid);
  module->SetManager(&manager);
  if (ErrorCode result = module->Init(&manager); result != ErrorNone) {
    std::fprintf(stderr, "halcyrad: Init of the module failed with %d\n", result);
    return 1;
  }
  if (ErrorCode result = module->Start(&manager); result != ErrorNone) {
    std::fprintf(stderr, "halcyrad: Start of the module failed with %d\n", result);
    module->Uninit(&manager);
    return 1;
  }
  WaitForStop(options.seconds);
  module->Stop(&manager);
  module->Uninit(&manager);
  library.Release(module);
  return 0;
}
