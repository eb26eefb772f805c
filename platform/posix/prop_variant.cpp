// Property values and keys on Linux.
#include "platform/prop_variant.h"

#include "platform/com.h"

namespace Platform {
namespace {

int HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// Reads `digits` hexadecimal digits at `text`, advancing it. False when one is not a digit.
bool ReadHex(const char16_t*& text, int digits, ULONGLONG& value) {
  value = 0;
  for (int i = 0; i < digits; ++i) {
    int digit = HexValue(*text);
    if (digit < 0) return false;
    value = value * 16 + static_cast<ULONGLONG>(digit);
    ++text;
  }
  return true;
}

bool Expect(const char16_t*& text, char16_t c) {
  if (*text != c) return false;
  ++text;
  return true;
}

// "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}", braces required.
bool ReadBracedGuid(const char16_t*& text, GUID& guid) {
  ULONGLONG value = 0;
  if (!Expect(text, u'{') || !ReadHex(text, 8, value)) return false;
  guid.Data1 = static_cast<DWORD>(value);
  if (!Expect(text, u'-') || !ReadHex(text, 4, value)) return false;
  guid.Data2 = static_cast<WORD>(value);
  if (!Expect(text, u'-') || !ReadHex(text, 4, value)) return false;
  guid.Data3 = static_cast<WORD>(value);
  if (!Expect(text, u'-')) return false;
  for (int i = 0; i < 8; ++i) {
    if (i == 2 && !Expect(text, u'-')) return false;
    if (!ReadHex(text, 2, value)) return false;
    guid.Data4[i] = static_cast<BYTE>(value);
  }
  return Expect(text, u'}');
}

void SkipSpaces(const char16_t*& text) {
  while (*text == u' ') ++text;
}

}  // namespace

HRESULT PropVariantClear(PROPVARIANT* value) {
  if (value == nullptr) return S_OK;
  switch (value->vt) {
    case VT_EMPTY:
    case VT_I4:
    case VT_BOOL:
    case VT_UI4:
    case VT_UI8:
      break;
    case VT_LPWSTR:
      CoTaskMemFree(value->pwszVal);
      break;
    case VT_BLOB:
      CoTaskMemFree(value->blob.pBlobData);
      break;
    case VT_VECTOR | VT_LPWSTR:
      if (value->calpwstr.pElems != nullptr) {
        for (ULONG i = 0; i < value->calpwstr.cElems; ++i) CoTaskMemFree(value->calpwstr.pElems[i]);
      }
      CoTaskMemFree(value->calpwstr.pElems);
      break;
    default:
      return DISP_E_BADVARTYPE;
  }
  *value = PROPVARIANT{};
  return S_OK;
}

// The property id is a decimal number of 32 bits; a leading minus gives its two's complement, as
// Windows reads it. Spaces may stand around the comma and after the number; nothing else may.
HRESULT PSPropertyKeyFromString(LPCWSTR text, PROPERTYKEY* key) {
  if (text == nullptr || key == nullptr) return E_POINTER;
  *key = PROPERTYKEY{};
  PROPERTYKEY parsed{};
  if (!ReadBracedGuid(text, parsed.fmtid)) return E_INVALIDARG;
  SkipSpaces(text);
  if (*text == u',') ++text;
  SkipSpaces(text);
  bool negative = *text == u'-';
  if (negative) ++text;
  if (*text < u'0' || *text > u'9') return E_INVALIDARG;
  ULONGLONG pid = 0;
  while (*text >= u'0' && *text <= u'9') {
    pid = pid * 10 + static_cast<ULONGLONG>(*text - u'0');
    if (pid > 0xFFFFFFFFull) return E_INVALIDARG;
    ++text;
  }
  SkipSpaces(text);
  if (*text != 0) return E_INVALIDARG;
  parsed.pid = negative ? static_cast<DWORD>(0u - static_cast<DWORD>(pid)) : static_cast<DWORD>(pid);
  *key = parsed;
  return S_OK;
}

}  // namespace Platform
