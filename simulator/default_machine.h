// The default machine of the simulated audio system: what a fresh registry gets, so that every
// service of the module has something to work on.
//
// The product's keys "SOFTWARE\Velorin\VelorinV3" and "SOFTWARE\Velorin\VelorinV3\AudioApplication"
// in the machine hive, created when missing. Five endpoints, written only when the audio root holds
// no endpoint at all: the two endpoints of the product's virtual audio device (hardware ids holding
// "QuillonHL3Vad"), a Realtek microphone array of the Realtek filter, the active render endpoint of
// the noise-reduction hardware ("DEV_0294&SUBSYS_104315C1"), and a headset whose effects store holds
// one of the product's effect CLSIDs while two of its three marker properties are missing.
#pragma once

#include "simulator/endpoint_registry.h"

namespace Simulator {

struct SeedResult {
  bool productKeysCreated = false;
  bool endpointsCreated = false;
  Platform::HRESULT result = Platform::S_OK;  // the first failure, if any
};

// Seeds what is missing. Any thread; idempotent.
SeedResult SeedDefaultMachine(const EndpointRegistry& endpoints);

// The keys of the default machine's endpoints, for tests and listings.
inline constexpr const char16_t* kVadRenderKey = u"{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D01}";
inline constexpr const char16_t* kVadCaptureKey = u"{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D02}";
inline constexpr const char16_t* kRealtekMicrophoneKey = u"{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D03}";
inline constexpr const char16_t* kNoiseReductionSpeakersKey = u"{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D04}";
inline constexpr const char16_t* kEffectsHeadsetKey = u"{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D05}";

}  // namespace Simulator
