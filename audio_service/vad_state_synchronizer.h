// VADStateSynchronizer: keeps the visibility of the product's virtual audio device and the routing
// value in step, in both directions.
//
// A COM object by shape that lives by value inside the module, with a count that starts at 1 and
// never reaches 0. Core Audio calls its notification interface on its own threads.
#pragma once

#include <atomic>

#include "platform/core_audio.h"

class VADStateSynchronizer final : public Platform::IMMNotificationClient {
public:
  VADStateSynchronizer() = default;
  VADStateSynchronizer(const VADStateSynchronizer&) = delete;
  VADStateSynchronizer& operator=(const VADStateSynchronizer&) = delete;

  // IUnknown and IMMNotificationClient; E_NOINTERFACE otherwise.
  Platform::HRESULT QueryInterface(Platform::REFIID iid, void** object) override;
  Platform::ULONG AddRef() override;
  Platform::ULONG Release() override;

  Platform::HRESULT OnDeviceStateChanged(Platform::LPCWSTR deviceId, Platform::DWORD newState) override;
  Platform::HRESULT OnDeviceAdded(Platform::LPCWSTR deviceId) override;
  Platform::HRESULT OnDeviceRemoved(Platform::LPCWSTR deviceId) override;
  Platform::HRESULT OnDefaultDeviceChanged(Platform::EDataFlow flow, Platform::ERole role,
                                           Platform::LPCWSTR defaultDeviceId) override;
  Platform::HRESULT OnPropertyValueChanged(Platform::LPCWSTR deviceId, const Platform::PROPERTYKEY key) override;

private:
  std::atomic<Platform::ULONG> m_refCount{1};
};
