// A simulated machine for tests: the simulated audio system over endpoints kept below a test key of
// the registry, and the helpers that write and read those endpoints as another program would. The
// test key (the key above the audio root) is removed before the audio system starts and again at
// the end, so that each test starts on a machine without endpoints.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/core_audio.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "simulator/audio_system.h"
#include "simulator/property_text.h"

namespace Testing {

class SimulatedMachine {
public:
  explicit SimulatedMachine(Simulator::AudioRoot root)
      : m_root((RemoveTestKey(root), std::move(root))), audio(m_root, [](const std::u16string&) {}) {}
  ~SimulatedMachine() { RemoveTestKey(m_root); }
  SimulatedMachine(const SimulatedMachine&) = delete;
  SimulatedMachine& operator=(const SimulatedMachine&) = delete;

  const Simulator::AudioRoot& Root() const { return m_root; }

  // Adds an endpoint with a hardware id (none when null) and text properties of the effects store;
  // returns its id.
  std::u16string AddEndpoint(Platform::EDataFlow flow, const std::u16string& key,
                             Platform::DWORD state = Platform::DEVICE_STATE_ACTIVE,
                             const char16_t* hardwareId = u"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0000",
                             std::vector<std::pair<Platform::PROPERTYKEY, std::u16string>> fx = {}) {
    Simulator::EndpointDefinition definition{flow, key, state, {}, std::move(fx)};
    if (hardwareId != nullptr) definition.textProperties.emplace_back(Platform::PKEY_Device_InstanceId, hardwareId);
    EXPECT_GE(audio.Endpoints().Create(definition), 0);
    return Simulator::EndpointRegistry::EndpointId(flow, key);
  }

  // The registry path of an endpoint, and of one of its stores.
  std::u16string EndpointPath(Platform::EDataFlow flow, const std::u16string& key) const {
    return m_root.path + (flow == Platform::eRender ? u"\\Render\\" : u"\\Capture\\") + key;
  }
  std::u16string StorePath(Platform::EDataFlow flow, const std::u16string& key, bool fxStore) const {
    return EndpointPath(flow, key) + (fxStore ? u"\\FxProperties" : u"\\Properties");
  }

  // Writes a raw value into a key below the audio root's hive, made when missing.
  void SetRaw(const std::u16string& path, const std::u16string& name, Platform::DWORD type, const void* data,
              Platform::DWORD size) const {
    Platform::UniqueKey store;
    ASSERT_EQ(Platform::RegCreateKeyExW(m_root.hive, path.c_str(), 0, nullptr, 0, Platform::KEY_ALL_ACCESS, nullptr,
                                        store.Put(), nullptr),
              Platform::ERROR_SUCCESS);
    ASSERT_EQ(
        Platform::RegSetValueExW(store.Get(), name.c_str(), 0, type, static_cast<const Platform::BYTE*>(data), size),
        Platform::ERROR_SUCCESS);
  }
  void SetNumber(const std::u16string& path, const std::u16string& name, Platform::DWORD value) const {
    SetRaw(path, name, Platform::REG_DWORD, &value, sizeof(value));
  }
  void SetText(const std::u16string& path, const std::u16string& name, const std::u16string& text) const {
    SetRaw(path, name, Platform::REG_SZ, text.c_str(),
           static_cast<Platform::DWORD>((text.size() + 1) * sizeof(char16_t)));
  }
  // The same into an endpoint's store.
  void SetRaw(Platform::EDataFlow flow, const std::u16string& key, bool fxStore, const std::u16string& name,
              Platform::DWORD type, const void* data, Platform::DWORD size) const {
    SetRaw(StorePath(flow, key, fxStore), name, type, data, size);
  }
  void SetNumber(Platform::EDataFlow flow, const std::u16string& key, bool fxStore, const std::u16string& name,
                 Platform::DWORD value) const {
    SetNumber(StorePath(flow, key, fxStore), name, value);
  }
  void SetText(Platform::EDataFlow flow, const std::u16string& key, bool fxStore, const std::u16string& name,
               const std::u16string& text) const {
    SetText(StorePath(flow, key, fxStore), name, text);
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

  // The audio system's refusals of malformed data, which it keeps instead of printing them.
  std::vector<std::string> Messages() {
    std::vector<std::string> messages;
    for (const std::u16string& message : audio.Messages()) messages.push_back(Simulator::Narrow(message));
    return messages;
  }

private:
  static void RemoveTestKey(const Simulator::AudioRoot& root) {
    Platform::RegDeleteTreeW(root.hive, root.path.substr(0, root.path.rfind(u'\\')).c_str());
  }

  Simulator::AudioRoot m_root;

public:
  Simulator::AudioSystem audio;
};

}  // namespace Testing
