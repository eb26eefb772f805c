// The simulated audio processing service of the product (IAudioProcessingManager, with its
// parameter set and parameters).
//
// SetValue keeps the value of the parameter in the registry (ComponentSettings). Recorded operations:
// "IAudioProcessingManager::GetParameterSet", "IAudioParameterSet::GetParameter" (number),
// "IAudioParameter::SetValue" (number, value).
#pragma once

#include <memory>

#include "platform/audio_processing.h"
#include "simulator/audio_system.h"

namespace Simulator {

// A new service object as the interface `iid` into `object`. Returns S_OK, E_NOINTERFACE or
// E_OUTOFMEMORY.
Platform::HRESULT CreateSimulatedAudioProcessingManager(std::shared_ptr<AudioSystemState> state, Platform::REFIID iid,
                                                        void** object);

}  // namespace Simulator
