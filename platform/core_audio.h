// The Core Audio interfaces the system calls, declared with their IIDs, CLSIDs and the slot order
// of the real ones, and the numbers that go with them.
//
// On Windows these are the system's objects; on Linux (and in tests on both platforms) the
// simulated audio system stands in for them through the process class table.
#pragma once

#include "platform/com.h"
#include "platform/prop_variant.h"

namespace Platform {

enum EDataFlow : std::int32_t { eRender = 0, eCapture = 1, eAll = 2 };
enum ERole : std::int32_t { eConsole = 0, eMultimedia = 1, eCommunications = 2 };

// Endpoint states, one bit each, and the mask of all of them.
constexpr DWORD DEVICE_STATE_ACTIVE = 0x1;
constexpr DWORD DEVICE_STATE_DISABLED = 0x2;
constexpr DWORD DEVICE_STATE_NOTPRESENT = 0x4;
constexpr DWORD DEVICE_STATE_UNPLUGGED = 0x8;
constexpr DWORD DEVICE_STATEMASK_ALL = 0xF;

// Access modes of OpenPropertyStore.
constexpr DWORD STGM_READ = 0x0;
constexpr DWORD STGM_WRITE = 0x1;
constexpr DWORD STGM_READWRITE = 0x2;

constexpr HRESULT STG_E_ACCESSDENIED = static_cast<HRESULT>(0x80030005u);
// The "element not found" of Core Audio: HRESULT_FROM_WIN32(ERROR_NOT_FOUND).
constexpr HRESULT E_NOTFOUND = static_cast<HRESULT>(0x80070490u);

inline constexpr CLSID CLSID_MMDeviceEnumerator = {
    0xBCDE0395, 0xE52F, 0x467C, {0x8E, 0x3D, 0xC4, 0x57, 0x92, 0x91, 0x69, 0x2E}};
inline constexpr IID IID_IMMDeviceEnumerator = {
    0xA95664D2, 0x9614, 0x4F35, {0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6}};
inline constexpr IID IID_IMMDeviceCollection = {
    0x0BD7A1BE, 0x7A1A, 0x44DB, {0x83, 0x97, 0xCC, 0x53, 0x92, 0x38, 0x7B, 0x5E}};
inline constexpr IID IID_IMMDevice = {0xD666063F, 0x1587, 0x4E43, {0x81, 0xF1, 0xB9, 0x48, 0xE8, 0x07, 0x36, 0x3F}};
inline constexpr IID IID_IPropertyStore = {
    0x886D8EEB, 0x8CF2, 0x4446, {0x8D, 0x02, 0xCD, 0xBA, 0x1D, 0xBD, 0xCF, 0x99}};
inline constexpr IID IID_IMMNotificationClient = {
    0x7991EEC9, 0x7E89, 0x4D85, {0x83, 0x90, 0x6C, 0x70, 0x3C, 0xEC, 0x60, 0xC0}};

// The endpoint's hardware (device instance) id string.
inline constexpr PROPERTYKEY PKEY_Device_InstanceId = {
    {0xB3F8FA53, 0x0004, 0x438E, {0x90, 0x03, 0x51, 0xA4, 0x6E, 0x13, 0x9B, 0xFC}}, 2};
// The endpoint's name as people see it.
inline constexpr PROPERTYKEY PKEY_Device_FriendlyName = {
    {0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}}, 14};

// The properties of one object, by key.
class IPropertyStore : public IUnknown {
public:
  virtual HRESULT GetCount(DWORD* count) = 0;
  virtual HRESULT GetAt(DWORD index, PROPERTYKEY* key) = 0;
  // A property that the store lacks comes back as VT_EMPTY with S_OK.
  virtual HRESULT GetValue(REFPROPERTYKEY key, PROPVARIANT* value) = 0;
  virtual HRESULT SetValue(REFPROPERTYKEY key, const PROPVARIANT& value) = 0;
  virtual HRESULT Commit() = 0;
};

// Receives endpoint events from Core Audio, on its notification threads.
class IMMNotificationClient : public IUnknown {
public:
  virtual HRESULT OnDeviceStateChanged(LPCWSTR deviceId, DWORD newState) = 0;
  virtual HRESULT OnDeviceAdded(LPCWSTR deviceId) = 0;
  virtual HRESULT OnDeviceRemoved(LPCWSTR deviceId) = 0;
  virtual HRESULT OnDefaultDeviceChanged(EDataFlow flow, ERole role, LPCWSTR defaultDeviceId) = 0;
  virtual HRESULT OnPropertyValueChanged(LPCWSTR deviceId, const PROPERTYKEY key) = 0;
};

// One audio endpoint.
class IMMDevice : public IUnknown {
public:
  virtual HRESULT Activate(REFIID iid, DWORD context, PROPVARIANT* activationParameters, void** object) = 0;
  virtual HRESULT OpenPropertyStore(DWORD access, IPropertyStore** store) = 0;
  // The endpoint's id string, task memory owned by the caller.
  virtual HRESULT GetId(LPWSTR* id) = 0;
  virtual HRESULT GetState(DWORD* state) = 0;
};

// A snapshot of endpoints, in index order.
class IMMDeviceCollection : public IUnknown {
public:
  virtual HRESULT GetCount(UINT* count) = 0;
  virtual HRESULT Item(UINT index, IMMDevice** device) = 0;
};

// The entry to Core Audio's endpoints and their notifications.
class IMMDeviceEnumerator : public IUnknown {
public:
  virtual HRESULT EnumAudioEndpoints(EDataFlow flow, DWORD stateMask, IMMDeviceCollection** devices) = 0;
  virtual HRESULT GetDefaultAudioEndpoint(EDataFlow flow, ERole role, IMMDevice** endpoint) = 0;
  virtual HRESULT GetDevice(LPCWSTR id, IMMDevice** device) = 0;
  virtual HRESULT RegisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
  virtual HRESULT UnregisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
};

}  // namespace Platform
