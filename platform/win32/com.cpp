// COM: forwarded to the system's runtime. The portable interfaces have the slot order of the real
// ones, so their pointers pass through unchanged.
#include "platform/com.h"

#include "platform/win32/windows_api.h"

namespace Platform {

HRESULT CoInitialize(void* reserved) { return ::CoInitialize(reserved); }

void CoUninitialize() { ::CoUninitialize(); }

HRESULT CoCreateFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler) {
  return ::CoCreateFreeThreadedMarshaler(Win32::ToNative(outer), Win32::ToNative(marshaler));
}

}  // namespace Platform
