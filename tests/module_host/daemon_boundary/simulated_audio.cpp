// The audio system of the machine on which the boundary test's C daemon runs.
//
// Starting the module needs Core Audio, and Linux has none; a Linux host hands the library the
// class table in which the simulated audio system is registered, as halcyrad does. This library is
// that machine for the C program: it is not part of what the program tests. The simulator stands
// in on Windows too, so that both lanes start the module on the same machine, with its endpoints
// in a key of the test's own there instead of the system's.
#include "platform/com.h"
#include "platform/export.h"
#include "platform/registry.h"
#include "simulator/audio_system.h"
#include "simulator/class_registration.h"
#include "tests/support/platform_kind.h"

namespace {

constexpr const char16_t* kWindowsAudioKey = u"Software\\HalcyraTests\\DaemonBoundary";

Simulator::AudioRoot TestAudioRoot() {
  if (!Testing::kRunningOnWindows) return Simulator::DefaultAudioRoot();
  return Simulator::AudioRoot{Platform::HKEY_CURRENT_USER, std::u16string(kWindowsAudioKey) + u"\\Audio"};
}

// Empties the test's key on Windows before the machine is made and after it is gone. On Linux the
// registry folder is the test's own and emptied before each run.
struct TestKeyCleaner {
  TestKeyCleaner() { Clean(); }
  ~TestKeyCleaner() { Clean(); }
  static void Clean() {
    if (Testing::kRunningOnWindows) Platform::RegDeleteTreeW(Platform::HKEY_CURRENT_USER, kWindowsAudioKey);
  }
};

}  // namespace

// Makes the machine's audio system, once, for the rest of the process, and returns the lookup of
// the class table it is registered in; null when the registration failed. Call it before the module
// library's first export, so that the audio system outlives the module, which releases its objects
// when the process ends.
extern "C" HALCYRA_EXPORT Platform::ClassObjectLookup DaemonBoundaryStartAudio() {
  static TestKeyCleaner cleaner;
  static Simulator::AudioSystem audio(TestAudioRoot());
  static Simulator::ClassRegistration registration(audio);
  return registration.Registered() ? &Platform::GetProcessClassObject : nullptr;
}
