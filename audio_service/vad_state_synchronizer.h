// VADStateSynchronizer: keeps the visibility of the product's virtual audio device (the VAD) and the
// routing value bVacRoutingState in step, in both directions. When the value changes, the VAD's
// endpoints are shown or hidden to match; when a VAD endpoint changes state by other means, all VAD
// endpoints follow it and the value is written back. Each direction is a pipeline that folds a burst
// of notifications into one endpoint scan, 200 ms after the last.
//
// A COM object by shape that lives by value inside the module, with a count that starts at 1 and
// never reaches 0. Start and Stop run on the daemon's control thread; OnDeviceStateChanged comes on
// Core Audio's notification threads and OnValueChange on the data system's scanning thread, inside
// the tree's lock; both only test and publish. The scans run on the pipelines' two worker threads,
// which live until the process ends. The class has no lock of its own: its members are set before
// the pipelines exist and cleared by Stop without waiting for the workers.
#pragma once

#include <atomic>

#include "data_system/store.h"
#include "data_system/value.h"
#include "platform/com_ptr.h"
#include "platform/core_audio.h"
#include "reactive/subject.h"

class VADStateSynchronizer final : public Platform::IMMNotificationClient, public DataSystem::IStoreMonitor {
public:
  VADStateSynchronizer() = default;
  ~VADStateSynchronizer() override;
  VADStateSynchronizer(const VADStateSynchronizer&) = delete;
  VADStateSynchronizer& operator=(const VADStateSynchronizer&) = delete;

  // Opens the routing data system, watches bVacRoutingState and the endpoints, builds the two
  // pipelines and brings the endpoints in step with the value once. A failure of the data system
  // steps ends Start with a trace line; a failed subscription to endpoint notifications, or a failed
  // Item of the first scan, is thrown as a wil::ResultException (the monitor stays registered).
  void Start();
  // Unsubscribes both notifications and gives up the data system. The pipelines stay: a value
  // already waiting in a debounce is still delivered.
  void Stop();
  // Shows (true) or hides the VAD endpoints that are in the opposite state. Returns S_OK, or the
  // failure of EnumAudioEndpoints or GetCount; a failed Item is thrown as a wil::ResultException.
  // Any thread; each call initializes COM on its thread for its length.
  Platform::HRESULT SetVadVisibility(bool show);

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

  void OnValueChange(DataSystem::IValue* value, DataSystem::CNotificationCompletionList* completionList) override;
  void OnItemInsert(DataSystem::IItem* item, DataSystem::CNotificationCompletionList* completionList) override;
  void OnItemErase(DataSystem::IItem* item, DataSystem::CNotificationCompletionList* completionList) override;

private:
  // The current routing value; false when it cannot be read as a bool.
  bool ReadRoutingState();

  std::atomic<Platform::ULONG> m_refCount{1};
  // Owned reference; null until Start reaches it and after Stop.
  Platform::ComPtr<Platform::IMMDeviceEnumerator> m_enumerator;
  // One reference owned while started.
  Platform::ComPtr<DataSystem::IDataSystem> m_dataSystem;
  // No references: valid while m_dataSystem is held.
  DataSystem::IStore* m_profilesStore = nullptr;
  DataSystem::IValue* m_routingValue = nullptr;
  // The state last reported for a VAD endpoint (true: active), and the routing value.
  Reactive::subject<bool> m_deviceStateSubject{Reactive::composite_subscription()};
  Reactive::subject<bool> m_routingStateSubject{Reactive::composite_subscription()};
};
