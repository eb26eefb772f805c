#include "simulator/default_machine.h"

#include "platform/unique_handle.h"

namespace Simulator {

using namespace Platform;

namespace {

// The effects key {D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},13 and the first marker.
constexpr PROPERTYKEY kEffectKey13 = {{0xD04E05A6, 0x594B, 0x4FB6, {0xA8, 0x0D, 0x01, 0xAF, 0x5E, 0xED, 0x7D, 0x1D}},
                                      13};
constexpr PROPERTYKEY kFirstMarker = {{0xF363DF17, 0xA750, 0x4AC3, {0xB7, 0xB5, 0x2B, 0xBE, 0xFF, 0xA9, 0x08, 0x5F}},
                                      11};

std::vector<EndpointDefinition> DefaultEndpoints() {
  auto endpoint = [](EDataFlow flow, const char16_t* key, const char16_t* name, const char16_t* hardwareId,
                     DWORD state = DEVICE_STATE_ACTIVE) {
    return EndpointDefinition{
        flow, key, state, {{PKEY_Device_FriendlyName, name}, {PKEY_Device_InstanceId, hardwareId}}, {}};
  };
  // The VAD rests hidden, as the routing value's default wants it: a module that starts on a fresh
  // machine finds nothing to change, and no endpoint notification is still on its way when a short
  // run stops it again.
  std::vector<EndpointDefinition> endpoints = {
      endpoint(eRender, kVadRenderKey, u"Halcyra Virtual Speakers", u"ROOT\\QuillonHL3Vad\\0000",
               DEVICE_STATE_DISABLED),
      endpoint(eCapture, kVadCaptureKey, u"Halcyra Virtual Microphone", u"ROOT\\QuillonHL3Vad\\0001",
               DEVICE_STATE_DISABLED),
      endpoint(eCapture, kRealtekMicrophoneKey, u"Microphone Array (Realtek(R) Audio)",
               u"HDAUDIO\\FUNC_01&VEN_10EC&DEV_1168&SUBSYS_10431F3D&REV_1000\\4&2F1E2A3B&0&0001"),
      endpoint(eRender, kNoiseReductionSpeakersKey, u"Speakers (Realtek(R) Audio)",
               u"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0294&SUBSYS_104315C1&REV_1000\\4&1A2B3C4D&0&0001"),
      endpoint(eRender, kEffectsHeadsetKey, u"Headset Earphone (USB Audio)",
               u"USB\\VID_1B3F&PID_2008&MI_00\\7&1F2E3D4C&0&0000"),
  };
  endpoints.back().textProperties.emplace_back(kFirstMarker, u"Quillon.Halcyra3");
  endpoints.back().textFxProperties.emplace_back(kEffectKey13, u"{670173E2-78CF-11E5-A837-0800200C9A66}");
  return endpoints;
}

}  // namespace

SeedResult SeedDefaultMachine(const EndpointRegistry& endpoints) {
  SeedResult seeded;
  UniqueKey key;
  DWORD disposition = 0;
  LONG status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Velorin\\VelorinV3", 0, nullptr,
                                REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, nullptr, key.Put(), &disposition);
  if (status == ERROR_SUCCESS) {
    seeded.productKeysCreated = disposition == REG_CREATED_NEW_KEY;
    UniqueKey application;
    status = RegCreateKeyExW(key.Get(), u"AudioApplication", 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE,
                             nullptr, application.Put(), &disposition);
    seeded.productKeysCreated = seeded.productKeysCreated || disposition == REG_CREATED_NEW_KEY;
  }
  if (status != ERROR_SUCCESS) seeded.result = HRESULT_FROM_WIN32(status);
  if (endpoints.HasAnyEndpointKey()) return seeded;
  for (const EndpointDefinition& definition : DefaultEndpoints()) {
    HRESULT result = endpoints.Create(definition);
    if (result < 0 && seeded.result >= 0) seeded.result = result;
  }
  seeded.endpointsCreated = seeded.result >= 0;
  return seeded;
}

}  // namespace Simulator
