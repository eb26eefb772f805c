// The calling thread's last error and the wording of system error numbers.
#pragma once

#include <cstdarg>

#include "platform/types.h"

namespace Platform {

constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x00000200;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x00001000;

// The last error of the calling thread. Every thread has its own; any thread may call.
DWORD GetLastError();
void SetLastError(DWORD error);

// Writes the system's text for `messageId` (with its closing "\r\n", as Windows writes it) into
// `buffer` of `size` characters. Only FORMAT_MESSAGE_FROM_SYSTEM is supported, with inserts ignored.
// Returns the number of characters written without the terminator, or 0 with the last error set:
// ERROR_MR_MID_NOT_FOUND (317) for a number without text, ERROR_INSUFFICIENT_BUFFER for a small
// buffer, ERROR_INVALID_PARAMETER for other flags. Thread-safe.
DWORD FormatMessageW(DWORD flags, const void* source, DWORD messageId, DWORD languageId, LPWSTR buffer, DWORD size,
                     va_list* arguments);

}  // namespace Platform
