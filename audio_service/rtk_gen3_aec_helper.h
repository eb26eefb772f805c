// RtkGen3AECHelper: sets the echo-cancellation (BSS) mode of Realtek endpoints when their
// properties ask for it.
//
// It watches two properties of the endpoints' effects store through Core Audio. When
// PKEY_RtkBssEnable becomes a non-zero number, a task on the system thread pool sets the endpoint's
// mode through Realtek's RtkBssApi object (SetRtkBSSMode); when PKEY_RtkBssReset becomes 0, a task
// clears it. Only the third generation of that software is served; where the object is missing, a
// task logs one line and does nothing more. The notification callback only reads the property and
// launches: every firing launches a task of its own, and the waitable results are kept in launch
// order for the life of the helper. The tasks use nothing of the helper, so they may run side by
// side, on one endpoint too, and one that overruns the stop goes on after it.
//
// A COM object by shape that lives by value inside the module: its count starts at 1 and the module
// holds that reference for its whole life, so the count never reaches 0. It is free-threaded, so
// Core Audio may call it from any thread; marshaling is forwarded to the free-threaded marshaler.
// The thread that constructs it (the first caller of an export) stays initialized for COM until the
// destructor.
#pragma once

#include <atomic>
#include <future>
#include <list>

#include "platform/com.h"
#include "platform/com_ptr.h"
#include "platform/core_audio.h"
#include "platform/rtk_bss_api.h"

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
  // Acts on PKEY_RtkBssEnable and PKEY_RtkBssReset only; any other key returns at once without a
  // COM call. Reads the property from the effects store and, when it fires, launches the task for
  // it without waiting. Always S_OK. Core Audio's notification thread.
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

  // Unsubscribes and drops the enumerator, if there is one; then waits for each task ever launched,
  // in launch order, for at most one second each, and returns whether they finished or not. The
  // daemon's control thread.
  void Stop();

  // The two tasks, on a pool thread with a COM apartment of their own. Each makes a Realtek object
  // bound to `deviceId` and, if the third generation serves the endpoint, sets its mode
  // (SetRtkBSSMode) or clears it (ClearBss(0)). A failing step logs its one line at error level and
  // ends the task.
  void RunBssModeTask(Platform::LPCWSTR deviceId);
  void RunBssResetTask(Platform::LPCWSTR deviceId);

  // Sets the mode of the endpoint `deviceId` through `api` (borrowed, bound to it): on an endpoint
  // whose upper-cased hardware id holds one of the Realtek filter's ids, mode 0 or 4 becomes 3;
  // elsewhere mode 0 becomes 1; every other mode is left. A failing step logs its one line at error
  // level and ends the call. The calling pool thread.
  void SetRtkBSSMode(Platform::IRtkBssApi* api, Platform::LPCWSTR deviceId);

  // The enumerator of the subscription, or null; borrowed.
  Platform::IMMDeviceEnumerator* Enumerator() const { return m_enumerator.Get(); }

private:
  std::atomic<Platform::ULONG> m_refCount{1};
  Platform::ComPtr<Platform::IUnknown> m_marshalerOwner;
  Platform::IMarshal* m_marshaler = nullptr;
  // Owned; used for the subscription only.
  Platform::ComPtr<Platform::IMMDeviceEnumerator> m_enumerator;
  // One waitable result for each task ever launched, in launch order; entries leave only with the
  // helper. Appended on the notification thread and walked by Stop after it has unsubscribed: that
  // order is the only protection.
  std::list<std::future<void>> m_tasks;
  Platform::HRESULT m_comInit;
};
