// Property values and keys: forwarded to the system. The portable structures have the layout of
// the real ones, which the assertions below prove.
#include "platform/prop_variant.h"

#include <cstddef>

#include "platform/win32/windows_api.h"

namespace Platform {

static_assert(Win32::kSameRepresentation<Platform::PROPERTYKEY, ::PROPERTYKEY>);
static_assert(offsetof(Platform::PROPERTYKEY, pid) == offsetof(::PROPERTYKEY, pid));
static_assert(Win32::kSameRepresentation<Platform::PROPVARIANT, ::PROPVARIANT>);
static_assert(offsetof(Platform::PROPVARIANT, ulVal) == offsetof(::PROPVARIANT, ulVal));
static_assert(offsetof(Platform::PROPVARIANT, pwszVal) == offsetof(::PROPVARIANT, pwszVal));
static_assert(offsetof(Platform::PROPVARIANT, calpwstr) == offsetof(::PROPVARIANT, calpwstr));
static_assert(offsetof(Platform::PROPVARIANT, blob) == offsetof(::PROPVARIANT, blob));
static_assert(Win32::kSameRepresentation<Platform::CALPWSTR, ::CALPWSTR>);
static_assert(Win32::kSameRepresentation<Platform::BLOB, ::BLOB>);

HRESULT PropVariantClear(PROPVARIANT* value) { return ::PropVariantClear(reinterpret_cast<::PROPVARIANT*>(value)); }

HRESULT PSPropertyKeyFromString(LPCWSTR text, PROPERTYKEY* key) {
  return ::PSPropertyKeyFromString(Win32::ToWide(text), reinterpret_cast<::PROPERTYKEY*>(key));
}

}  // namespace Platform
