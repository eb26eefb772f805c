// The registry: a tree of keys holding named, typed values, shared by every process of the machine,
// with change notification.
//
// Windows forwards to its own registry. On Linux each hive is a database in the registry folder
// ($HALCYRA_REGISTRY_ROOT, else $XDG_STATE_HOME/halcyra/registry, else
// ~/.local/state/halcyra/registry), with the same semantics: names case-insensitive and
// case-preserving, access rights per handle, volatile keys, and notifications across processes.
//
// Every function returns a Win32 error number (ERROR_SUCCESS on success) unless it says otherwise,
// may be called from any thread, and borrows its string and buffer arguments for the call only.
#pragma once

#include "platform/security.h"
#include "platform/types.h"

namespace Platform {

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  PSECURITY_DESCRIPTOR lpSecurityDescriptor;
  BOOL bInheritHandle;
};

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

// Error numbers that only registry functions give.
constexpr LONG ERROR_NOACCESS = 998;
constexpr LONG ERROR_DATATYPE_MISMATCH = 1629;

// Predefined keys, with the values Windows gives them.
inline HKEY const HKEY_CLASSES_ROOT =
    reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<LONG>(0x80000000u)));
inline HKEY const HKEY_CURRENT_USER =
    reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<LONG>(0x80000001u)));
inline HKEY const HKEY_LOCAL_MACHINE =
    reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<LONG>(0x80000002u)));
inline HKEY const HKEY_USERS = reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<LONG>(0x80000003u)));
inline HKEY const HKEY_CURRENT_CONFIG =
    reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<LONG>(0x80000005u)));

// Value types.
constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_EXPAND_SZ = 2;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
constexpr DWORD REG_LINK = 6;
constexpr DWORD REG_MULTI_SZ = 7;
constexpr DWORD REG_QWORD = 11;

// Access rights.
constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
constexpr REGSAM KEY_NOTIFY = 0x0010;
constexpr REGSAM KEY_CREATE_LINK = 0x0020;
constexpr REGSAM KEY_WOW64_64KEY = 0x0100;
constexpr REGSAM KEY_WOW64_32KEY = 0x0200;
constexpr REGSAM DELETE = 0x00010000;
constexpr REGSAM READ_CONTROL = 0x00020000;
constexpr REGSAM WRITE_DAC = 0x00040000;
constexpr REGSAM WRITE_OWNER = 0x00080000;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;
constexpr REGSAM KEY_EXECUTE = 0x20019;
constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
// The combinations this system asks for, named here rather than written as numbers where they are
// used. They are ours, not names of the Windows headers; the 64 ones open the 64-bit view.
constexpr REGSAM kKeyReadWrite = KEY_READ | KEY_WRITE;                      // 0x2001F
constexpr REGSAM kKeyRead64 = KEY_READ | KEY_WOW64_64KEY;                   // 0x20119
constexpr REGSAM kKeyWrite64 = KEY_WRITE | KEY_WOW64_64KEY;                 // 0x20106
constexpr REGSAM kKeyReadWrite64 = KEY_READ | KEY_WRITE | KEY_WOW64_64KEY;  // 0x2011F (131359)
constexpr REGSAM MAXIMUM_ALLOWED = 0x02000000;
constexpr REGSAM GENERIC_ALL = 0x10000000;
constexpr REGSAM GENERIC_EXECUTE = 0x20000000;
constexpr REGSAM GENERIC_WRITE = 0x40000000;
constexpr REGSAM GENERIC_READ = 0x80000000;

// Options of RegCreateKeyExW and dispositions.
constexpr DWORD REG_OPTION_NON_VOLATILE = 0x0;
constexpr DWORD REG_OPTION_VOLATILE = 0x1;
constexpr DWORD REG_OPTION_CREATE_LINK = 0x2;
constexpr DWORD REG_OPTION_BACKUP_RESTORE = 0x4;
constexpr DWORD REG_OPTION_OPEN_LINK = 0x8;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

// Type restrictions and flags of RegGetValueW.
constexpr DWORD RRF_RT_REG_NONE = 0x00000001;
constexpr DWORD RRF_RT_REG_SZ = 0x00000002;
constexpr DWORD RRF_RT_REG_EXPAND_SZ = 0x00000004;
constexpr DWORD RRF_RT_REG_BINARY = 0x00000008;
constexpr DWORD RRF_RT_REG_DWORD = 0x00000010;
constexpr DWORD RRF_RT_REG_MULTI_SZ = 0x00000020;
constexpr DWORD RRF_RT_REG_QWORD = 0x00000040;
constexpr DWORD RRF_RT_DWORD = RRF_RT_REG_BINARY | RRF_RT_REG_DWORD;
constexpr DWORD RRF_RT_QWORD = RRF_RT_REG_BINARY | RRF_RT_REG_QWORD;
constexpr DWORD RRF_RT_ANY = 0x0000FFFF;
constexpr DWORD RRF_NOEXPAND = 0x10000000;
constexpr DWORD RRF_ZEROONFAILURE = 0x20000000;

// Filters of RegNotifyChangeKeyValue.
constexpr DWORD REG_NOTIFY_CHANGE_NAME = 0x00000001;
constexpr DWORD REG_NOTIFY_CHANGE_ATTRIBUTES = 0x00000002;
constexpr DWORD REG_NOTIFY_CHANGE_LAST_SET = 0x00000004;
constexpr DWORD REG_NOTIFY_CHANGE_SECURITY = 0x00000008;
constexpr DWORD REG_NOTIFY_THREAD_AGNOSTIC = 0x10000000;

// Length limits, in characters without the terminator.
constexpr DWORD MAX_KEY_NAME_LENGTH = 255;
constexpr DWORD MAX_VALUE_NAME_LENGTH = 16383;

// Paths are relative to `key`, with '\' between names; trailing backslashes are ignored, a leading
// one gives ERROR_BAD_PATHNAME. A predefined key opened with no path is the predefined key itself.
// The rights of a handle limit what is done through it (ERROR_ACCESS_DENIED), not the keys opened
// or created below it. On a failed open `*result` is null.
LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM desired, HKEY* result);
// Creates every missing key of the path (volatile ones with REG_OPTION_VOLATILE; below a volatile
// key only volatile ones: ERROR_CHILD_MUST_BE_VOLATILE) and opens the last. The class and the
// security descriptor of the attributes are kept with the keys created.
LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM desired,
                        const SECURITY_ATTRIBUTES* securityAttributes, HKEY* result, DWORD* disposition);
LSTATUS RegCloseKey(HKEY key);

// Reads a value (below `subKey` when given) as Windows does: `flags` must restrict the type
// (RRF_RT_*; ERROR_UNSUPPORTED_TYPE outside it, with the data still copied), REG_EXPAND_SZ is
// expanded to REG_SZ unless RRF_NOEXPAND, strings come back terminated, a small buffer gives
// ERROR_MORE_DATA with the size needed, and RRF_ZEROONFAILURE clears the buffer on any failure.
LSTATUS RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, DWORD* type, void* data, DWORD* dataSize);
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, DWORD* reserved, DWORD* type, BYTE* data, DWORD* dataSize);
LSTATUS RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data, DWORD dataSize);
// Sets a value of the key at `subKey`, which is created (not volatile) when missing.
LSTATUS RegSetKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR valueName, DWORD type, const void* data, DWORD dataSize);

// Deletes the key at `subKey` with its subtree; with no `subKey`, everything below `key` and its
// values, the key itself staying.
LSTATUS RegDeleteTreeW(HKEY key, LPCWSTR subKey);
LSTATUS RegDeleteKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR valueName);
// Deletes a key without sub-keys (ERROR_ACCESS_DENIED for one with); "" is `key` itself.
LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey);
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR valueName);

// Sub-keys come in the order of their upper-case names, values in the order they were created.
// Past the end: ERROR_NO_MORE_ITEMS. A name that does not fit: ERROR_MORE_DATA.
LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, DWORD* nameLength, DWORD* reserved, LPWSTR keyClass,
                      DWORD* classLength, FILETIME* lastWriteTime);
LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD nameLength);
LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR valueName, DWORD* valueNameLength, DWORD* reserved, DWORD* type,
                      BYTE* data, DWORD* dataSize);
// A class buffer (`keyClass`) with `*classLength` 0 is left alone and the length given as 0; one
// too small for the class and its terminator gives ERROR_INSUFFICIENT_BUFFER.
LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, DWORD* classLength, DWORD* reserved, DWORD* subKeys,
                         DWORD* maxSubKeyLength, DWORD* maxClassLength, DWORD* values, DWORD* maxValueNameLength,
                         DWORD* maxValueLength, DWORD* securityDescriptorLength, FILETIME* lastWriteTime);

// Arms a one-shot watch: `event` is signalled at the first change (of the kinds in `filter`) to the
// key, or its subtree when `watchSubtree`, made after this call by any process. Must be called
// again for the next one. Deleting the key or closing `key` signals it too. Off Windows every watch
// is thread-agnostic: REG_NOTIFY_THREAD_AGNOSTIC is accepted and changes nothing. With
// `asynchronous` false the call waits for the change itself.
LSTATUS RegNotifyChangeKeyValue(HKEY key, BOOL watchSubtree, DWORD filter, HANDLE event, BOOL asynchronous);

// Returns when every change committed to the key's hive, by any process, is on the disk. Other
// calls make a change durable against the end of a process when they return, and against a power
// loss only later (on Linux at the next checkpoint of the hive's log, see ARCHITECTURE.md).
LSTATUS RegFlushKey(HKEY key);

// Keeps `securityDescriptor` (self-relative) with the key. Off Windows descriptors are data only:
// nothing checks access against them.
LSTATUS RegSetKeySecurity(HKEY key, SECURITY_INFORMATION information, PSECURITY_DESCRIPTOR securityDescriptor);

}  // namespace Platform
