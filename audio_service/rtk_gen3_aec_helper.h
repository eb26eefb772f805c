// RtkGen3AECHelper: sets the echo-cancellation mode of Realtek endpoints when their properties ask
// for it.
//
// A COM object by shape that lives by value inside the module: its count starts at 1 and the module
// holds that reference for its whole life, so the count never reaches 0. It is free-threaded, so
// Core Audio may call it from any thread; marshaling is forwarded to the free-threaded marshaler.
// The thread that constructs it (the first caller of an export) stays initialised for COM until the
// destructor.
#pragma once

#include <atomic>

#include "platform/com.h"
#include "platform/core_audio.h"

class RtkGen3AECHelper final : public Platform::IMMNotificationClient, public Platform::IMarshal {
public:
  RtkGen3AECHelper();
  ~RtkGen3AECHelper();
  RtkGen3AECHelper(const RtkGen3AECHelper&) = delete;
  RtkGen3AECHelper& operator=(const RtkGen3AECHelper&) = delete;

  // IUnknown, IAgileObject, IMarshal and IMMNotificationClient; E_NOINTERFACE otherwise.
  Platform::HRESULT QueryInterface(Platform::REFIID iid, void** object) override;
  Platform::ULONG AddRef() override;
  Platform::ULONG Release() override;

  Platform::HRESULT OnDeviceStateChanged(Platform::LPCWSTR deviceId, Platform::DWORD newState) override;
  Platform::HRESULT OnDeviceAdded(Platform::LPCWSTR deviceId) override;
  Platform::HRESULT OnDeviceRemoved(Platform::LPCWSTR deviceId) override;
  Platform::HRESULT OnDefaultDeviceChanged(Platform::EDataFlow flow, Platform::ERole role,
                                           Platform::LPCWSTR defaultDeviceId) override;
  Platform::HRESULT OnPropertyValueChanged(Platform::LPCWSTR deviceId, const Platform::PROPERTYKEY key) override;

  // Forwarded to the free-threaded marshaler; E_OUTOFMEMORY when none could be made.
  Platform::HRESULT GetUnmarshalClass(Platform::REFIID iid, void* object, Platform::DWORD destinationContext,
                                      void* reserved, Platform::DWORD flags, Platform::CLSID* clsid) override;
  Platform::HRESULT GetMarshalSizeMax(Platform::REFIID iid, void* object, Platform::DWORD destinationContext,
                                      void* reserved, Platform::DWORD flags, Platform::DWORD* size) override;
  Platform::HRESULT MarshalInterface(Platform::IStream* stream, Platform::REFIID iid, void* object,
                                     Platform::DWORD destinationContext, void* reserved,
                                     Platform::DWORD flags) override;
  Platform::HRESULT UnmarshalInterface(Platform::IStream* stream, Platform::REFIID iid, void** object) override;
  Platform::HRESULT ReleaseMarshalData(Platform::IStream* stream) override;
  Platform::HRESULT DisconnectObject(Platform::DWORD reserved) override;

  // The module's start steps for this helper: drops an enumerator left from an earlier start,
  // creates a new one and subscribes this object to its notifications. A failure is logged at error
  // level and leaves the helper unsubscribed; the enumerator stays when only the subscription
  // failed. The daemon's control thread.
  void Start();

  // Unsubscribes and drops the enumerator, if there is one. The daemon's control thread.
  void Stop();

  // The enumerator of the subscription, or null; borrowed.
  Platform::IMMDeviceEnumerator* Enumerator() const { return m_enumerator; }

private:
  std::atomic<Platform::ULONG> m_refCount{1};
  Platform::IUnknown* m_marshalerOwner = nullptr;
  Platform::IMarshal* m_marshaler = nullptr;
  // Owned; used for the subscription only.
  Platform::IMMDeviceEnumerator* m_enumerator = nullptr;
  Platform::HRESULT m_comInit;
};
