// The check of the operating system's version.
#pragma once

#include "platform/types.h"

// True when the system is at least version 6.`minor` with service pack 0 or later. Any thread.
bool IsWindowsVersionOrGreater6(Platform::WORD minor);
