#include "audio_service/vad_state_synchronizer.h"

#include <chrono>
#include <cstring>
#include <utility>

#include "audio_service/device_routing_data_system.h"
#include "audio_service/hardware_id.h"
#include "data_system/interface_ids.h"
#include "foundation/log.h"
#include "foundation/result_check.h"
#include "platform/com.h"
#include "platform/policy_config.h"
#include "platform/shell_string.h"
#include "reactive/coordination.h"

using namespace Platform;

namespace {

constexpr const char* kSource = "vadstatesynchronizer";
constexpr auto kDebounce = std::chrono::milliseconds(200);

// The interface `iid` of `item` as `I`; a missing one is reported as the store's lookup does.
template <class I>
ErrorCode InterfaceFromItem(DataSystem::IItem* item, const Common::GUID& iid, I** result) {
  *result = static_cast<I*>(item->GetInterface(&iid));
  if (*result != nullptr) return ErrorNone;
  return RaiseError("DataSystem::IStore::GetInterfaceFromItem", ErrorNotSupported, u"No such interface");
}

// Whether the endpoint's hardware id names the VAD. DELIBERATE: the id string is left behind, one
// string for each call, as every caller but the Realtek helper leaves it.
bool IsVadEndpoint(IMMDevice* device) {
  LPWSTR hardwareId = nullptr;
  if (FAILED(GetHWID(device, &hardwareId)) || hardwareId == nullptr) return false;
  return StrStrIW(hardwareId, kVadHardwareIdMarker) != nullptr;
}

}  // namespace

VADStateSynchronizer::~VADStateSynchronizer() {
  m_dataSystem.Reset();
  m_enumerator.Reset();
}

void VADStateSynchronizer::Start() {
  ComPtr<DataSystem::IDataSystem> dataSystem;
  const char* failure = nullptr;
  DataSystem::IItem* item = nullptr;
  const DataSystem::ItemPathStep profilesStep{DeviceRouting::ProfilesModel().GetGuid(), DataSystem::kNoIndex, nullptr};
  const DataSystem::ItemPathStep routingStep{DeviceRouting::VacRoutingStateModel().GetGuid(), DataSystem::kNoIndex,
                                             nullptr};
  DataSystem::IStore* store = nullptr;
  if (DeviceRouting::CreateDeviceRoutingDataSystem(dataSystem.Put(), 0, DataSystem::ProductDesc{}, nullptr, nullptr) !=
      ErrorNone) {
    failure = "VADStateSynchronizer::Start failed to create the DeviceRouting DataSystem";
  } else if (dataSystem->GetItem(&profilesStep, &item) != ErrorNone ||
             InterfaceFromItem(item, DataSystem::IID_IStore, &store) != ErrorNone) {
    failure = "VADStateSynchronizer::Start failed to open the DeviceRouting DataSystem store: Profiles";
  } else if (store->GetItem(&routingStep, &item) != ErrorNone ||
             InterfaceFromItem(item, DataSystem::IID_IValue, &m_routingValue) != ErrorNone) {
    failure = "VADStateSynchronizer::Start failed to open the DeviceRouting DataSystem value: bVacRoutingState";
  } else if (store->RegisterMonitor(static_cast<DataSystem::IStoreMonitor*>(this), DataSystem::MONITOR_DIRECT) !=
             ErrorNone) {
    failure = "VADStateSynchronizer::Start failed to register as DeviceRouting DataSystem monitor";
  }
  if (failure != nullptr) {
    LogWriteA(LogLevelTrace, kLogTag, "%s", failure);
    return;
  }
  m_profilesStore = store;
  m_dataSystem = std::move(dataSystem);

  // DELIBERATE: the creation's result is not looked at; a failure faults in the next step.
  static_cast<void>(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator,
                                     m_enumerator.PutVoid()));
  wil::ThrowIfFailed(m_enumerator->RegisterEndpointNotificationCallback(this), kSource, __LINE__);

  const Reactive::coordination& workers = Reactive::observe_on_new_thread();
  // The subscriptions are not kept: the pipelines live as long as their subjects.
  static_cast<void>(m_deviceStateSubject.get_observable().debounce(kDebounce, workers).subscribe([this](bool show) {
    static_cast<void>(SetVadVisibility(show));
    auto* value = static_cast<DataSystem::IValueT<bool>*>(m_routingValue->GetInterface(&DataSystem::IID_IValueBool));
    if (value != nullptr) static_cast<void>(value->Set(&show));
  }));
  static_cast<void>(m_routingStateSubject.get_observable().debounce(kDebounce, workers).subscribe([this](bool show) {
    static_cast<void>(SetVadVisibility(show));
  }));

  static_cast<void>(SetVadVisibility(ReadRoutingState()));
}

void VADStateSynchronizer::Stop() {
  // DELIBERATE: no test of the members. After a failed Start they are null, and this faults here.
  m_enumerator->UnregisterEndpointNotificationCallback(this);
  m_enumerator.Reset();
  static_cast<void>(m_profilesStore->UnregisterMonitor(static_cast<DataSystem::IStoreMonitor*>(this)));
  m_routingValue = nullptr;
  m_profilesStore = nullptr;
  m_dataSystem.Reset();
}

bool VADStateSynchronizer::ReadRoutingState() {
  auto* value = static_cast<DataSystem::IValueT<bool>*>(m_routingValue->GetInterface(&DataSystem::IID_IValueBool));
  if (value == nullptr) return false;
  unsigned char stored;
  std::memcpy(&stored, value->Get(), 1);
  return stored != 0;
}

HRESULT VADStateSynchronizer::SetVadVisibility(bool show) {
  const HRESULT initialized = CoInitialize(nullptr);
  IMMDeviceCollection* collection = nullptr;
  // DELIBERATE: no test of the enumerator; after Stop a delivery that was still waiting faults here.
  HRESULT result = wil::ReturnIfFailed(
      m_enumerator->EnumAudioEndpoints(eAll, show ? DEVICE_STATE_DISABLED : DEVICE_STATE_ACTIVE, &collection), kSource,
      __LINE__);
  UINT count = 0;
  if (SUCCEEDED(result)) result = wil::ReturnIfFailed(collection->GetCount(&count), kSource, __LINE__);
  if (SUCCEEDED(result)) {
    // 0 hides, all ones shows: that exact word goes out.
    const auto visible = static_cast<BOOL>((static_cast<std::uint32_t>(show) ^ 1u) - 1u);
    for (UINT index = 0; index < count; ++index) {
      ComPtr<IMMDevice> device;
      // DELIBERATE: a failed Item leaves the scan by an exception, with the collection and the COM
      // apartment of this thread left as they are (neither is held by an owner for that reason).
      wil::ThrowIfFailed(collection->Item(index, device.Put()), kSource, __LINE__);
      if (!device) continue;
      LPWSTR id = nullptr;
      if (IsVadEndpoint(device.Get()) && SUCCEEDED(device->GetId(&id))) {
        ComPtr<IPolicyConfig> policy;
        if (SUCCEEDED(
                CoCreateInstance(CLSID_PolicyConfigClient, nullptr, CLSCTX_ALL, IID_IPolicyConfig, policy.PutVoid()))) {
          static_cast<void>(policy->SetEndpointVisibility(id, visible));
        }
        CoTaskMemFree(id);
      }
    }
    result = S_OK;
  }
  if (collection != nullptr) collection->Release();
  if (initialized >= 0) CoUninitialize();
  return result;
}

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

HRESULT VADStateSynchronizer::OnDeviceStateChanged(LPCWSTR deviceId, DWORD newState) {
  ComPtr<IMMDevice> device;
  if (FAILED(m_enumerator->GetDevice(deviceId, device.Put()))) return S_OK;
  const bool isVad = IsVadEndpoint(device.Get());
  device.Reset();
  if (!isVad) return S_OK;
  // Active alone counts as shown; disabled, absent and unplugged all count as hidden.
  const bool active = (newState & DEVICE_STATE_ACTIVE) != 0;
  auto subscriber = m_deviceStateSubject.get_subscriber();
  if (subscriber.is_subscribed()) subscriber.on_next(active);
  return S_OK;
}

HRESULT VADStateSynchronizer::OnDeviceAdded(LPCWSTR) { return S_OK; }
HRESULT VADStateSynchronizer::OnDeviceRemoved(LPCWSTR) { return S_OK; }
HRESULT VADStateSynchronizer::OnDefaultDeviceChanged(EDataFlow, ERole, LPCWSTR) { return S_OK; }
HRESULT VADStateSynchronizer::OnPropertyValueChanged(LPCWSTR, const PROPERTYKEY) { return S_OK; }

void VADStateSynchronizer::OnValueChange(DataSystem::IValue* value, DataSystem::CNotificationCompletionList*) {
  // bVacAppRoutingState of every Profile shares the id, and its change publishes the routing
  // value again: the two are not told apart.
  std::uint64_t changed[2], routing[2];
  std::memcpy(changed, value->GetModelGuid(), sizeof changed);
  std::memcpy(routing, DeviceRouting::VacRoutingStateModel().GetGuid(), sizeof routing);
  if (changed[0] != routing[0] || changed[1] != routing[1]) return;
  const bool state = ReadRoutingState();
  auto subscriber = m_routingStateSubject.get_subscriber();
  if (subscriber.is_subscribed()) subscriber.on_next(state);
}

void VADStateSynchronizer::OnItemInsert(DataSystem::IItem*, DataSystem::CNotificationCompletionList*) {}
void VADStateSynchronizer::OnItemErase(DataSystem::IItem*, DataSystem::CNotificationCompletionList*) {}
