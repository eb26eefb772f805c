// The simulated MMDeviceEnumerator and its IMMDeviceCollection.
//
// Recorded operations: "IMMDeviceEnumerator::EnumAudioEndpoints" (flow, state mask),
// "IMMDeviceEnumerator::GetDefaultAudioEndpoint", "IMMDeviceEnumerator::GetDevice" (id),
// "IMMDeviceEnumerator::RegisterEndpointNotificationCallback",
// "IMMDeviceEnumerator::UnregisterEndpointNotificationCallback", "IMMDeviceCollection::GetCount",
// "IMMDeviceCollection::Item" (index).
#pragma once

#include <memory>

#include "platform/core_audio.h"
#include "simulator/audio_system.h"

namespace Simulator {

// A new enumerator as the interface `iid` into `object`. Returns S_OK, E_NOINTERFACE or
// E_OUTOFMEMORY.
Platform::HRESULT CreateSimulatedEnumerator(std::shared_ptr<AudioSystemState> state, Platform::REFIID iid,
                                            void** object);

}  // namespace Simulator
