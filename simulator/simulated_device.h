// The simulated IMMDevice of one endpoint and its IPropertyStore.
//
// Recorded operations, with the endpoint id as first argument: "IMMDevice::Activate",
// "IMMDevice::OpenPropertyStore", "IMMDevice::GetId", "IMMDevice::GetState", "IPropertyStore::GetCount",
// "IPropertyStore::GetAt", "IPropertyStore::GetValue", "IPropertyStore::SetValue". An injected
// result that is not a failure makes GetId succeed with that result and no id.
#pragma once

#include <memory>

#include "platform/core_audio.h"
#include "simulator/audio_system.h"

namespace Simulator {

// A new device object for `endpoint`, with one reference for the caller.
Platform::IMMDevice* CreateSimulatedDevice(std::shared_ptr<AudioSystemState> state, const Endpoint& endpoint);

// A new property store over the endpoint store (`fxStore` false) or the effects store; `writable`
// allows SetValue. One reference for the caller.
Platform::IPropertyStore* CreateSimulatedPropertyStore(std::shared_ptr<AudioSystemState> state,
                                                       const Endpoint& endpoint, bool fxStore, bool writable);

}  // namespace Simulator
