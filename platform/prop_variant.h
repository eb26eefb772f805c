// Property keys and property values: PROPERTYKEY, PROPVARIANT and their helpers, with the layout
// and type numbers of the real ones.
//
// Only the value types that the system meets are supported: VT_EMPTY, VT_UI4, VT_UI8, VT_LPWSTR,
// VT_BLOB and VT_VECTOR | VT_LPWSTR. Strings, vectors and blobs are task memory
// (CoTaskMemAlloc) owned by the variant, freed by PropVariantClear.
#pragma once

#include "platform/types.h"

namespace Platform {

struct PROPERTYKEY {
  GUID fmtid;
  DWORD pid;
};
using REFPROPERTYKEY = const PROPERTYKEY&;

inline bool operator==(const PROPERTYKEY& a, const PROPERTYKEY& b) { return a.fmtid == b.fmtid && a.pid == b.pid; }

using VARTYPE = WORD;
constexpr VARTYPE VT_EMPTY = 0;
constexpr VARTYPE VT_I4 = 3;
constexpr VARTYPE VT_BOOL = 11;
constexpr VARTYPE VT_UI4 = 19;
constexpr VARTYPE VT_UI8 = 21;
constexpr VARTYPE VT_LPWSTR = 31;
constexpr VARTYPE VT_BLOB = 65;
constexpr VARTYPE VT_VECTOR = 0x1000;

constexpr HRESULT DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008u);

// A counted array of strings (VT_VECTOR | VT_LPWSTR).
struct CALPWSTR {
  ULONG cElems;
  LPWSTR* pElems;
};

// A counted block of bytes (VT_BLOB).
struct BLOB {
  ULONG cbSize;
  BYTE* pBlobData;
};

// A tagged value: `vt` says which member of the union holds it.
struct PROPVARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONG lVal;
    ULONG ulVal;
    ULONGLONG uhVal;
    LPWSTR pwszVal;
    CALPWSTR calpwstr;
    BLOB blob;
  };
};

// Frees what `value` owns and leaves it VT_EMPTY. Returns S_OK (also for null, as Windows does), or
// DISP_E_BADVARTYPE for a type outside the supported ones, leaving the value as it was. Any thread.
HRESULT PropVariantClear(PROPVARIANT* value);

// Parses "{fmtid} pid" into `key`. The form with a comma, "{fmtid},pid", in which Core Audio names
// its stored properties, is accepted as well. Returns S_OK, E_POINTER for a null argument, or
// E_INVALIDARG for a text that is not a property key, after which `key` holds nothing of use.
// Windows is lenient with what follows the number; off Windows nothing but spaces may. Any thread.
HRESULT PSPropertyKeyFromString(LPCWSTR text, PROPERTYKEY* key);

}  // namespace Platform
