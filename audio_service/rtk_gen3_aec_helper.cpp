#include "audio_service/rtk_gen3_aec_helper.h"

#include "foundation/log.h"

using namespace Platform;

RtkGen3AECHelper::RtkGen3AECHelper() {
  if (SUCCEEDED(CoCreateFreeThreadedMarshaler(static_cast<IMMNotificationClient*>(this), &m_marshalerOwner))) {
    void* marshaler = nullptr;
    if (SUCCEEDED(m_marshalerOwner->QueryInterface(IID_IMarshal, &marshaler))) {
      m_marshaler = static_cast<IMarshal*>(marshaler);
      // The marshaler is aggregated: its interface counts on this object, not on the marshaler.
      Release();
    }
  }
  m_comInit = CoInitialize(nullptr);
}

RtkGen3AECHelper::~RtkGen3AECHelper() {
  if (SUCCEEDED(m_comInit)) CoUninitialize();
  if (m_enumerator != nullptr) m_enumerator->Release();
  if (m_marshalerOwner != nullptr) m_marshalerOwner->Release();
}

void RtkGen3AECHelper::Start() {
  if (m_enumerator != nullptr) {
    m_enumerator->Release();
    m_enumerator = nullptr;
  }
  void* enumerator = nullptr;
  if (FAILED(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator,
                              &enumerator))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::Start Failed to create the MMDeviceEnumerator");
    return;
  }
  m_enumerator = static_cast<IMMDeviceEnumerator*>(enumerator);
  if (FAILED(m_enumerator->RegisterEndpointNotificationCallback(this))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::Start Failed to register to MMDevice notifications");
  }
}

void RtkGen3AECHelper::Stop() {
  if (m_enumerator == nullptr) return;
  static_cast<void>(m_enumerator->UnregisterEndpointNotificationCallback(this));
  m_enumerator->Release();
  m_enumerator = nullptr;
}

HRESULT RtkGen3AECHelper::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  if (iid == IID_IUnknown || iid == IID_IAgileObject || iid == IID_IMMNotificationClient) {
    *object = static_cast<IMMNotificationClient*>(this);
  } else if (iid == IID_IMarshal) {
    *object = static_cast<IMarshal*>(this);
  } else {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG RtkGen3AECHelper::AddRef() { return ++m_refCount; }

ULONG RtkGen3AECHelper::Release() { return --m_refCount; }

HRESULT RtkGen3AECHelper::OnDeviceStateChanged(LPCWSTR, DWORD) { return S_OK; }
HRESULT RtkGen3AECHelper::OnDeviceAdded(LPCWSTR) { return S_OK; }
HRESULT RtkGen3AECHelper::OnDeviceRemoved(LPCWSTR) { return S_OK; }
HRESULT RtkGen3AECHelper::OnDefaultDeviceChanged(EDataFlow, ERole, LPCWSTR) { return S_OK; }
HRESULT RtkGen3AECHelper::OnPropertyValueChanged(LPCWSTR, const PROPERTYKEY) { return S_OK; }

HRESULT RtkGen3AECHelper::GetUnmarshalClass(REFIID iid, void* object, DWORD destinationContext, void* reserved,
                                            DWORD flags, CLSID* clsid) {
  if (m_marshaler == nullptr) return E_OUTOFMEMORY;
  return m_marshaler->GetUnmarshalClass(iid, object, destinationContext, reserved, flags, clsid);
}

HRESULT RtkGen3AECHelper::GetMarshalSizeMax(REFIID iid, void* object, DWORD destinationContext, void* reserved,
                                            DWORD flags, DWORD* size) {
  if (m_marshaler == nullptr) return E_OUTOFMEMORY;
  return m_marshaler->GetMarshalSizeMax(iid, object, destinationContext, reserved, flags, size);
}

HRESULT RtkGen3AECHelper::MarshalInterface(IStream* stream, REFIID iid, void* object, DWORD destinationContext,
                                           void* reserved, DWORD flags) {
  if (m_marshaler == nullptr) return E_OUTOFMEMORY;
  return m_marshaler->MarshalInterface(stream, iid, object, destinationContext, reserved, flags);
}

HRESULT RtkGen3AECHelper::UnmarshalInterface(IStream* stream, REFIID iid, void** object) {
  if (m_marshaler == nullptr) return E_OUTOFMEMORY;
  return m_marshaler->UnmarshalInterface(stream, iid, object);
}

HRESULT RtkGen3AECHelper::ReleaseMarshalData(IStream* stream) {
  if (m_marshaler == nullptr) return E_OUTOFMEMORY;
  return m_marshaler->ReleaseMarshalData(stream);
}

HRESULT RtkGen3AECHelper::DisconnectObject(DWORD reserved) {
  if (m_marshaler == nullptr) return E_OUTOFMEMORY;
  return m_marshaler->DisconnectObject(reserved);
}
