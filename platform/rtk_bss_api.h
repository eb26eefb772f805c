// Realtek's echo cancellation (BSS) object, present on some machines with Realtek audio software.
//
// Only the slots given here are called; the others keep their places in the table, are never called,
// and answer E_NOTIMPL in objects of this project. What each mode number means lies in the driver
// package.
#pragma once

#include "platform/com.h"

namespace Platform {

inline constexpr CLSID CLSID_RtkBssApi = {0x2438FE00, 0xBD99, 0x49AF, {0x9E, 0x48, 0xD3, 0xB0, 0x38, 0x85, 0xFA, 0x8B}};
inline constexpr IID IID_IRtkBssApi = {0xA60A9DD6, 0x410A, 0x49AC, {0x9F, 0x43, 0x9C, 0x6F, 0xD3, 0x55, 0xE1, 0x38}};
inline constexpr IID IID_IRtkBssApi2 = {0xA5564785, 0x34A2, 0x4A03, {0xBE, 0xA9, 0x00, 0x65, 0xE4, 0xDC, 0xFA, 0x5A}};

class IRtkBssApi : public IUnknown {
public:
  virtual HRESULT Reserved3() { return E_NOTIMPL; }
  virtual HRESULT Reserved4() { return E_NOTIMPL; }
  virtual HRESULT Reserved5() { return E_NOTIMPL; }
  virtual HRESULT Reserved6() { return E_NOTIMPL; }
  // Slot 7: binds the object to the endpoint `deviceId`.
  virtual HRESULT Initialize(LPCWSTR deviceId) = 0;
  virtual HRESULT SetBssMode(DWORD mode) = 0;
  virtual HRESULT GetBssMode(DWORD* mode) = 0;
  virtual HRESULT ClearBss(DWORD value) = 0;
};

// Reached by QueryInterface on an IRtkBssApi object.
class IRtkBssApi2 : public IUnknown {
public:
  // Slot 3: whether the third generation of the software serves the bound endpoint.
  virtual HRESULT IsGen3Supported(BOOL* supported) = 0;
};

}  // namespace Platform
