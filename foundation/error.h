// Error codes and the error reporter.
//
// Every fallible operation returns an ErrorCode, 0 for success. The operation that detects a
// failure reports it on the spot, naming itself, and returns what the reporter returns; callers pass
// the code on without reporting again. A platform error number never becomes a code: it appears in
// the text of the report only.
#pragma once

#include <cstdint>

#include "platform/types.h"

using ErrorCode = std::int32_t;

enum : ErrorCode {
  ErrorNone = 0,
  ErrorOutOfMemory = 1,
  ErrorSystem = 2,
  ErrorThirdParty = 3,
  ErrorStlException = 4,
  ErrorCannotOpen = 5,
  ErrorCannotRead = 6,
  ErrorCannotWrite = 7,
  ErrorAccessDenied = 8,
  ErrorTimedOut = 9,
  ErrorOutOfBounds = 10,
  ErrorInvalidParameter = 11,
  ErrorInvalidOperation = 12,
  ErrorAlreadyExists = 13,
  ErrorNotFound = 14,
  ErrorNotSupported = 15,
  ErrorUnavailable = 16,
  ErrorNotImplemented = 20,
  ErrorUnreachable = 21,
  ErrorGeneric = 22,
};

// The table text of `code`: "deprecated or unknown error code" for a code outside the table, and
// for ErrorSystem, which has no table text of its own.
const char16_t* GetErrorText(ErrorCode code);

// Reports a failure of `functionName` (a narrow, fully qualified name) with `code` and, when
// `format` is not null, a wide printf-style message. Without a message the line carries the table
// text; ErrorSystem without a message reports the thread's last system error instead. The line goes
// to the log at error level, and straight to the debug channel as well while no debugger watches.
// Returns `code` unchanged. Allocates nothing; callable from any thread at any time.
[[nodiscard]] ErrorCode RaiseError(const char* functionName, ErrorCode code, const char16_t* format, ...);

// Reports the Win32 error number `systemError` in words, naming the failing platform function
// `apiName` (narrow) when not null. Always returns ErrorSystem. Callable from any thread.
[[nodiscard]] ErrorCode RaiseSystemError(const char* functionName, Platform::DWORD systemError, const char* apiName);

// Folds a caught standard exception into a report: ErrorStlException with "STL exception: %S" and
// the exception's text. Returns ErrorStlException.
[[nodiscard]] ErrorCode RaiseStlException(const char* functionName, const char* what);
