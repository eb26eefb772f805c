// The Windows SDK, seen from the win32 implementation of the platform layer.
//
// This is the one file of the code base that includes <windows.h>. It also holds the casts between
// the portable Platform types and the SDK's: strings are UTF-16 on both sides (char16_t here,
// wchar_t of 16 bits there), and structures, handles and callbacks have the same layout, which the
// assertions at the end prove at compile time. A forwarder therefore converts with a plain cast at
// the call and never copies.
//
// The portable headers come first: the SDK defines macros named like their constants (TRUE,
// INFINITE, ERROR_SUCCESS, HKEY_CURRENT_USER, ...), so after this header a win32 source writes the
// plain macro name and never `Platform::` before such a name.
#pragma once

#include <cstddef>
#include <type_traits>

#include "platform/com.h"
#include "platform/critical_section.h"
#include "platform/debug_channel.h"
#include "platform/environment.h"
#include "platform/file_system.h"
#include "platform/heap.h"
#include "platform/module.h"
#include "platform/process.h"
#include "platform/registry.h"
#include "platform/security.h"
#include "platform/synchronization.h"
#include "platform/system_error.h"
#include "platform/thread_pool.h"
#include "platform/types.h"
#include "platform/version.h"

#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0A00
#endif

#include <windows.h>

#include <objbase.h>
#include <propidl.h>
#include <propsys.h>
#include <sddl.h>
#include <shlwapi.h>

namespace Platform::Win32 {

// Strings: the same UTF-16 code units under another character type.
inline const wchar_t* ToWide(const char16_t* text) { return reinterpret_cast<const wchar_t*>(text); }
inline wchar_t* ToWide(char16_t* text) { return reinterpret_cast<wchar_t*>(text); }
inline wchar_t** ToWide(char16_t** text) { return reinterpret_cast<wchar_t**>(text); }
inline const char16_t* FromWide(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }
inline char16_t* FromWide(wchar_t* text) { return reinterpret_cast<char16_t*>(text); }

// Handles and structures with the same representation on both sides.
inline ::HKEY ToNative(Platform::HKEY key) { return reinterpret_cast<::HKEY>(key); }
inline ::HKEY* ToNative(Platform::HKEY* key) { return reinterpret_cast<::HKEY*>(key); }
inline ::HMODULE ToNative(Platform::HMODULE module) { return reinterpret_cast<::HMODULE>(module); }
inline ::HMODULE* ToNative(Platform::HMODULE* module) { return reinterpret_cast<::HMODULE*>(module); }
inline ::DWORD* ToNative(Platform::DWORD* value) { return reinterpret_cast<::DWORD*>(value); }
inline ::ULONG* ToNativeUlong(Platform::ULONG* value) { return reinterpret_cast<::ULONG*>(value); }
inline ::LPSECURITY_ATTRIBUTES ToNative(const Platform::SECURITY_ATTRIBUTES* attributes) {
  return reinterpret_cast<::LPSECURITY_ATTRIBUTES>(const_cast<Platform::SECURITY_ATTRIBUTES*>(attributes));
}
inline ::LPSTARTUPINFOW ToNative(Platform::STARTUPINFOW* info) { return reinterpret_cast<::LPSTARTUPINFOW>(info); }
inline ::LPPROCESS_INFORMATION ToNative(Platform::PROCESS_INFORMATION* info) {
  return reinterpret_cast<::LPPROCESS_INFORMATION>(info);
}
inline ::PFILETIME ToNative(Platform::FILETIME* time) { return reinterpret_cast<::PFILETIME>(time); }
inline ::LPOSVERSIONINFOEXW ToNative(Platform::OSVERSIONINFOEXW* info) {
  return reinterpret_cast<::LPOSVERSIONINFOEXW>(info);
}
inline ::LPCRITICAL_SECTION ToNative(Platform::CRITICAL_SECTION* section) {
  return reinterpret_cast<::LPCRITICAL_SECTION>(section->storage);
}
inline ::PSID_IDENTIFIER_AUTHORITY ToNative(const Platform::SID_IDENTIFIER_AUTHORITY* authority) {
  return reinterpret_cast<::PSID_IDENTIFIER_AUTHORITY>(const_cast<Platform::SID_IDENTIFIER_AUTHORITY*>(authority));
}
// COM interfaces: the portable declarations keep the slot order of the real ones.
inline ::IUnknown* ToNative(Platform::IUnknown* object) { return reinterpret_cast<::IUnknown*>(object); }
inline ::IUnknown** ToNative(Platform::IUnknown** object) { return reinterpret_cast<::IUnknown**>(object); }
inline Platform::FARPROC FromNative(::FARPROC function) { return reinterpret_cast<Platform::FARPROC>(function); }

// Callbacks: on x64 there is one calling convention, and the parameter and result types below have
// the same sizes, so the system calls the portable function directly.
inline ::WAITORTIMERCALLBACK ToNative(Platform::WAITORTIMERCALLBACK callback) {
  return reinterpret_cast<::WAITORTIMERCALLBACK>(callback);
}
inline ::LPTHREAD_START_ROUTINE ToNative(Platform::LPTHREAD_START_ROUTINE routine) {
  return reinterpret_cast<::LPTHREAD_START_ROUTINE>(routine);
}

// Proof that every cast above reinterprets like for like.
template <class Portable, class Native>
inline constexpr bool kSameRepresentation = sizeof(Portable) == sizeof(Native) && alignof(Portable) == alignof(Native);

static_assert(sizeof(wchar_t) == sizeof(char16_t), "UTF-16 code units on both sides");
static_assert(kSameRepresentation<Platform::BYTE, ::BYTE>);
static_assert(kSameRepresentation<Platform::WORD, ::WORD>);
static_assert(kSameRepresentation<Platform::DWORD, ::DWORD> && std::is_unsigned_v<::DWORD>);
static_assert(kSameRepresentation<Platform::LONG, ::LONG> && std::is_signed_v<::LONG>);
static_assert(kSameRepresentation<Platform::ULONG, ::ULONG>);
static_assert(kSameRepresentation<Platform::BOOL, ::BOOL>);
static_assert(std::is_same_v<Platform::BOOLEAN, ::BOOLEAN>);
static_assert(kSameRepresentation<Platform::UINT, ::UINT>);
static_assert(kSameRepresentation<Platform::ULONGLONG, ::ULONGLONG>);
static_assert(kSameRepresentation<Platform::LONGLONG, ::LONGLONG>);
static_assert(kSameRepresentation<Platform::ULONG_PTR, ::ULONG_PTR>);
static_assert(kSameRepresentation<Platform::SIZE_T, ::SIZE_T>);
static_assert(kSameRepresentation<Platform::HRESULT, ::HRESULT>);
static_assert(kSameRepresentation<Platform::LSTATUS, ::LSTATUS>);
static_assert(kSameRepresentation<Platform::REGSAM, ::REGSAM>);
static_assert(kSameRepresentation<Platform::WCHAR, ::WCHAR>);
static_assert(kSameRepresentation<Platform::HANDLE, ::HANDLE>);
static_assert(kSameRepresentation<Platform::HKEY, ::HKEY>);
static_assert(kSameRepresentation<Platform::HMODULE, ::HMODULE>);
static_assert(kSameRepresentation<Platform::HLOCAL, ::HLOCAL>);
static_assert(kSameRepresentation<Platform::PSID, ::PSID>);
static_assert(kSameRepresentation<Platform::PSECURITY_DESCRIPTOR, ::PSECURITY_DESCRIPTOR>);
static_assert(kSameRepresentation<Platform::FARPROC, ::FARPROC>);

static_assert(kSameRepresentation<Platform::GUID, ::GUID>);
static_assert(offsetof(Platform::GUID, Data1) == offsetof(::GUID, Data1));
static_assert(offsetof(Platform::GUID, Data2) == offsetof(::GUID, Data2));
static_assert(offsetof(Platform::GUID, Data3) == offsetof(::GUID, Data3));
static_assert(offsetof(Platform::GUID, Data4) == offsetof(::GUID, Data4));

static_assert(kSameRepresentation<Platform::SECURITY_ATTRIBUTES, ::SECURITY_ATTRIBUTES>);
static_assert(offsetof(Platform::SECURITY_ATTRIBUTES, nLength) == offsetof(::SECURITY_ATTRIBUTES, nLength));
static_assert(offsetof(Platform::SECURITY_ATTRIBUTES, lpSecurityDescriptor) ==
              offsetof(::SECURITY_ATTRIBUTES, lpSecurityDescriptor));
static_assert(offsetof(Platform::SECURITY_ATTRIBUTES, bInheritHandle) ==
              offsetof(::SECURITY_ATTRIBUTES, bInheritHandle));

static_assert(kSameRepresentation<Platform::FILETIME, ::FILETIME>);
static_assert(kSameRepresentation<Platform::STARTUPINFOW, ::STARTUPINFOW>);
static_assert(offsetof(Platform::STARTUPINFOW, dwFlags) == offsetof(::STARTUPINFOW, dwFlags));
static_assert(offsetof(Platform::STARTUPINFOW, hStdInput) == offsetof(::STARTUPINFOW, hStdInput));
static_assert(offsetof(Platform::STARTUPINFOW, hStdError) == offsetof(::STARTUPINFOW, hStdError));
static_assert(kSameRepresentation<Platform::PROCESS_INFORMATION, ::PROCESS_INFORMATION>);
static_assert(offsetof(Platform::PROCESS_INFORMATION, dwProcessId) == offsetof(::PROCESS_INFORMATION, dwProcessId));
static_assert(offsetof(Platform::FILETIME, dwLowDateTime) == offsetof(::FILETIME, dwLowDateTime));
static_assert(offsetof(Platform::FILETIME, dwHighDateTime) == offsetof(::FILETIME, dwHighDateTime));

static_assert(kSameRepresentation<Platform::OSVERSIONINFOEXW, ::OSVERSIONINFOEXW>);
static_assert(offsetof(Platform::OSVERSIONINFOEXW, dwOSVersionInfoSize) ==
              offsetof(::OSVERSIONINFOEXW, dwOSVersionInfoSize));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, dwMajorVersion) == offsetof(::OSVERSIONINFOEXW, dwMajorVersion));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, dwMinorVersion) == offsetof(::OSVERSIONINFOEXW, dwMinorVersion));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, dwBuildNumber) == offsetof(::OSVERSIONINFOEXW, dwBuildNumber));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, dwPlatformId) == offsetof(::OSVERSIONINFOEXW, dwPlatformId));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, szCSDVersion) == offsetof(::OSVERSIONINFOEXW, szCSDVersion));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, wServicePackMajor) ==
              offsetof(::OSVERSIONINFOEXW, wServicePackMajor));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, wServicePackMinor) ==
              offsetof(::OSVERSIONINFOEXW, wServicePackMinor));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, wSuiteMask) == offsetof(::OSVERSIONINFOEXW, wSuiteMask));
static_assert(offsetof(Platform::OSVERSIONINFOEXW, wProductType) == offsetof(::OSVERSIONINFOEXW, wProductType));

static_assert(kSameRepresentation<Platform::SID_IDENTIFIER_AUTHORITY, ::SID_IDENTIFIER_AUTHORITY>);
static_assert(kSameRepresentation<Platform::SECURITY_INFORMATION, ::SECURITY_INFORMATION>);

// An interface is one pointer to a table of slots in declaration order, on both sides.
static_assert(kSameRepresentation<Platform::IUnknown, ::IUnknown>);
static_assert(std::is_polymorphic_v<Platform::IUnknown> && !std::has_virtual_destructor_v<Platform::IUnknown>);

// The portable lock is room for the real one.
static_assert(sizeof(::CRITICAL_SECTION) <= sizeof(Platform::CRITICAL_SECTION{}.storage));
static_assert(alignof(::CRITICAL_SECTION) <= alignof(Platform::CRITICAL_SECTION));

// Callbacks: same kinds of parameters and results, one calling convention on x64.
#if !defined(__x86_64__) && !defined(_M_X64)
#error "The callback casts rely on the single x64 calling convention."
#endif
static_assert(kSameRepresentation<Platform::WAITORTIMERCALLBACK, ::WAITORTIMERCALLBACK>);
static_assert(kSameRepresentation<Platform::LPTHREAD_START_ROUTINE, ::LPTHREAD_START_ROUTINE>);
static_assert(kSameRepresentation<void*, ::PVOID>);

}  // namespace Platform::Win32
