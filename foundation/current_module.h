// Which module (executable or library) holds this code.
#pragma once

#include "platform/types.h"

// The handle of the module that holds this function; on failure the failure is reported and the
// module's link-time image base is returned. Any thread.
Platform::HMODULE GetCurrentModule();
