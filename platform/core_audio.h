// The Core Audio interfaces the system calls, declared with their IIDs and the slot order of the
// real ones.
#pragma once

#include "platform/com.h"

namespace Platform {

struct PROPERTYKEY {
  GUID fmtid;
  DWORD pid;
};

enum EDataFlow : std::int32_t { eRender = 0, eCapture = 1, eAll = 2 };
enum ERole : std::int32_t { eConsole = 0, eMultimedia = 1, eCommunications = 2 };

inline constexpr IID IID_IMMNotificationClient = {0x7991EEC9, 0x7E89, 0x4D85, {0x83, 0x90, 0x6C, 0x70, 0x3C, 0xEC, 0x60, 0xC0}};

// Receives endpoint events from Core Audio, on its notification threads.
class IMMNotificationClient : public IUnknown {
public:
  virtual HRESULT OnDeviceStateChanged(LPCWSTR deviceId, DWORD newState) = 0;
  virtual HRESULT OnDeviceAdded(LPCWSTR deviceId) = 0;
  virtual HRESULT OnDeviceRemoved(LPCWSTR deviceId) = 0;
  virtual HRESULT OnDefaultDeviceChanged(EDataFlow flow, ERole role, LPCWSTR defaultDeviceId) = 0;
  virtual HRESULT OnPropertyValueChanged(LPCWSTR deviceId, const PROPERTYKEY key) = 0;
};

}  // namespace Platform
