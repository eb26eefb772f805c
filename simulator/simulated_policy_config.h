// The simulated policy configuration client (IPolicyConfig).
//
// GetPropertyValue and SetPropertyValue read and write the endpoint store or the effects store in
// the registry; SetEndpointVisibility moves an active endpoint to disabled or a disabled one to
// active, and leaves endpoints in other states as they are. Recorded operations, with the endpoint
// id as first argument: "IPolicyConfig::GetPropertyValue", "IPolicyConfig::SetPropertyValue",
// "IPolicyConfig::SetEndpointVisibility".
#pragma once

#include <memory>

#include "platform/policy_config.h"
#include "simulator/audio_system.h"

namespace Simulator {

// A new client as the interface `iid` into `object`. Returns S_OK, E_NOINTERFACE or E_OUTOFMEMORY.
Platform::HRESULT CreateSimulatedPolicyConfig(std::shared_ptr<AudioSystemState> state, Platform::REFIID iid,
                                              void** object);

}  // namespace Simulator
