// The simulated Realtek BSS object (RtkBssApi with IRtkBssApi and IRtkBssApi2).
//
// Initialize binds the object to an existing endpoint; the mode of each endpoint is kept in the
// registry with the endpoint (0 until set), and IsGen3Supported answers what the machine's
// settings say (yes unless set otherwise; ComponentSettings). ClearBss is only recorded. Recorded operations, with the
// bound endpoint id as first argument: "IRtkBssApi::Initialize", "IRtkBssApi::SetBssMode", "IRtkBssApi::GetBssMode",
// "IRtkBssApi::ClearBss", "IRtkBssApi2::IsGen3Supported".
#pragma once

#include <memory>

#include "platform/rtk_bss_api.h"
#include "simulator/audio_system.h"

namespace Simulator {

// A new object as the interface `iid` into `object`. Returns S_OK, E_NOINTERFACE or E_OUTOFMEMORY.
Platform::HRESULT CreateSimulatedRtkBssApi(std::shared_ptr<AudioSystemState> state, Platform::REFIID iid,
                                           void** object);

}  // namespace Simulator
