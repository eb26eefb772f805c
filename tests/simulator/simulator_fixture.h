// What the simulator's tests share: the simulated machine (tests/support/simulated_machine.h) with
// its endpoints below a test key, and a notification client that records what it hears.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/core_audio.h"
#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/unique_handle.h"
#include "simulator/audio_system.h"
#include "simulator/property_text.h"
#include "tests/support/simulated_machine.h"

namespace Testing {

inline const Simulator::AudioRoot kSimulatorRoot{Platform::HKEY_CURRENT_USER,
                                                 u"Software\\HalcyraTests\\Simulator\\Audio"};

// One notification as a client heard it.
struct Heard {
  std::string kind;  // "state", "added", "removed", "default", "property"
  std::string id;
  Platform::DWORD state = 0;
  std::string key;
  Platform::DWORD threadId = 0;
};

class RecordingClient final : public Platform::IMMNotificationClient {
public:
  Platform::HRESULT QueryInterface(Platform::REFIID iid, void** object) override {
    if (iid == Platform::IID_IUnknown || iid == Platform::IID_IMMNotificationClient) {
      *object = static_cast<IMMNotificationClient*>(this);
      AddRef();
      return Platform::S_OK;
    }
    *object = nullptr;
    return Platform::E_NOINTERFACE;
  }
  Platform::ULONG AddRef() override { return ++m_count; }
  Platform::ULONG Release() override { return --m_count; }

  Platform::HRESULT OnDeviceStateChanged(Platform::LPCWSTR id, Platform::DWORD state) override {
    return Add(Heard{"state", Simulator::Narrow(id), state, {}, Platform::GetCurrentThreadId()});
  }
  Platform::HRESULT OnDeviceAdded(Platform::LPCWSTR id) override {
    return Add(Heard{"added", Simulator::Narrow(id), 0, {}, Platform::GetCurrentThreadId()});
  }
  Platform::HRESULT OnDeviceRemoved(Platform::LPCWSTR id) override {
    return Add(Heard{"removed", Simulator::Narrow(id), 0, {}, Platform::GetCurrentThreadId()});
  }
  Platform::HRESULT OnDefaultDeviceChanged(Platform::EDataFlow, Platform::ERole, Platform::LPCWSTR id) override {
    return Add(Heard{"default", Simulator::Narrow(id), 0, {}, Platform::GetCurrentThreadId()});
  }
  Platform::HRESULT OnPropertyValueChanged(Platform::LPCWSTR id, const Platform::PROPERTYKEY key) override {
    return Add(Heard{"property", Simulator::Narrow(id), 0, Simulator::Narrow(Simulator::PropertyValueName(key)),
                     Platform::GetCurrentThreadId()});
  }

  // Waits up to `milliseconds` for a notification that `matches`; returns it, or a Heard of kind
  // "nothing".
  Heard WaitFor(const std::function<bool(const Heard&)>& matches, int milliseconds = 10000) {
    std::unique_lock<std::mutex> lock(m_mutex);
    Heard found;
    found.kind = "nothing";
    m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] {
      for (const Heard& heard : m_heard) {
        if (matches(heard)) {
          found = heard;
          return true;
        }
      }
      return false;
    });
    return found;
  }

  std::vector<Heard> All() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_heard;
  }

  Platform::ULONG References() const { return m_count; }

private:
  Platform::HRESULT Add(Heard heard) {
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      m_heard.push_back(std::move(heard));
    }
    m_changed.notify_all();
    return Platform::S_OK;
  }

  std::atomic<Platform::ULONG> m_count{1};
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<Heard> m_heard;
};

// The simulated machine with its endpoints below a test key of the user hive.
class SimulatorFixture : public ::testing::Test, public SimulatedMachine {
protected:
  SimulatorFixture() : SimulatedMachine(kSimulatorRoot) {}
};

}  // namespace Testing
