// Loaded modules (executables and libraries): their handles, file names and exported functions.
//
// As on Windows, a module handle is the base address at which the module is loaded, so the handle
// of the code that asks can be found from any address inside it.
#pragma once

#include "platform/types.h"

namespace Platform {

constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_PIN = 0x1;
constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT = 0x2;
constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 0x4;

using FARPROC = void (*)();

// Writes the full path of `module` (null: the process's executable) into `fileName` of `size`
// characters. Returns the length written without the terminator; when the path does not fit it is
// cut to `size - 1` characters, `size` is returned and the last error is ERROR_INSUFFICIENT_BUFFER.
// Returns 0 with the last error set on failure. Thread-safe.
DWORD GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size);

// With GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, `moduleName` is an address inside the module
// wanted; otherwise a module name, or null for the executable. The handle is written to `module`.
// Returns FALSE with the last error set (ERROR_MOD_NOT_FOUND) when no module matches. Thread-safe.
BOOL GetModuleHandleExW(DWORD flags, LPCWSTR moduleName, HMODULE* module);

// Loads the library at `fileName`; the caller owns one reference, given back by FreeLibrary.
// Returns null with the last error set (ERROR_MOD_NOT_FOUND) on failure.
HMODULE LoadLibraryW(LPCWSTR fileName);
BOOL FreeLibrary(HMODULE module);

// Returns the exported function `procName` of `module`, or null with ERROR_PROC_NOT_FOUND.
FARPROC GetProcAddress(HMODULE module, const char* procName);

// The image base that the linker gave the module containing the caller (`__ImageBase` on Windows,
// the ELF header on Linux): where that module is loaded unless it was relocated. Not a Win32
// function; it stands in for the linker symbol, which only platform code may name.
HMODULE GetLinkedImageBase();

}  // namespace Platform
