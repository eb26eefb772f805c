// Child processes and anonymous pipes: the few functions that start a program with its standard
// output and error in pipes, read them, wait for the program and end it. Every function may be
// called from any thread.
//
// Off Windows the model is kept small: a child inherits only the three standard handles named in
// its STARTUPINFOW (other handles are never inherited, so handle inheritance flags have no effect),
// it gets this process's environment and folder, and its command line is split into arguments by
// the rules the Microsoft C runtime uses, so that one command line means the same on both systems.
#pragma once

#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/types.h"

namespace Platform {

constexpr DWORD STARTF_USESTDHANDLES = 0x00000100;
constexpr DWORD STILL_ACTIVE = 259;
constexpr DWORD HANDLE_FLAG_INHERIT = 0x00000001;
constexpr LONG ERROR_BROKEN_PIPE = 109;

struct STARTUPINFOW {
  DWORD cb;
  LPWSTR lpReserved;
  LPWSTR lpDesktop;
  LPWSTR lpTitle;
  DWORD dwX;
  DWORD dwY;
  DWORD dwXSize;
  DWORD dwYSize;
  DWORD dwXCountChars;
  DWORD dwYCountChars;
  DWORD dwFillAttribute;
  DWORD dwFlags;
  WORD wShowWindow;
  WORD cbReserved2;
  BYTE* lpReserved2;
  HANDLE hStdInput;
  HANDLE hStdOutput;
  HANDLE hStdError;
};

struct PROCESS_INFORMATION {
  HANDLE hProcess;
  HANDLE hThread;
  DWORD dwProcessId;
  DWORD dwThreadId;
};

// Creates an anonymous pipe; the caller owns both handles (CloseHandle). `size` is a hint. Returns
// FALSE with the last error set on failure.
BOOL CreatePipe(HANDLE* readPipe, HANDLE* writePipe, const SECURITY_ATTRIBUTES* attributes, DWORD size);

// Sets the flags of a handle selected by `mask` (HANDLE_FLAG_INHERIT). Off Windows only pipe
// handles are accepted and the flag is kept without effect. FALSE with ERROR_INVALID_HANDLE for a
// handle that is not open.
BOOL SetHandleInformation(HANDLE handle, DWORD mask, DWORD flags);

// Reads from a pipe; blocks until at least one byte is there or every write handle of the pipe is
// closed, which ends with FALSE and ERROR_BROKEN_PIPE. `overlapped` must be null off Windows.
BOOL ReadFile(HANDLE file, void* buffer, DWORD bytesToRead, DWORD* bytesRead, void* overlapped);

// Starts `applicationName` (a path; off Windows it must be given) with `commandLine`, whose first
// argument is the program's own name as the child sees it. With STARTF_USESTDHANDLES the child's
// standard input, output and error are the given handles (null: the child gets none off Windows).
// Off Windows `environment` and `currentDirectory` must be null, and `creationFlags` is ignored.
// On success the caller owns hProcess and hThread (CloseHandle; off Windows hThread is null).
// FALSE with the last error set (ERROR_FILE_NOT_FOUND for a program that cannot be started).
BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine, const SECURITY_ATTRIBUTES* processAttributes,
                    const SECURITY_ATTRIBUTES* threadAttributes, BOOL inheritHandles, DWORD creationFlags,
                    void* environment, LPCWSTR currentDirectory, STARTUPINFOW* startupInfo,
                    PROCESS_INFORMATION* processInformation);

// The exit code of a process, or STILL_ACTIVE while it runs. Off Windows a process ended by a
// signal has 128 + the signal, except that one ended by TerminateProcess has the code given there.
BOOL GetExitCodeProcess(HANDLE process, DWORD* exitCode);

// Ends a process at once with `exitCode`. TRUE also when the process had already ended off Windows
// (its own exit code then stands).
BOOL TerminateProcess(HANDLE process, UINT exitCode);

// Sends Ctrl+C (CTRL_C_EVENT) or Ctrl+Break to the processes of a console process group. Off
// Windows the group is the process of that id, which gets SIGINT or SIGQUIT.
constexpr DWORD CTRL_C_EVENT = 0;
constexpr DWORD CTRL_BREAK_EVENT = 1;
BOOL GenerateConsoleCtrlEvent(DWORD ctrlEvent, DWORD processGroupId);

}  // namespace Platform
