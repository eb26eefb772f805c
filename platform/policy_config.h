// IPolicyConfig, the system's unpublished policy configuration client: endpoint properties of the
// endpoint and effects (FX) stores, and endpoint visibility.
//
// Only slots 11, 12 and 14 are called by the system; the others keep their places in the table, are
// never called, and answer E_NOTIMPL in objects of this project.
#pragma once

#include "platform/core_audio.h"

namespace Platform {

inline constexpr CLSID CLSID_PolicyConfigClient = {
    0x870AF99C, 0x171D, 0x4F9E, {0xAF, 0x0D, 0xE6, 0x3D, 0xF4, 0x0C, 0x2B, 0xC9}};
inline constexpr IID IID_IPolicyConfig = {0xF8679F50, 0x850A, 0x41CF, {0x9C, 0x72, 0x43, 0x0F, 0x29, 0x02, 0x90, 0xC8}};

class IPolicyConfig : public IUnknown {
public:
  virtual HRESULT Reserved3() { return E_NOTIMPL; }
  virtual HRESULT Reserved4() { return E_NOTIMPL; }
  virtual HRESULT Reserved5() { return E_NOTIMPL; }
  virtual HRESULT Reserved6() { return E_NOTIMPL; }
  virtual HRESULT Reserved7() { return E_NOTIMPL; }
  virtual HRESULT Reserved8() { return E_NOTIMPL; }
  virtual HRESULT Reserved9() { return E_NOTIMPL; }
  virtual HRESULT Reserved10() { return E_NOTIMPL; }
  // Slot 11: reads `key` of the endpoint `deviceId`, from its effects store when `fxStore` is not
  // 0, else from its endpoint store. The value is the caller's to clear.
  virtual HRESULT GetPropertyValue(LPCWSTR deviceId, BOOL fxStore, REFPROPERTYKEY key, PROPVARIANT* value) = 0;
  // Slot 12: writes `key` of the endpoint `deviceId` to the store chosen as above.
  virtual HRESULT SetPropertyValue(LPCWSTR deviceId, BOOL fxStore, REFPROPERTYKEY key, PROPVARIANT* value) = 0;
  virtual HRESULT Reserved13() { return E_NOTIMPL; }
  // Slot 14: shows (`visible` not 0) or hides the endpoint: it becomes active or disabled.
  virtual HRESULT SetEndpointVisibility(LPCWSTR deviceId, BOOL visible) = 0;
};

}  // namespace Platform
