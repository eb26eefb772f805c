// AudioSystem: one simulated Core Audio with the policy configuration client, the Realtek BSS object
// and the product's audio processing service.
//
// The endpoints live in the registry (EndpointRegistry), so that any process can add or change
// them. The notification clients registered through any simulated enumerator are called on a
// notification thread of this system, which watches the endpoints' subtree and reports each change
// made by any process (OnDeviceAdded, OnDeviceRemoved, OnDeviceStateChanged,
// OnPropertyValueChanged), as Core Audio does. The Realtek object keeps a BSS mode per endpoint and
// the audio processing service its parameters, in the registry too (EndpointRegistry,
// ComponentSettings), where any process can see them. Every object records the calls it received
// in the CallLog, and tests can make operations fail there.
//
// The simulated objects share the system's state, so they stay usable while anybody holds them;
// once the AudioSystem itself is destroyed no notification is delivered any more. Thread-safe.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/core_audio.h"
#include "simulator/call_log.h"
#include "simulator/component_settings.h"
#include "simulator/endpoint_registry.h"

namespace Simulator {

class NotificationThread;

// What the simulated objects share.
class AudioSystemState {
public:
  AudioSystemState(AudioRoot root, std::function<void(const std::u16string&)> messageSink);
  ~AudioSystemState();

  EndpointRegistry& Endpoints() { return m_endpoints; }
  const ComponentSettings& Settings() const { return m_settings; }
  CallLog& Calls() { return m_calls; }

  // Sends a refusal to the message sink, once per distinct text.
  void Report(const std::u16string& message);
  std::vector<std::u16string> Messages() const;

  // Registration of notification clients. Register adds a reference and starts the notification
  // thread at the first client, after the thread has taken its first look at the endpoints, so
  // that every later change is reported. E_POINTER for null; Unregister gives E_NOTFOUND for a
  // client that is not registered. Once Unregister has returned the client is not called any more:
  // it waits for a delivery in progress, unless it is called from a notification itself.
  Platform::HRESULT RegisterClient(Platform::IMMNotificationClient* client);
  Platform::HRESULT UnregisterClient(Platform::IMMNotificationClient* client);
  // The registered clients, each with a reference for the caller.
  std::vector<Platform::ComPtr<Platform::IMMNotificationClient>> Clients() const;
  // The thread id of the notification thread; 0 while it has not started.
  Platform::DWORD NotificationThreadId() const;
  // Ends the notification thread and releases every client. Not from a notification.
  void Shutdown();
  // Held by the notification thread while it calls clients.
  std::mutex& DeliveryMutex() { return m_deliveryMutex; }

  // The Realtek object's state: the BSS mode of each endpoint (0 until set, and for an endpoint that
  // is not there) and whether the third generation is served. SetBssMode returns S_OK, E_NOTFOUND
  // for a missing endpoint, or HRESULT_FROM_WIN32 of the registry's failure.
  Platform::DWORD BssMode(const std::u16string& deviceId) const;
  Platform::HRESULT SetBssMode(const std::u16string& deviceId, Platform::DWORD mode);
  bool Gen3Supported() const { return m_settings.Gen3Supported(); }
  Platform::HRESULT SetGen3Supported(bool supported) { return m_settings.SetGen3Supported(supported); }

  // The audio processing service's parameters, by number; empty until set.
  std::optional<Platform::DWORD> Parameter(Platform::DWORD number) const { return m_settings.Parameter(number); }
  Platform::HRESULT SetParameter(Platform::DWORD number, Platform::DWORD value) {
    return m_settings.SetParameter(number, value);
  }

private:
  std::mutex m_deliveryMutex;

  // Guards the notification thread's life; never held while calling a client.
  mutable std::mutex m_threadMutex;
  std::unique_ptr<NotificationThread> m_thread;
  bool m_shutDown = false;

  // Guards everything below.
  mutable std::mutex m_mutex;
  std::function<void(const std::u16string&)> m_messageSink;
  std::set<std::u16string> m_reported;
  std::vector<std::u16string> m_messages;
  EndpointRegistry m_endpoints;
  ComponentSettings m_settings;
  CallLog m_calls;
  std::vector<Platform::ComPtr<Platform::IMMNotificationClient>> m_clients;
};

// The owner's handle on a simulated audio system: it makes the state and, when destroyed, ends the
// notifications.
class AudioSystem {
public:
  // `messageSink` receives the refusals of malformed endpoint data; by default they go to the debug
  // channel.
  explicit AudioSystem(AudioRoot root = DefaultAudioRoot(),
                       std::function<void(const std::u16string&)> messageSink = nullptr);
  ~AudioSystem();
  AudioSystem(const AudioSystem&) = delete;
  AudioSystem& operator=(const AudioSystem&) = delete;

  const std::shared_ptr<AudioSystemState>& State() const { return m_state; }
  EndpointRegistry& Endpoints() { return m_state->Endpoints(); }
  CallLog& Calls() { return m_state->Calls(); }
  std::vector<std::u16string> Messages() const { return m_state->Messages(); }
  Platform::DWORD NotificationThreadId() const { return m_state->NotificationThreadId(); }

private:
  std::shared_ptr<AudioSystemState> m_state;
};

}  // namespace Simulator
