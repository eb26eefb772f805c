// Child processes and pipes: forwarded to the system.
#include "platform/process.h"

#include "platform/win32/windows_api.h"

namespace Platform {

BOOL CreatePipe(HANDLE* readPipe, HANDLE* writePipe, const SECURITY_ATTRIBUTES* attributes, DWORD size) {
  return ::CreatePipe(readPipe, writePipe, Win32::ToNative(attributes), size);
}

BOOL SetHandleInformation(HANDLE handle, DWORD mask, DWORD flags) {
  return ::SetHandleInformation(handle, mask, flags);
}

BOOL ReadFile(HANDLE file, void* buffer, DWORD bytesToRead, DWORD* bytesRead, void* overlapped) {
  return ::ReadFile(file, buffer, bytesToRead, Win32::ToNative(bytesRead), static_cast<::LPOVERLAPPED>(overlapped));
}

BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine, const SECURITY_ATTRIBUTES* processAttributes,
                    const SECURITY_ATTRIBUTES* threadAttributes, BOOL inheritHandles, DWORD creationFlags,
                    void* environment, LPCWSTR currentDirectory, STARTUPINFOW* startupInfo,
                    PROCESS_INFORMATION* processInformation) {
  return ::CreateProcessW(Win32::ToWide(applicationName), Win32::ToWide(commandLine),
                          Win32::ToNative(processAttributes), Win32::ToNative(threadAttributes), inheritHandles,
                          creationFlags, environment, Win32::ToWide(currentDirectory), Win32::ToNative(startupInfo),
                          Win32::ToNative(processInformation));
}

BOOL GetExitCodeProcess(HANDLE process, DWORD* exitCode) {
  return ::GetExitCodeProcess(process, Win32::ToNative(exitCode));
}

BOOL TerminateProcess(HANDLE process, UINT exitCode) { return ::TerminateProcess(process, exitCode); }

BOOL GenerateConsoleCtrlEvent(DWORD ctrlEvent, DWORD processGroupId) {
  return ::GenerateConsoleCtrlEvent(ctrlEvent, processGroupId);
}

}  // namespace Platform
