#include "audio_service/hardware_id.h"

#include <cstring>

#include "foundation/heap_block.h"
#include "platform/com_ptr.h"
#include "platform/utf.h"

using namespace Platform;

HRESULT GetHWID(IMMDevice* device, LPWSTR* out) {
  if (device == nullptr || out == nullptr) return E_POINTER;
  *out = nullptr;
  ComPtr<IPropertyStore> store;
  HRESULT result = device->OpenPropertyStore(STGM_READ, store.Put());
  if (FAILED(result)) return result;
  PROPVARIANT value{};
  result = store->GetValue(PKEY_Device_InstanceId, &value);
  store.Reset();
  if (FAILED(result)) return result;
  if (value.vt == VT_EMPTY) return S_FALSE;
  if (value.vt == VT_LPWSTR && value.pwszVal != nullptr) {
    const std::size_t bytes = (StringLength(value.pwszVal) + 1) * sizeof(char16_t);
    if (auto* copy = static_cast<LPWSTR>(AllocBlock(bytes))) {
      std::memcpy(copy, value.pwszVal, bytes);
      *out = copy;
    }
  }
  PropVariantClear(&value);
  return S_OK;
}
