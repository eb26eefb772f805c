// The system's wording of an error number, as the error reporter prints it. Tests that check a
// report build the expected line with it, so that they hold wherever the wording comes from: the
// Linux replacement, Windows, or Wine, which words some errors its own way. The wording itself is
// checked in the platform tests.
#pragma once

#include <string>

#include "platform/types.h"

namespace Testing {

// The text of `error` in UTF-8 without its closing line break; empty when the system has none.
std::string SystemText(Platform::DWORD error);

}  // namespace Testing
