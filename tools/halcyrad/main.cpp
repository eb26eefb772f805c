// halcyrad: the daemon side of the module library. It loads the library, drives its module through
// Init and Start, and on SIGINT, SIGTERM or after --for SECONDS through Stop, Uninit and
// ReleaseModule, showing the library's debug channel on standard error.
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/halcyrad/daemon_manager.h"
#include "tools/halcyrad/module_library.h"
#include "platform/module.h"
#include "platform/synchronization.h"
#include "platform/utf.h"

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void OnSignal(int) { stopRequested = 1; }

void WriteDebugLine(void*, const char* text) {
  std::fputs(text, stderr);
  std::fflush(stderr);
}

struct Options {
  std::u16string library;
  double seconds = -1;
  int logLevel = 2;
  bool help = false;
};

void PrintUsage() {
  std::puts(
      "usage: halcyrad [--library PATH] [--for SECONDS] [--log-level N]\n"
      "  --library PATH   the module library (default: the one beside this program)\n"
      "  --for SECONDS    stop after this time instead of waiting for SIGINT or SIGTERM\n"
      "  --log-level N    show the library's log up to level N (1 errors ... 5 type matching; default 2)");
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
      if (text == nullptr || *end != 0 || level < 0 || level > 5) {
        std::fprintf(stderr, "halcyrad: --log-level takes a level from 0 to 5\n");
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

  ModuleLibrary library;
  std::string error;
  if (!library.Load(options.library, error)) {
    std::fprintf(stderr, "halcyrad: %s\n", error.c_str());
    return 1;
  }
  HalcyraHostSettings settings{sizeof(HalcyraHostSettings), options.logLevel, nullptr, nullptr, &WriteDebugLine, nullptr};
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
