#include "simulator/notification_thread.h"

#include <map>
#include <set>
#include <string>

#include "platform/synchronization.h"
#include "platform/utf.h"
#include "simulator/audio_system.h"
#include "simulator/property_text.h"

namespace Simulator {

using namespace Platform;

namespace {

constexpr DWORD kWatchedChanges = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;

// The names of the values that differ between two stores, present in either.
std::vector<std::u16string> ChangedNames(const StoredProperties& before, const StoredProperties& after) {
  std::vector<std::u16string> names;
  for (const auto& [name, value] : after) {
    auto found = before.find(name);
    if (found == before.end() || !(found->second == value)) names.push_back(name);
  }
  for (const auto& [name, value] : before) {
    if (after.count(name) == 0) names.push_back(name);
  }
  return names;
}

// Calls `call` on every registered client, outside any lock of the system.
template <class Call>
void Notify(AudioSystemState& state, Call call) {
  for (const ComPtr<IMMNotificationClient>& client : state.Clients()) call(client.Get());
}

}  // namespace

NotificationThread::NotificationThread(AudioSystemState& state)
    : m_state(state), m_changed(CreateEventW(nullptr, FALSE, FALSE, nullptr)), m_thread([this] { Run(); }) {}

NotificationThread::~NotificationThread() {
  m_stopping = true;
  SetEvent(m_changed.Get());
  m_thread.join();
}

void NotificationThread::WaitUntilWatching() {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_watchingChanged.wait(lock, [this] { return m_watching; });
}

bool NotificationThread::Arm(HKEY root) {
  LONG status = RegNotifyChangeKeyValue(root, TRUE, kWatchedChanges, m_changed.Get(), TRUE);
  if (status == ERROR_SUCCESS) return true;
  m_state.Report(u"Simulator: the endpoints cannot be watched: RegNotifyChangeKeyValue failed with " +
                 Utf8ToUtf16(std::to_string(status)));
  return false;
}

void NotificationThread::Run() {
  m_threadId = GetCurrentThreadId();
  const AudioRoot& root = m_state.Endpoints().Root();
  UniqueKey rootKey;
  LONG status = RegCreateKeyExW(root.hive, root.path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ, nullptr,
                                rootKey.Put(), nullptr);
  bool watching = false;
  if (status != ERROR_SUCCESS) {
    m_state.Report(u"Simulator: the endpoints cannot be watched: their key cannot be opened (error " +
                   Utf8ToUtf16(std::to_string(status)) + u")");
  } else {
    watching = m_changed && Arm(rootKey.Get());
  }
  std::vector<EndpointSnapshot> seen = watching ? m_state.Endpoints().Snapshot() : std::vector<EndpointSnapshot>();
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_watching = true;
  }
  m_watchingChanged.notify_all();
  if (!watching) return;
  while (WaitForSingleObject(m_changed.Get(), INFINITE) == WAIT_OBJECT_0 && !m_stopping) {
    // Arming clears the event: a stop signalled since the wait ended is seen here or not at all.
    if (!Arm(rootKey.Get()) || m_stopping) return;
    std::vector<EndpointSnapshot> now = m_state.Endpoints().Snapshot();
    Deliver(seen, now);
    seen = std::move(now);
  }
}

void NotificationThread::Deliver(const std::vector<EndpointSnapshot>& before,
                                 const std::vector<EndpointSnapshot>& after) {
  std::lock_guard<std::mutex> delivery(m_state.DeliveryMutex());
  std::map<std::u16string, const EndpointSnapshot*> earlier;
  for (const EndpointSnapshot& snapshot : before) earlier.emplace(snapshot.endpoint.id, &snapshot);
  std::set<std::u16string> present;
  for (const EndpointSnapshot& snapshot : after) {
    const Endpoint& endpoint = snapshot.endpoint;
    present.insert(endpoint.id);
    auto found = earlier.find(endpoint.id);
    if (found == earlier.end()) {
      Notify(m_state, [&](IMMNotificationClient* client) { client->OnDeviceAdded(endpoint.id.c_str()); });
      continue;
    }
    const EndpointSnapshot& old = *found->second;
    if (old.endpoint.state != endpoint.state) {
      Notify(m_state,
             [&](IMMNotificationClient* client) { client->OnDeviceStateChanged(endpoint.id.c_str(), endpoint.state); });
    }
    for (bool fxStore : {false, true}) {
      const StoredProperties& oldStore = fxStore ? old.fxProperties : old.properties;
      const StoredProperties& newStore = fxStore ? snapshot.fxProperties : snapshot.properties;
      for (const std::u16string& name : ChangedNames(oldStore, newStore)) {
        PROPERTYKEY key;
        if (!ParsePropertyValueName(name, key)) continue;
        Notify(m_state,
               [&](IMMNotificationClient* client) { client->OnPropertyValueChanged(endpoint.id.c_str(), key); });
      }
    }
  }
  for (const EndpointSnapshot& snapshot : before) {
    if (present.count(snapshot.endpoint.id) != 0) continue;
    Notify(m_state, [&](IMMNotificationClient* client) { client->OnDeviceRemoved(snapshot.endpoint.id.c_str()); });
  }
}

}  // namespace Simulator
