// ComObject: the reference count and QueryInterface of the simulator's COM objects.
//
// An object derives from ComObject<Derived, Interfaces...>; QueryInterface answers IUnknown and the
// IID of each listed interface, and the last Release deletes the object. Counts are atomic: Core
// Audio's objects may be called from any thread.
#pragma once

#include <atomic>
#include <new>
#include <utility>

#include "platform/audio_processing.h"
#include "platform/com_ptr.h"
#include "platform/core_audio.h"
#include "platform/policy_config.h"
#include "platform/rtk_bss_api.h"

namespace Simulator {

// The IID that QueryInterface answers for an interface. The audio processing service's inner
// interfaces are only handed out through out parameters and have none of their own.
template <class Interface>
inline constexpr const Platform::IID& kInterfaceId = Platform::IID_IUnknown;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IClassFactory> = Platform::IID_IClassFactory;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IMMDeviceEnumerator> = Platform::IID_IMMDeviceEnumerator;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IMMDeviceCollection> = Platform::IID_IMMDeviceCollection;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IMMDevice> = Platform::IID_IMMDevice;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IPropertyStore> = Platform::IID_IPropertyStore;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IPolicyConfig> = Platform::IID_IPolicyConfig;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IRtkBssApi> = Platform::IID_IRtkBssApi;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IRtkBssApi2> = Platform::IID_IRtkBssApi2;
template <>
inline constexpr const Platform::IID& kInterfaceId<Platform::IAudioProcessingManager> =
    Platform::IID_IAudioProcessingManager;

template <class Derived, class First, class... Others>
class ComObject : public First, public Others... {
public:
  Platform::HRESULT QueryInterface(Platform::REFIID iid, void** object) override {
    if (object == nullptr) return Platform::E_POINTER;
    *object = nullptr;
    if (iid == Platform::IID_IUnknown) {
      *object = static_cast<Platform::IUnknown*>(static_cast<First*>(this));
    } else if (iid == kInterfaceId<First>) {
      *object = static_cast<First*>(this);
    } else {
      static_cast<void>(((iid == kInterfaceId<Others> && (*object = static_cast<Others*>(this)) != nullptr) || ...));
    }
    if (*object == nullptr) return Platform::E_NOINTERFACE;
    AddRef();
    return Platform::S_OK;
  }

  Platform::ULONG AddRef() override { return ++m_count; }

  Platform::ULONG Release() override {
    Platform::ULONG count = --m_count;
    if (count == 0) delete static_cast<Derived*>(this);
    return count;
  }

protected:
  ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

private:
  std::atomic<Platform::ULONG> m_count{1};
};

// Makes an object of `Object` from `args` and hands it out as the interface `iid` into `object`, owned
// by the caller. Returns S_OK, E_OUTOFMEMORY, or E_NOINTERFACE (with `object` null). Any thread.
template <class Object, class... Args>
Platform::HRESULT CreateObject(Platform::REFIID iid, void** object, Args&&... args) {
  Platform::ComPtr<Object> made(new (std::nothrow) Object(std::forward<Args>(args)...));
  if (!made) return Platform::E_OUTOFMEMORY;
  return made->QueryInterface(iid, object);
}

}  // namespace Simulator
