#include "simulator/audio_system.h"

#include <algorithm>

#include "platform/debug_channel.h"
#include "platform/synchronization.h"
#include "simulator/notification_thread.h"

namespace Simulator {

using namespace Platform;

AudioSystemState::AudioSystemState(AudioRoot root, std::function<void(const std::u16string&)> messageSink)
    : m_messageSink(std::move(messageSink)),
      m_endpoints(std::move(root), [this](const std::u16string& message) { Report(message); }) {}

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
  m_clients.push_back(client);
  return S_OK;
}

HRESULT AudioSystemState::UnregisterClient(IMMNotificationClient* client) {
  if (client == nullptr) return E_POINTER;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto found = std::find(m_clients.begin(), m_clients.end(), client);
    if (found == m_clients.end()) return E_NOTFOUND;
    m_clients.erase(found);
  }
  if (GetCurrentThreadId() != NotificationThreadId()) {
    std::lock_guard<std::mutex> delivery(m_deliveryMutex);
  }
  client->Release();
  return S_OK;
}

std::vector<IMMNotificationClient*> AudioSystemState::Clients() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (IMMNotificationClient* client : m_clients) client->AddRef();
  return m_clients;
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
  std::vector<IMMNotificationClient*> clients;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    clients.swap(m_clients);
  }
  for (IMMNotificationClient* client : clients) client->Release();
}

DWORD AudioSystemState::BssMode(const std::u16string& deviceId) const {
  std::lock_guard<std::mutex> lock(m_mutex);
  auto found = m_bssModes.find(deviceId);
  return found == m_bssModes.end() ? 0 : found->second;
}

void AudioSystemState::SetBssMode(const std::u16string& deviceId, DWORD mode) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_bssModes[deviceId] = mode;
}

bool AudioSystemState::Gen3Supported() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_gen3Supported;
}

void AudioSystemState::SetGen3Supported(bool supported) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_gen3Supported = supported;
}

std::optional<DWORD> AudioSystemState::Parameter(DWORD number) const {
  std::lock_guard<std::mutex> lock(m_mutex);
  auto found = m_parameters.find(number);
  return found == m_parameters.end() ? std::nullopt : std::optional<DWORD>(found->second);
}

void AudioSystemState::SetParameter(DWORD number, DWORD value) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_parameters[number] = value;
}

AudioSystem::AudioSystem(AudioRoot root, std::function<void(const std::u16string&)> messageSink)
    : m_state(std::make_shared<AudioSystemState>(std::move(root), std::move(messageSink))) {}

AudioSystem::~AudioSystem() { m_state->Shutdown(); }

}  // namespace Simulator
