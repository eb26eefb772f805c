#include "audio_service/vad_state_synchronizer.h"

using namespace Platform;

HRESULT VADStateSynchronizer::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  if (iid == IID_IUnknown || iid == IID_IMMNotificationClient) {
    *object = static_cast<IMMNotificationClient*>(this);
    AddRef();
    return S_OK;
  }
  *object = nullptr;
  return E_NOINTERFACE;
}

ULONG VADStateSynchronizer::AddRef() { return ++m_refCount; }

ULONG VADStateSynchronizer::Release() { return --m_refCount; }

HRESULT VADStateSynchronizer::OnDeviceStateChanged(LPCWSTR, DWORD) { return S_OK; }
HRESULT VADStateSynchronizer::OnDeviceAdded(LPCWSTR) { return S_OK; }
HRESULT VADStateSynchronizer::OnDeviceRemoved(LPCWSTR) { return S_OK; }
HRESULT VADStateSynchronizer::OnDefaultDeviceChanged(EDataFlow, ERole, LPCWSTR) { return S_OK; }
HRESULT VADStateSynchronizer::OnPropertyValueChanged(LPCWSTR, const PROPERTYKEY) { return S_OK; }
