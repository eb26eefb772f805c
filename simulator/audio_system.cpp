#include "simulator/audio_system.h"

#include <algorithm>

#include "platform/debug_channel.h"
#include "platform/synchronization.h"
#include "simulator/notification_thread.h"

namespace Simulator {

using namespace Platform;

AudioSystemState::AudioSystemState(AudioRoot root, std::function<void(const std::u16string&)> messageSink)
    : m_messageSink(std::move(messageSink)),
      m_endpoints(root, [this](const std::u16string& message) { Report(message); }), m_settings(root) {}

AudioSystemState::~AudioSystemState() { Shutdown(); }

void AudioSystemState::Report(const std::u16string& message) {
  std::function<void(const std::u16string&)> sink;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_reported.insert(message).second) return;
    m_messages.push_back(message);
    sink = m_messageSink;
  }
  if (sink) {
    sink(message);
  } else {
    OutputDebugStringW((message + u"\n").c_str());
  }
}

std::vector<std::u16string> AudioSystemState::Messages() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_messages;
}

HRESULT AudioSystemState::RegisterClient(IMMNotificationClient* client) {
  if (client == nullptr) return E_POINTER;
  {
    // The thread takes its first look at the endpoints before the first client counts, so that
    // every change after this call is reported.
    std::lock_guard<std::mutex> lock(m_threadMutex);
    if (m_shutDown) return E_UNEXPECTED;
    if (!m_thread) {
      m_thread = std::make_unique<NotificationThread>(*this);
      m_thread->WaitUntilWatching();
    }
  }
  std::lock_guard<std::mutex> lock(m_mutex);
  client->AddRef();
  m_clients.emplace_back(client);
  return S_OK;
}

HRESULT AudioSystemState::UnregisterClient(IMMNotificationClient* client) {
  if (client == nullptr) return E_POINTER;
  // Released only after a delivery in progress on another thread has ended.
  ComPtr<IMMNotificationClient> removed;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto found = std::find_if(m_clients.begin(), m_clients.end(),
                              [client](const ComPtr<IMMNotificationClient>& each) { return each.Get() == client; });
    if (found == m_clients.end()) return E_NOTFOUND;
    removed = std::move(*found);
    m_clients.erase(found);
  }
  if (GetCurrentThreadId() != NotificationThreadId()) {
    std::lock_guard<std::mutex> delivery(m_deliveryMutex);
  }
  removed.Reset();
  return S_OK;
}

std::vector<ComPtr<IMMNotificationClient>> AudioSystemState::Clients() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<ComPtr<IMMNotificationClient>> clients;
  clients.reserve(m_clients.size());
  for (const ComPtr<IMMNotificationClient>& client : m_clients) {
    client->AddRef();
    clients.emplace_back(client.Get());
  }
  return clients;
}

DWORD AudioSystemState::NotificationThreadId() const {
  std::lock_guard<std::mutex> lock(m_threadMutex);
  return m_thread ? m_thread->ThreadId() : 0;
}

void AudioSystemState::Shutdown() {
  std::unique_ptr<NotificationThread> thread;
  {
    std::lock_guard<std::mutex> lock(m_threadMutex);
    m_shutDown = true;
    thread = std::move(m_thread);
  }
  thread.reset();
  std::vector<ComPtr<IMMNotificationClient>> clients;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    clients.swap(m_clients);
  }
  clients.clear();
}

DWORD AudioSystemState::BssMode(const std::u16string& deviceId) const {
  Endpoint endpoint;
  if (!m_endpoints.Find(deviceId.c_str(), endpoint)) return 0;
  return m_endpoints.BssMode(endpoint);
}

HRESULT AudioSystemState::SetBssMode(const std::u16string& deviceId, DWORD mode) {
  Endpoint endpoint;
  if (!m_endpoints.Find(deviceId.c_str(), endpoint)) return E_NOTFOUND;
  return m_endpoints.SetBssMode(endpoint, mode);
}

AudioSystem::AudioSystem(AudioRoot root, std::function<void(const std::u16string&)> messageSink)
    : m_state(std::make_shared<AudioSystemState>(std::move(root), std::move(messageSink))) {}

AudioSystem::~AudioSystem() { m_state->Shutdown(); }

}  // namespace Simulator
