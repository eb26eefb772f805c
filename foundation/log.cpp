// The process-wide log: level test first, then the debug channel, the log file and the host's sink,
// all through static buffers so that logging never allocates.
#include "foundation/log.h"

#include <cstdarg>
#include <cstring>
#include <ctime>
#include <mutex>

#include "foundation/format.h"
#include "platform/critical_section.h"
#include "platform/debug_channel.h"
#include "platform/module.h"
#include "platform/no_destructor.h"
#include "platform/utf.h"

unsigned char logLockEnabled = 0;

namespace {

constexpr std::size_t kBufferCapacity = 2048;

// Shared by every call; guarded by the log lock only while logLockEnabled is set.
char16_t messageBufferW[kBufferCapacity];
char messageBufferA[kBufferCapacity];
char16_t debuggerBufferW[kBufferCapacity];
char debuggerBufferA[kBufferCapacity];
std::uint32_t lineCounter = 0;

// The log's state; its destruction at process exit or library unload writes the closing lines.
struct LogState {
  int level = 2;
  std::FILE* logFile = nullptr;
  ILogSink* sink = nullptr;

  ~LogState() { Shutdown(); }
  void Shutdown();
};

LogState& State() {
  static LogState state;
  return state;
}

// Built once and never deleted: reports may run in static destructors after any other would.
struct LogLockObject {
  LogLockObject() { Platform::InitializeCriticalSectionAndSpinCount(&section, 0); }
  Platform::CRITICAL_SECTION section;
};

Platform::CRITICAL_SECTION& LockObject() {
  static Platform::NoDestructor<LogLockObject> lock;
  return lock->section;
}

// Local time and its 24-character text ("Sat Nov 21 08:10:05 2026"), read under the log lock since
// the C library keeps both in static storage.
struct TimeStamp {
  std::tm local{};
  char text[25]{};
};

TimeStamp ReadTimeStamp() {
  LogLockGuard lock;
  TimeStamp stamp;
  std::time_t now = std::time(nullptr);
  if (const std::tm* broken = std::localtime(&now)) {
    stamp.local = *broken;
    std::strncpy(stamp.text, std::asctime(broken), 24);
    stamp.text[24] = 0;
  }
  return stamp;
}

void WriteFileLine(std::FILE* file, const char* message) {
  TimeStamp stamp = ReadTimeStamp();
  std::uint32_t number = lineCounter++;
  std::fprintf(file, "%08d\t%02d:%02d:%02d\t%s\n", static_cast<int>(number), stamp.local.tm_hour, stamp.local.tm_min,
               stamp.local.tm_sec, message);
  std::fflush(file);
}

void LogState::Shutdown() {
  LogLockGuard lock;
  if (logFile != nullptr) {
    TimeStamp stamp = ReadTimeStamp();
    std::fputs("--------------------------------------------------------------------------------\n", logFile);
    std::fprintf(logFile, "Log stopped %s\n", stamp.text);
    std::fflush(logFile);
    std::fclose(logFile);
    logFile = nullptr;
  }
}

// A UTF-8 copy of a wide message for the file; static like the other buffers.
char fileLineBuffer[kBufferCapacity * 3];

const char* ToFileText(const char16_t* message) {
  std::size_t out = 0;
  for (std::size_t i = 0; message[i] != 0 && out + 4 < sizeof(fileLineBuffer);) {
    out += static_cast<std::size_t>(Platform::EncodeUtf8(Platform::DecodeUtf16(message, i), fileLineBuffer + out));
  }
  fileLineBuffer[out] = 0;
  return fileLineBuffer;
}

}  // namespace

void LogLock() {
  if (logLockEnabled == 0) return;
  Platform::CRITICAL_SECTION& section = LockObject();
  if (!Platform::TryEnterCriticalSection(&section)) Platform::EnterCriticalSection(&section);
}

void LogUnlock() {
  if (logLockEnabled == 0) return;
  Platform::LeaveCriticalSection(&LockObject());
}

namespace {

// The wide and narrow paths differ only in their buffers, formatter, channel call and sink entry.
struct WideLog {
  using Char = char16_t;
  static constexpr const char16_t* kLineFormat = u"%s\n";
  static char16_t* Message() { return messageBufferW; }
  static char16_t* DebuggerLine() { return debuggerBufferW; }
  static int Format(char16_t* destination, const char16_t* format, va_list arguments) {
    return FormatBoundedV(destination, kBufferCapacity, format, arguments);
  }
  static int FormatLine(char16_t* destination, const char16_t* message) {
    return FormatBounded(destination, kBufferCapacity, kLineFormat, message);
  }
  static void Output(const char16_t* text) { Platform::OutputDebugStringW(text); }
  static const char* FileText(const char16_t* message) { return ToFileText(message); }
  static void Sink(ILogSink* sink, const char16_t* message, const char* tag) { sink->WriteLine(message, tag); }
};

struct NarrowLog {
  using Char = char;
  static constexpr const char* kLineFormat = "%s\n";
  static char* Message() { return messageBufferA; }
  static char* DebuggerLine() { return debuggerBufferA; }
  static int Format(char* destination, const char* format, va_list arguments) {
    return FormatBoundedVA(destination, kBufferCapacity, format, arguments);
  }
  static int FormatLine(char* destination, const char* message) {
    return FormatBoundedA(destination, kBufferCapacity, kLineFormat, message);
  }
  static void Output(const char* text) { Platform::OutputDebugStringA(text); }
  static const char* FileText(const char* message) { return message; }
  static void Sink(ILogSink* sink, const char* message, const char* tag) { sink->WriteLineA(message, tag); }
};

template <class Log>
void WriteLog(int level, const char* tag, const typename Log::Char* format, va_list arguments) {
  LogLockGuard lock;
  LogState& state = State();
  if (state.level < level || format == nullptr) return;
  Log::Format(Log::Message(), format, arguments);
  {
    LogLockGuard debuggerLock;
    if (state.level != 0) {
      Log::FormatLine(Log::DebuggerLine(), Log::Message());
      Log::DebuggerLine()[kBufferCapacity - 1] = 0;
      Log::Output(Log::DebuggerLine());
    }
  }
  {
    LogLockGuard fileLock;
    if (state.level != 0 && state.logFile != nullptr) WriteFileLine(state.logFile, Log::FileText(Log::Message()));
  }
  if (state.sink != nullptr) Log::Sink(state.sink, Log::Message(), tag);
}

}  // namespace

void LogWrite(int level, const char* tag, const char16_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WriteLog<WideLog>(level, tag, format, arguments);
  va_end(arguments);
}

void LogWriteA(int level, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WriteLog<NarrowLog>(level, tag, format, arguments);
  va_end(arguments);
}

void LogWriteDebugDirect(const char16_t* line) {
  LogLockGuard lock;
  FormatBounded(debuggerBufferW, kBufferCapacity, u"%s\n", line);
  debuggerBufferW[kBufferCapacity - 1] = 0;
  Platform::OutputDebugStringW(debuggerBufferW);
}

const char16_t* GetProcessBaseName() {
  static char16_t baseName[256] = u"unknown";
  static std::once_flag once;
  std::call_once(once, [] {
    char16_t path[260];
    Platform::DWORD length = Platform::GetModuleFileNameW(nullptr, path, 260);
    if (length == 0) return;
    // Drop drive and folders, then the extension (from the last dot of the file name).
    const char16_t* name = path;
    for (const char16_t* p = path; *p != 0; ++p) {
      if (*p == u'\\' || *p == u'/' || *p == u':') name = p + 1;
    }
    char16_t stem[260];
    std::size_t stemLength = 0;
    const char16_t* lastDot = nullptr;
    for (const char16_t* p = name; *p != 0; ++p) {
      if (*p == u'.') lastDot = p;
    }
    for (const char16_t* p = name; *p != 0 && p != lastDot; ++p) stem[stemLength++] = *p;
    stem[stemLength] = 0;
    FormatBounded(baseName, 256, u"%s%s%s%s", u"", stem, u"", u"");
  });
  return baseName;
}

void LogSetLevel(int level) { State().level = level; }

int LogGetLevel() { return State().level; }

void LogSetFile(std::FILE* file) {
  LogLockGuard lock;
  State().logFile = file;
}

void LogSetSink(ILogSink* sink) {
  LogLockGuard lock;
  State().sink = sink;
}

void LogShutdown() { State().Shutdown(); }
