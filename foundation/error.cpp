// The error reporter: one line per failure, built in static buffers so that even an out-of-memory
// failure can be reported.
#include "foundation/error.h"

#include <cstdarg>

#include "foundation/format.h"
#include "foundation/log.h"
#include "platform/debug_channel.h"
#include "platform/system_error.h"

namespace {

constexpr std::size_t kMessageCapacity = 256;
constexpr std::size_t kLineCapacity = 512;
constexpr std::size_t kSystemTextCapacity = 2048;

// Shared by all reports; guarded by the log lock while that is switched on.
char16_t messageBuffer[kMessageCapacity];
char16_t lineBuffer[kLineCapacity];
char16_t systemTextBuffer[kSystemTextCapacity];

struct TableEntry {
  ErrorCode code;
  const char16_t* text;
};

constexpr TableEntry kErrorTable[] = {
    {ErrorNone, u"no error"},
    {ErrorOutOfMemory, u"out of memory"},
    {ErrorThirdParty, u"error in a third party framework"},
    {ErrorStlException, u"STL exception"},
    {ErrorCannotOpen, u"cannot open resource"},
    {ErrorCannotRead, u"cannot read resource"},
    {ErrorCannotWrite, u"cannot write to resource"},
    {ErrorAccessDenied, u"access denied"},
    {ErrorTimedOut, u"the operation timed out"},
    {ErrorOutOfBounds, u"argument is out of bounds"},
    {ErrorInvalidParameter, u"invalid parameter"},
    {ErrorInvalidOperation, u"invalid operation in this context"},
    {ErrorAlreadyExists, u"resource or object already exists"},
    {ErrorNotFound, u"resource or object not found"},
    {ErrorNotSupported, u"this feature is not supported"},
    {ErrorUnavailable, u"unavailable resource, function or feature"},
    {ErrorNotImplemented, u"this feature has not been implemented yet"},
    {ErrorUnreachable, u"the code section should not be reached"},
    {ErrorGeneric, u"generic error"},
};

// Asked once: a debugger that attaches later does not change how reports reach the channel.
bool DebuggerWasPresent() {
  static const bool present = Platform::IsDebuggerPresent() != Platform::FALSE;
  return present;
}

// The text of a system error ends in a line break; a report line must not.
void TrimTrailingLineBreaks(char16_t* line) {
  std::size_t length = 0;
  while (line[length] != 0) ++length;
  while (length > 1 && (line[length - 1] == u'\r' || line[length - 1] == u'\n')) {
    line[--length] = 0;
  }
}

}  // namespace

const char16_t* GetErrorText(ErrorCode code) {
  for (const TableEntry& entry : kErrorTable) {
    if (entry.code == code) return entry.text;
  }
  return u"deprecated or unknown error code";
}

ErrorCode RaiseError(const char* functionName, ErrorCode code, const char16_t* format, ...) {
  LogLockGuard lock;
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    FormatBoundedV(messageBuffer, kMessageCapacity, format, arguments);
    va_end(arguments);
    FormatBounded(lineBuffer, kLineCapacity, u"Error %d in function %S: %s", code, functionName, messageBuffer);
  } else if (code == ErrorSystem) {
    return RaiseSystemError(functionName, Platform::GetLastError(), nullptr);
  } else {
    FormatBounded(lineBuffer, kLineCapacity, u"Error %d (%s) in function %S", code, GetErrorText(code), functionName);
  }
  TrimTrailingLineBreaks(lineBuffer);
  // Without a debugger the line goes to the channel directly as well, so it shows there twice.
  if (!DebuggerWasPresent()) LogWriteDebugDirect(lineBuffer);
  LogWrite(LogLevelError, kLogTag, u"%s", lineBuffer);
  return code;
}

ErrorCode RaiseSystemError(const char* functionName, Platform::DWORD systemError, const char* apiName) {
  LogLockGuard lock;
  const char16_t* text = systemTextBuffer;
  if (Platform::FormatMessageW(Platform::FORMAT_MESSAGE_FROM_SYSTEM | Platform::FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                               systemError, 1024, systemTextBuffer, kSystemTextCapacity, nullptr) == 0) {
    text = u"Unknown system error";
  }
  if (apiName != nullptr) {
    return RaiseError(functionName, ErrorSystem, u"%S raised error %d: %s", apiName, systemError, text);
  }
  return RaiseError(functionName, ErrorSystem, u"System error %d: %s", systemError, text);
}

ErrorCode RaiseStlException(const char* functionName, const char* what) {
  return RaiseError(functionName, ErrorStlException, u"STL exception: %S", what);
}
