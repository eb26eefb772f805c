// Loaded modules: forwarded to the system loader.
#include "platform/module.h"

#include "platform/win32/windows_api.h"

// Placed by the linker at the first byte of every image it links.
extern "C" ::IMAGE_DOS_HEADER __ImageBase;

namespace Platform {

HMODULE GetLinkedImageBase() { return reinterpret_cast<HMODULE>(&__ImageBase); }

DWORD GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size) {
  return ::GetModuleFileNameW(Win32::ToNative(module), Win32::ToWide(fileName), size);
}

// With the from-address flag the "name" is an address inside the module, passed through as is.
BOOL GetModuleHandleExW(DWORD flags, LPCWSTR moduleName, HMODULE* module) {
  return ::GetModuleHandleExW(flags, Win32::ToWide(moduleName), Win32::ToNative(module));
}

HMODULE LoadLibraryW(LPCWSTR fileName) { return reinterpret_cast<HMODULE>(::LoadLibraryW(Win32::ToWide(fileName))); }

BOOL FreeLibrary(HMODULE module) { return ::FreeLibrary(Win32::ToNative(module)); }

FARPROC GetProcAddress(HMODULE module, const char* procName) {
  return Win32::FromNative(::GetProcAddress(Win32::ToNative(module), procName));
}

}  // namespace Platform
