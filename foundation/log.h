// The process-wide log.
//
// A log call carries a level, a tag and a format. Calls at or below the current level go to the
// debug channel, to the log file when the host opened one, and to the host's sink; a call whose
// level is above it costs only a comparison. The library itself never changes the level, the file
// or the sink: a host sets them before logging starts. No heap is used on the log path.
#pragma once

#include <cstdio>

#include "platform/types.h"

enum LogLevel : int {
  LogLevelError = 1,
  LogLevelWarning = 2,
  LogLevelInfo = 3,
  LogLevelTrace = 4,
  LogLevelMatch = 5,
};

// The tag of every call in this library.
inline constexpr const char* kLogTag = "Quillon";

// Receiver of finished log lines, installed by a host; not owned by the log. Its entries are called
// on the logging thread, with the finished message (no line feed) and the tag.
class ILogSink {
public:
  virtual ~ILogSink() = default;
  virtual void WriteLine(const char16_t* line, const char* tag) = 0;
  virtual void WriteLineA(const char* line, const char* tag) = 0;
};

// Writes one line at `level` with a wide `format` (null writes nothing). Any thread may call.
void LogWrite(int level, const char* tag, const char16_t* format, ...);
// The same with a narrow format.
void LogWriteA(int level, const char* tag, const char* format, ...);

// Sends a finished line and a line feed to the debug channel whatever the level; used by the error
// reporter.
void LogWriteDebugDirect(const char16_t* line);

// The base name of the running executable, without folder and extension; "unknown" when it cannot
// be found. Computed once; the pointer stays valid for the process's life.
const char16_t* GetProcessBaseName();

// Host-side settings; the library never calls these. Call before logging starts.
void LogSetLevel(int level);
int LogGetLevel();
// Takes ownership of `file` (closed at shutdown after the "Log stopped" lines); null closes none.
void LogSetFile(std::FILE* file);
void LogSetSink(ILogSink* sink);
// Writes the shutdown lines and closes the log file now; what the static state's destruction does
// at process exit.
void LogShutdown();

// When not 0, every log entry takes the log lock. DELIBERATE: it starts at 0 and nothing in the
// library sets it, so concurrent log calls share the static buffers unguarded.
extern unsigned char logLockEnabled;

// The log lock, re-entrant, taken only while logLockEnabled is set. The error reporter nests it.
void LogLock();
void LogUnlock();

// Holds the log lock (when enabled) for the life of the scope.
class LogLockGuard {
public:
  LogLockGuard() { LogLock(); }
  ~LogLockGuard() { LogUnlock(); }
  LogLockGuard(const LogLockGuard&) = delete;
  LogLockGuard& operator=(const LogLockGuard&) = delete;
};
