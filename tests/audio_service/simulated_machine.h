// A machine for the audio service's tests: a fresh registry (its own folder on Linux), a simulated
// audio system below a test key, registered in the process class table, the debug channel captured
// and the log at info level. Everything the tests write is removed again.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/log.h"
#include "platform/core_audio.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "simulator/audio_system.h"
#include "simulator/class_registration.h"
#include "simulator/property_text.h"
#include "tests/support/debug_channel_capture.h"
#include "tests/support/temporary_registry_folder.h"

namespace Testing {

inline const Simulator::AudioRoot kTestAudioRoot{Platform::HKEY_LOCAL_MACHINE,
                                                 u"SOFTWARE\\HalcyraTests\\AudioService\\Audio"};
inline constexpr const char16_t* kProductKey = u"SOFTWARE\\Velorin";

inline void RemoveMachineKeys() {
  Platform::RegDeleteTreeW(Platform::HKEY_LOCAL_MACHINE, u"SOFTWARE\\HalcyraTests\\AudioService");
  Platform::RegDeleteTreeW(Platform::HKEY_LOCAL_MACHINE, kProductKey);
}

// Registers the simulated audio system only after the registry folder is chosen and the machine is
// clean, and keeps it until the test ends.
class SimulatedMachine {
public:
  SimulatedMachine()
      : m_folder((UseProcessRegistryFolder(), RemoveMachineKeys(), 0)),
        audio(kTestAudioRoot, [](const std::u16string&) {}),
        registration(audio) {
    LogSetLevel(LogLevelInfo);
  }
  ~SimulatedMachine() {
    LogSetLevel(LogLevelWarning);
    RemoveMachineKeys();
  }

  // Adds an endpoint with a hardware id (none when null) and text properties of the effects store.
  std::u16string AddEndpoint(Platform::EDataFlow flow, const std::u16string& key, Platform::DWORD state,
                             const char16_t* hardwareId,
                             std::vector<std::pair<Platform::PROPERTYKEY, std::u16string>> fx = {}) {
    Simulator::EndpointDefinition definition{flow, key, state, {}, std::move(fx)};
    if (hardwareId != nullptr) definition.textProperties.emplace_back(Platform::PKEY_Device_InstanceId, hardwareId);
    EXPECT_GE(audio.Endpoints().Create(definition), 0);
    return Simulator::EndpointRegistry::EndpointId(flow, key);
  }

  // The registry path of an endpoint's store.
  static std::u16string StorePath(Platform::EDataFlow flow, const std::u16string& key, bool fxStore) {
    return kTestAudioRoot.path + (flow == Platform::eRender ? u"\\Render\\" : u"\\Capture\\") + key +
           (fxStore ? u"\\FxProperties" : u"\\Properties");
  }

  // Writes a raw registry value into an endpoint's store.
  static void SetRaw(Platform::EDataFlow flow, const std::u16string& key, bool fxStore, const std::u16string& name,
                     Platform::DWORD type, const void* data, Platform::DWORD size) {
    Platform::UniqueKey store;
    ASSERT_EQ(Platform::RegCreateKeyExW(kTestAudioRoot.hive, StorePath(flow, key, fxStore).c_str(), 0, nullptr, 0,
                                        Platform::KEY_ALL_ACCESS, nullptr, store.Put(), nullptr),
              Platform::ERROR_SUCCESS);
    ASSERT_EQ(Platform::RegSetValueExW(store.Get(), name.c_str(), 0, type, static_cast<const Platform::BYTE*>(data),
                                       size),
              Platform::ERROR_SUCCESS);
  }
  static void SetText(Platform::EDataFlow flow, const std::u16string& key, bool fxStore, const std::u16string& name,
                      const std::u16string& text) {
    SetRaw(flow, key, fxStore, name, Platform::REG_SZ, text.c_str(),
           static_cast<Platform::DWORD>((text.size() + 1) * sizeof(char16_t)));
  }
  static void SetNumber(Platform::EDataFlow flow, const std::u16string& key, bool fxStore,
                        const std::u16string& name, Platform::DWORD number) {
    SetRaw(flow, key, fxStore, name, Platform::REG_DWORD, &number, sizeof(number));
  }

  // Reads a property of an endpoint's store as the call log describes values.
  std::string Property(const std::u16string& id, bool fxStore, const Platform::PROPERTYKEY& key) {
    Simulator::Endpoint endpoint;
    if (!audio.Endpoints().Find(id.c_str(), endpoint)) return "no endpoint";
    Platform::PROPVARIANT value{};
    if (audio.Endpoints().ReadProperty(endpoint, fxStore, key, value) < 0) return "unreadable";
    std::string text = Simulator::DescribeValue(value);
    Platform::PropVariantClear(&value);
    return text;
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

private:
  int m_folder;

public:
  // Refusals of malformed data are kept by the audio system (audio.Messages()), not printed.
  Simulator::AudioSystem audio;
  Simulator::ClassRegistration registration;
  DebugChannelCapture capture;
};

}  // namespace Testing
