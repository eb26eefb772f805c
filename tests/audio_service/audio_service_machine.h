// The machine of the audio service's tests: the simulated machine with its endpoints below a test
// key of the machine hive, registered in the process class table, the debug channel captured and
// the log at info level; and the product's keys of the machine hive, removed before and after.
#pragma once

#include <gtest/gtest.h>

#include "foundation/log.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "simulator/class_registration.h"
#include "tests/support/debug_channel_capture.h"
#include "tests/support/simulated_machine.h"

namespace Testing {

inline const Simulator::AudioRoot kTestAudioRoot{Platform::HKEY_LOCAL_MACHINE,
                                                 u"SOFTWARE\\HalcyraTests\\AudioService\\Audio"};
inline constexpr const char16_t* kProductKey = u"SOFTWARE\\Velorin";

// Registers the simulated audio system only after the machine is clean, and keeps it until the test
// ends.
class AudioServiceMachine : public SimulatedMachine {
public:
  AudioServiceMachine() : SimulatedMachine((RemoveProductKeys(), kTestAudioRoot)), registration(audio) {
    LogSetLevel(LogLevelInfo);
  }
  ~AudioServiceMachine() {
    LogSetLevel(LogLevelWarning);
    RemoveProductKeys();
  }

  // Creates the product's keys "SOFTWARE\Velorin\VelorinV3" and its "AudioApplication".
  static void CreateProductKeys() {
    Platform::UniqueKey key;
    ASSERT_EQ(Platform::RegCreateKeyExW(Platform::HKEY_LOCAL_MACHINE, u"SOFTWARE\\Velorin\\VelorinV3\\AudioApplication",
                                        0, nullptr, 0, Platform::KEY_ALL_ACCESS, nullptr, key.Put(), nullptr),
              Platform::ERROR_SUCCESS);
  }

  // Writes a DWORD into an existing key of the machine hive.
  static void SetNumberInMachine(const char16_t* subKey, const char16_t* name, Platform::DWORD value) {
    ASSERT_EQ(Platform::RegSetKeyValueW(Platform::HKEY_LOCAL_MACHINE, subKey, name, Platform::REG_DWORD, &value,
                                        sizeof(value)),
              Platform::ERROR_SUCCESS);
  }

  // A DWORD of the machine hive; -1 when it is missing.
  static long long MachineNumber(const char16_t* subKey, const char16_t* name) {
    Platform::DWORD value = 0;
    Platform::DWORD size = sizeof(value);
    if (Platform::RegGetValueW(Platform::HKEY_LOCAL_MACHINE, subKey, name, Platform::RRF_RT_REG_DWORD, nullptr, &value,
                               &size) != Platform::ERROR_SUCCESS) {
      return -1;
    }
    return value;
  }

  Simulator::ClassRegistration registration;
  DebugChannelCapture capture;

private:
  static void RemoveProductKeys() { Platform::RegDeleteTreeW(Platform::HKEY_LOCAL_MACHINE, kProductKey); }
};

}  // namespace Testing
