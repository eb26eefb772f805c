// The product's audio processing service, a COM object of the product's other files.
//
// Three of its operations are called, by position; the other slots keep their places in the tables,
// are never called, and answer E_NOTIMPL in objects of this project. The two inner interfaces are
// only reached through out parameters.
#pragma once

#include "platform/com.h"

namespace Platform {

inline constexpr CLSID CLSID_AudioProcessingManager = {
    0xCEB2EB91, 0x798D, 0x11E5, {0xA8, 0x37, 0x08, 0x00, 0x20, 0x0C, 0x9A, 0x66}};
inline constexpr IID IID_IAudioProcessingManager = {
    0xCEB2EB90, 0x798D, 0x11E5, {0xA8, 0x37, 0x08, 0x00, 0x20, 0x0C, 0x9A, 0x66}};

// One parameter of the service.
class IAudioParameter : public IUnknown {
public:
  virtual HRESULT Reserved3() { return E_NOTIMPL; }
  virtual HRESULT Reserved4() { return E_NOTIMPL; }
  virtual HRESULT Reserved5() { return E_NOTIMPL; }
  virtual HRESULT Reserved6() { return E_NOTIMPL; }
  virtual HRESULT Reserved7() { return E_NOTIMPL; }
  virtual HRESULT Reserved8() { return E_NOTIMPL; }
  virtual HRESULT Reserved9() { return E_NOTIMPL; }
  virtual HRESULT Reserved10() { return E_NOTIMPL; }
  virtual HRESULT Reserved11() { return E_NOTIMPL; }
  virtual HRESULT Reserved12() { return E_NOTIMPL; }
  virtual HRESULT Reserved13() { return E_NOTIMPL; }
  virtual HRESULT Reserved14() { return E_NOTIMPL; }
  virtual HRESULT Reserved15() { return E_NOTIMPL; }
  virtual HRESULT Reserved16() { return E_NOTIMPL; }
  virtual HRESULT Reserved17() { return E_NOTIMPL; }
  virtual HRESULT Reserved18() { return E_NOTIMPL; }
  virtual HRESULT Reserved19() { return E_NOTIMPL; }
  virtual HRESULT Reserved20() { return E_NOTIMPL; }
  virtual HRESULT Reserved21() { return E_NOTIMPL; }
  virtual HRESULT Reserved22() { return E_NOTIMPL; }
  virtual HRESULT Reserved23() { return E_NOTIMPL; }
  virtual HRESULT Reserved24() { return E_NOTIMPL; }
  // Slot 25.
  virtual HRESULT SetValue(DWORD value) = 0;
};

// The parameters of the service, by number.
class IAudioParameterSet : public IUnknown {
public:
  virtual HRESULT Reserved3() { return E_NOTIMPL; }
  virtual HRESULT Reserved4() { return E_NOTIMPL; }
  virtual HRESULT Reserved5() { return E_NOTIMPL; }
  virtual HRESULT Reserved6() { return E_NOTIMPL; }
  virtual HRESULT Reserved7() { return E_NOTIMPL; }
  virtual HRESULT Reserved8() { return E_NOTIMPL; }
  // Slot 9.
  virtual HRESULT GetParameter(DWORD number, IAudioParameter** parameter) = 0;
};

class IAudioProcessingManager : public IUnknown {
public:
  virtual HRESULT Reserved3() { return E_NOTIMPL; }
  virtual HRESULT Reserved4() { return E_NOTIMPL; }
  virtual HRESULT Reserved5() { return E_NOTIMPL; }
  virtual HRESULT Reserved6() { return E_NOTIMPL; }
  virtual HRESULT Reserved7() { return E_NOTIMPL; }
  virtual HRESULT Reserved8() { return E_NOTIMPL; }
  virtual HRESULT Reserved9() { return E_NOTIMPL; }
  virtual HRESULT Reserved10() { return E_NOTIMPL; }
  virtual HRESULT Reserved11() { return E_NOTIMPL; }
  virtual HRESULT Reserved12() { return E_NOTIMPL; }
  virtual HRESULT Reserved13() { return E_NOTIMPL; }
  virtual HRESULT Reserved14() { return E_NOTIMPL; }
  virtual HRESULT Reserved15() { return E_NOTIMPL; }
  virtual HRESULT Reserved16() { return E_NOTIMPL; }
  virtual HRESULT Reserved17() { return E_NOTIMPL; }
  virtual HRESULT Reserved18() { return E_NOTIMPL; }
  virtual HRESULT Reserved19() { return E_NOTIMPL; }
  // Slot 20.
  virtual HRESULT GetParameterSet(IAudioParameterSet** parameterSet) = 0;
};

}  // namespace Platform
