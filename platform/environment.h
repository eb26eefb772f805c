// The process environment.
#pragma once

#include "platform/types.h"

namespace Platform {

// Copies the value of the variable `name` into `buffer` of `size` characters. Returns its length
// without the terminator; if it does not fit, the size needed with the terminator and nothing is
// written. Returns 0 with ERROR_ENVVAR_NOT_FOUND when the variable is not set. Thread-safe.
DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD size);

// Sets (or, with a null value, removes) a variable of the process. Returns FALSE on failure.
BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value);

}  // namespace Platform
