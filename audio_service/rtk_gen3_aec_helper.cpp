#include "audio_service/rtk_gen3_aec_helper.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>

#include "audio_service/hardware_id.h"
#include "audio_service/pool_task.h"
#include "foundation/error.h"
#include "foundation/heap_block.h"
#include "foundation/log.h"
#include "platform/com_ptr.h"
#include "platform/policy_config.h"
#include "platform/shell_string.h"

using namespace Platform;

namespace {

// Both live in the effects store and share a format id; the property id tells them apart.
constexpr PROPERTYKEY PKEY_RtkBssEnable = {
    {0x911DFF54, 0x0B79, 0x4E96, {0xB3, 0xDE, 0x57, 0x7F, 0x23, 0x5B, 0x61, 0x9B}}, 2};
constexpr PROPERTYKEY PKEY_RtkBssReset = {
    {0x911DFF54, 0x0B79, 0x4E96, {0xB3, 0xDE, 0x57, 0x7F, 0x23, 0x5B, 0x61, 0x9B}}, 15};

// The hardware of the filter, in the order of the search, as they appear in an upper-cased id.
constexpr const char16_t* kRealtekFilter[] = {
    u"VEN_10EC&DEV_1168", u"VEN_10EC&DEV_1220", u"VEN_10EC&DEV_1150",
    u"VID_0B05&PID_1915", u"VID_0B05&PID_1916", u"VID_0B05&PID_1917",
};

constexpr std::size_t kHardwareIdCapacity = 260;
constexpr auto kTaskWait = std::chrono::seconds(1);

// The property id first, then the format id as two 64-bit words.
bool IsKey(const PROPERTYKEY& key, const PROPERTYKEY& wanted) {
  if (key.pid != wanted.pid) return false;
  std::uint64_t words[2];
  std::uint64_t wantedWords[2];
  std::memcpy(words, &key.fmtid, sizeof(words));
  std::memcpy(wantedWords, &wanted.fmtid, sizeof(wantedWords));
  return words[0] == wantedWords[0] && words[1] == wantedWords[1];
}

// Reads `key` of the endpoint's effects store through a policy configuration client of its own.
HRESULT ReadEffectProperty(LPCWSTR deviceId, const PROPERTYKEY& key, PROPVARIANT& value) {
  ComPtr<IPolicyConfig> policy;
  const HRESULT result =
      CoCreateInstance(CLSID_PolicyConfigClient, nullptr, CLSCTX_ALL, IID_IPolicyConfig, policy.PutVoid());
  if (FAILED(result)) return result;
  return policy->GetPropertyValue(deviceId, TRUE, key, &value);
}

// DELIBERATE: the copy into the fixed buffer neither checks the length nor a null string,
// which faults.
void CopyHardwareId(char16_t (&buffer)[kHardwareIdCapacity], const char16_t* id) {
  for (std::size_t i = 0;; ++i) {
    buffer[i] = id[i];
    if (id[i] == 0) return;
  }
}

bool IsInRealtekFilter(const char16_t* upperId) {
  const std::u16string_view id(upperId);
  for (const char16_t* hardware : kRealtekFilter) {
    if (id.find(hardware) != std::u16string_view::npos) return true;
  }
  return false;
}

// The common frame of the two tasks: a COM apartment of the task's own and a Realtek object bound
// to the endpoint; `act` runs when the third generation serves it.
template <class Act>
void RunRealtekTask(LPCWSTR deviceId, Act act) {
  ComInitializeScope apartment;
  ComPtr<IRtkBssApi> api;
  if (FAILED(CoCreateInstance(CLSID_RtkBssApi, nullptr, CLSCTX_INPROC_SERVER, IID_IRtkBssApi, api.PutVoid()))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::failed to create RtkBssApi instance, Gen 1 is supported");
    return;
  }
  if (FAILED(api->Initialize(deviceId))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::failed to initialize RtkBssApi");
    return;
  }
  ComPtr<IRtkBssApi2> api2;
  if (FAILED(api->QueryInterface(IID_IRtkBssApi2, api2.PutVoid()))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::failed to query IRtkBssApi2");
    return;
  }
  BOOL supported = FALSE;
  if (FAILED(api2->IsGen3Supported(&supported))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::Gen3 is not supported");
  } else if (supported != FALSE) {
    act(api.Get());
  }
}

}  // namespace

RtkGen3AECHelper::RtkGen3AECHelper() {
  if (SUCCEEDED(CoCreateFreeThreadedMarshaler(static_cast<IMMNotificationClient*>(this), m_marshalerOwner.Put()))) {
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
  // A task still running runs this library's code: it is waited for, as a standard asynchronous
  // result is, so that the code stays while it runs.
  for (std::future<void>& task : m_tasks) task.wait();
  m_tasks.clear();
  m_enumerator.Reset();
  m_marshalerOwner.Reset();
}

void RtkGen3AECHelper::Start() {
  if (FAILED(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator,
                              m_enumerator.PutVoid()))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::Start Failed to create the MMDeviceEnumerator");
    return;
  }
  if (FAILED(m_enumerator->RegisterEndpointNotificationCallback(this))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::Start Failed to register to MMDevice notifications");
  }
}

void RtkGen3AECHelper::Stop() {
  if (m_enumerator) {
    static_cast<void>(m_enumerator->UnregisterEndpointNotificationCallback(this));
    m_enumerator.Reset();
  }
  // Each wait is measured from its own start; a task that overruns goes on after Stop.
  for (std::future<void>& task : m_tasks) static_cast<void>(task.wait_for(kTaskWait));
}

void RtkGen3AECHelper::RunBssModeTask(LPCWSTR deviceId) {
  RunRealtekTask(deviceId, [&](IRtkBssApi* api) { SetRtkBSSMode(api, deviceId); });
}

void RtkGen3AECHelper::RunBssResetTask(LPCWSTR deviceId) {
  RunRealtekTask(deviceId, [](IRtkBssApi* api) { static_cast<void>(api->ClearBss(0)); });
}

void RtkGen3AECHelper::SetRtkBSSMode(IRtkBssApi* api, LPCWSTR deviceId) {
  ComPtr<IMMDeviceEnumerator> enumerator;
  if (FAILED(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator,
                              enumerator.PutVoid()))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::SetRtkBSSMode - Failed to create the MMDeviceEnumerator");
    return;
  }
  ComPtr<IMMDevice> device;
  LPWSTR hardwareId = nullptr;
  if (FAILED(enumerator->GetDevice(deviceId, device.Put()))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::SetRtkBSSMode - GetDevice->failed");
  } else if (FAILED(GetHWID(device.Get(), &hardwareId))) {
    LogWrite(LogLevelError, kLogTag, u"RtkGen3AECHelper::SetRtkBSSMode - GetHWID->failed");
  } else {
    // DELIBERATE: a hardware id that GetHWID gave as no string (an empty property) is not
    // looked for before the copy.
    char16_t upperId[kHardwareIdCapacity];
    CopyHardwareId(upperId, hardwareId);
    FreeBlock(hardwareId);
    CharUpperW(upperId);
    const bool inFilter = IsInRealtekFilter(upperId);
    DWORD mode = 0;
    static_cast<void>(api->GetBssMode(&mode));
    if (inFilter) {
      if ((mode & ~DWORD{4}) == 0) static_cast<void>(api->SetBssMode(3));
    } else if (mode == 0) {
      static_cast<void>(api->SetBssMode(1));
    }
  }
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
HRESULT RtkGen3AECHelper::OnPropertyValueChanged(LPCWSTR deviceId, const PROPERTYKEY key) {
  const bool enable = IsKey(key, PKEY_RtkBssEnable);
  if (!enable && !IsKey(key, PKEY_RtkBssReset)) return S_OK;
  ComInitializeScope apartment;
  PROPVARIANT value{};
  // The result is not looked at: a failed read leaves the value empty, which never fires.
  if (enable) {
    if (deviceId != nullptr) static_cast<void>(ReadEffectProperty(deviceId, key, value));
  } else {
    static_cast<void>(deviceId != nullptr ? ReadEffectProperty(deviceId, key, value) : E_POINTER);
  }
  // For the reset a value of another type counts as 1, so it does not fire either.
  const bool fires = value.vt == VT_UI4 && (enable ? value.ulVal != 0 : value.ulVal == 0);
  PropVariantClear(&value);
  if (fires) {
    try {
      std::u16string id(deviceId);
      if (enable) {
        m_tasks.push_back(LaunchPoolTask([this, id] { RunBssModeTask(id.c_str()); }));
      } else {
        m_tasks.push_back(LaunchPoolTask([this, id] { RunBssResetTask(id.c_str()); }));
      }
    } catch (const std::exception& e) {
      static_cast<void>(RaiseStlException("RtkGen3AECHelper::OnPropertyValueChanged", e.what()));
    }
  }
  return S_OK;
}

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
