// GetHWID: the hardware id string of an audio endpoint, shared by the services that tell endpoints
// apart by their hardware (the VAD, Realtek devices).
#pragma once

#include "platform/core_audio.h"

// The substring of the hardware id that marks an endpoint of the product's virtual audio device.
inline constexpr const char16_t* kVadHardwareIdMarker = u"QuillonHL3Vad";

// Reads the endpoint's hardware id ({B3F8FA53-0004-438E-9003-51A46E139BFC},2) from its property
// store, opened for reading. `device` is borrowed. Results:
// - 0 with a process-heap copy of the string in `out`, which the caller owns and frees with
//   FreeBlock; or with null in `out` when the value is not a string (VT_LPWSTR) or the copy could
//   not be made;
// - 1 (S_FALSE) with null in `out` when the property is empty;
// - 0x80004003 (E_POINTER) for a null argument;
// - the failure of OpenPropertyStore or GetValue, with null in `out`.
// Any thread that may call the device.
Platform::HRESULT GetHWID(Platform::IMMDevice* device, Platform::LPWSTR* out);
