// The one-time default of noise reduction on one known hardware configuration.
//
// At each start of the module the step asks the registry whether the default was applied already
// ("DefaultNoiseReduction" of the product's key: missing, not examined yet; 0, examined and not
// applied; 1, applied, never look again). If not, it looks for an active render endpoint whose
// hardware id names that hardware and, when it finds one, turns on two parameters of the product's
// audio processing service and records 1. Nothing here reaches the module's start: the step has no
// result, and its reports go to the log only.
#pragma once

#include "foundation/error.h"
#include "platform/audio_processing.h"

// The hardware whose render endpoints get noise reduction by default, as it appears in the
// upper-cased hardware id.
inline constexpr const char16_t* kDefaultNoiseReductionDevice = u"DEV_0294&SUBSYS_104315C1";

// The start step. Synchronous, on the daemon's control thread, before the notification
// subscriptions are made.
void ApplyDefaultNoiseReduction();

// Sets the parameters 11 and 106 of `manager` (borrowed) to 0xFFFFFFFF, in that order, and then
// records "DefaultNoiseReduction" = 1 when the product's key can be opened. Returns ErrorNone,
// ErrorCannotOpen when the parameter set or a parameter cannot be had, ErrorCannotWrite when a
// parameter refuses the value; each failure is reported under "SetNoiseReductionRegistry" and ends
// the call, so the value becomes 1 only after both parameters took their setting. The caller's
// thread.
[[nodiscard]] ErrorCode SetNoiseReductionRegistry(Platform::IAudioProcessingManager* manager);
