#include "simulator/simulated_enumerator.h"

#include <new>
#include <string>
#include <vector>

#include "simulator/call_text.h"
#include "simulator/com_object.h"
#include "simulator/property_text.h"
#include "simulator/simulated_device.h"

namespace Simulator {

using namespace Platform;

namespace {

// The endpoints of one EnumAudioEndpoints call, as they were then.
class SimulatedCollection final : public ComObject<SimulatedCollection, IMMDeviceCollection> {
public:
  SimulatedCollection(std::shared_ptr<AudioSystemState> state, std::vector<Endpoint> endpoints)
      : m_state(std::move(state)), m_endpoints(std::move(endpoints)) {}

  HRESULT GetCount(UINT* count) override {
    m_state->Calls().Record("IMMDeviceCollection::GetCount", "");
    if (HRESULT injected = m_state->Calls().InjectedResult("IMMDeviceCollection::GetCount", ""); injected != S_OK) {
      return injected;
    }
    if (count == nullptr) return E_POINTER;
    *count = static_cast<UINT>(m_endpoints.size());
    return S_OK;
  }

  HRESULT Item(UINT index, IMMDevice** device) override {
    const std::string argument = std::to_string(index);
    m_state->Calls().Record("IMMDeviceCollection::Item", argument);
    if (device != nullptr) *device = nullptr;
    if (HRESULT injected = m_state->Calls().InjectedResult("IMMDeviceCollection::Item", argument); injected != S_OK) {
      return injected;
    }
    if (device == nullptr) return E_POINTER;
    if (index >= m_endpoints.size()) return E_INVALIDARG;
    *device = CreateSimulatedDevice(m_state, m_endpoints[index]);
    return *device != nullptr ? S_OK : E_OUTOFMEMORY;
  }

private:
  std::shared_ptr<AudioSystemState> m_state;
  std::vector<Endpoint> m_endpoints;
};

class SimulatedEnumerator final : public ComObject<SimulatedEnumerator, IMMDeviceEnumerator> {
public:
  explicit SimulatedEnumerator(std::shared_ptr<AudioSystemState> state) : m_state(std::move(state)) {}

  HRESULT EnumAudioEndpoints(EDataFlow flow, DWORD stateMask, IMMDeviceCollection** devices) override {
    const std::string flowText = std::to_string(static_cast<int>(flow));
    if (HRESULT injected = Enter("IMMDeviceEnumerator::EnumAudioEndpoints", flowText, flowText + ", " + Hex(stateMask));
        injected != S_OK) {
      return injected;
    }
    if (devices == nullptr) return E_POINTER;
    *devices = nullptr;
    if (flow < eRender || flow > eAll || stateMask == 0 || (stateMask & ~DEVICE_STATEMASK_ALL) != 0) {
      return E_INVALIDARG;
    }
    *devices = new (std::nothrow) SimulatedCollection(m_state, m_state->Endpoints().List(flow, stateMask));
    return *devices != nullptr ? S_OK : E_OUTOFMEMORY;
  }

  HRESULT GetDefaultAudioEndpoint(EDataFlow flow, ERole role, IMMDevice** endpoint) override {
    const std::string flowText = std::to_string(static_cast<int>(flow));
    if (HRESULT injected = Enter("IMMDeviceEnumerator::GetDefaultAudioEndpoint", flowText,
                                 flowText + ", " + std::to_string(static_cast<int>(role)));
        injected != S_OK) {
      return injected;
    }
    if (endpoint == nullptr) return E_POINTER;
    *endpoint = nullptr;
    if (flow != eRender && flow != eCapture) return E_INVALIDARG;
    std::vector<Endpoint> active = m_state->Endpoints().List(flow, DEVICE_STATE_ACTIVE);
    if (active.empty()) return E_NOTFOUND;
    *endpoint = CreateSimulatedDevice(m_state, active.front());
    return *endpoint != nullptr ? S_OK : E_OUTOFMEMORY;
  }

  HRESULT GetDevice(LPCWSTR id, IMMDevice** device) override {
    const std::string idText = Narrow(id);
    if (HRESULT injected = Enter("IMMDeviceEnumerator::GetDevice", idText, idText); injected != S_OK) return injected;
    if (id == nullptr || device == nullptr) return E_POINTER;
    *device = nullptr;
    Endpoint endpoint;
    if (!m_state->Endpoints().Find(id, endpoint)) return E_NOTFOUND;
    *device = CreateSimulatedDevice(m_state, endpoint);
    return *device != nullptr ? S_OK : E_OUTOFMEMORY;
  }

  HRESULT RegisterEndpointNotificationCallback(IMMNotificationClient* client) override {
    if (HRESULT injected = Enter("IMMDeviceEnumerator::RegisterEndpointNotificationCallback", "", "");
        injected != S_OK) {
      return injected;
    }
    return m_state->RegisterClient(client);
  }

  HRESULT UnregisterEndpointNotificationCallback(IMMNotificationClient* client) override {
    if (HRESULT injected = Enter("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback", "", "");
        injected != S_OK) {
      return injected;
    }
    return m_state->UnregisterClient(client);
  }

private:
  HRESULT Enter(const char* operation, const std::string& firstArgument, const std::string& arguments) {
    m_state->Calls().Record(operation, arguments);
    return m_state->Calls().InjectedResult(operation, firstArgument);
  }

  std::shared_ptr<AudioSystemState> m_state;
};

}  // namespace

HRESULT CreateSimulatedEnumerator(std::shared_ptr<AudioSystemState> state, REFIID iid, void** object) {
  return CreateObject<SimulatedEnumerator>(iid, object, std::move(state));
}

}  // namespace Simulator
