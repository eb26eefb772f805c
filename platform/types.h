// The Win32 vocabulary that the system's logic is written against: integer types, handles, GUIDs
// and status numbers, with the same names, sizes and values as on Windows, so that the Windows
// implementation forwards with a plain cast and the logic reads like the Win32 code it is.
//
// Strings are UTF-16 `char16_t` on every platform; `wchar_t` appears only inside platform/win32.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Platform {

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using BOOL = std::int32_t;
using BOOLEAN = std::uint8_t;
using UINT = std::uint32_t;
using ULONGLONG = std::uint64_t;
using LONGLONG = std::int64_t;
using ULONG_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using HRESULT = std::int32_t;
using LSTATUS = LONG;
using REGSAM = DWORD;
using WCHAR = char16_t;
using LPWSTR = char16_t*;
using LPCWSTR = const char16_t*;

constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;

// Opaque handle kinds. Each is a distinct pointer type, as with STRICT on Windows.
using HANDLE = void*;
struct HKEY__;
using HKEY = HKEY__*;
struct HINSTANCE__;
using HMODULE = HINSTANCE__*;
using HLOCAL = void*;
using PSID = void*;
using PSECURITY_DESCRIPTOR = void*;

// The 16-byte GUID layout of the platform.
struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const GUID&;
using REFCLSID = const GUID&;

inline bool operator==(const GUID& a, const GUID& b) {
  if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
  for (int i = 0; i < 8; ++i) {
    if (a.Data4[i] != b.Data4[i]) return false;
  }
  return true;
}
inline bool IsEqualGUID(const GUID& a, const GUID& b) { return a == b; }

inline HANDLE const INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));

// Win32 error numbers that the system meets.
constexpr LONG ERROR_SUCCESS = 0;
constexpr LONG ERROR_FILE_NOT_FOUND = 2;
constexpr LONG ERROR_ACCESS_DENIED = 5;
constexpr LONG ERROR_INVALID_HANDLE = 6;
constexpr LONG ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr LONG ERROR_BAD_ENVIRONMENT = 10;
constexpr LONG ERROR_OUTOFMEMORY = 14;
constexpr LONG ERROR_DISK_FULL = 112;
constexpr LONG ERROR_INVALID_PARAMETER = 87;
constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
constexpr LONG ERROR_MOD_NOT_FOUND = 126;
constexpr LONG ERROR_PROC_NOT_FOUND = 127;
constexpr LONG ERROR_BAD_PATHNAME = 161;
constexpr LONG ERROR_ALREADY_EXISTS = 183;
constexpr LONG ERROR_ENVVAR_NOT_FOUND = 203;
constexpr LONG ERROR_MORE_DATA = 234;
constexpr LONG ERROR_NO_MORE_ITEMS = 259;
constexpr LONG ERROR_IO_PENDING = 997;
constexpr LONG ERROR_BADDB = 1009;
constexpr LONG ERROR_BADKEY = 1010;
constexpr LONG ERROR_CANTOPEN = 1011;
constexpr LONG ERROR_CANTREAD = 1012;
constexpr LONG ERROR_CANTWRITE = 1013;
constexpr LONG ERROR_REGISTRY_CORRUPT = 1015;
constexpr LONG ERROR_KEY_DELETED = 1018;
constexpr LONG ERROR_CHILD_MUST_BE_VOLATILE = 1021;
constexpr LONG ERROR_NOT_FOUND = 1168;
constexpr LONG ERROR_INVALID_SECURITY_DESCR = 1338;
constexpr LONG ERROR_UNSUPPORTED_TYPE = 1630;

// HRESULT values.
constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111u);
constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154u);

constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }
constexpr HRESULT HRESULT_FROM_WIN32(LONG error) {
  return error <= 0 ? static_cast<HRESULT>(error)
                    : static_cast<HRESULT>((static_cast<DWORD>(error) & 0x0000FFFFu) | 0x80070000u);
}

}  // namespace Platform
