#include "simulator/simulated_policy_config.h"

#include <new>
#include <string>

#include "simulator/call_text.h"
#include "simulator/com_object.h"
#include "simulator/property_text.h"

namespace Simulator {

using namespace Platform;

namespace {

class SimulatedPolicyConfig final : public ComObject<SimulatedPolicyConfig, IPolicyConfig> {
public:
  explicit SimulatedPolicyConfig(std::shared_ptr<AudioSystemState> state) : m_state(std::move(state)) {}

  HRESULT GetPropertyValue(LPCWSTR deviceId, BOOL fxStore, REFPROPERTYKEY key, PROPVARIANT* value) override {
    if (HRESULT injected =
            Enter("IPolicyConfig::GetPropertyValue", deviceId, std::to_string(fxStore) + ", " + KeyString(key));
        injected != S_OK) {
      return injected;
    }
    if (deviceId == nullptr || value == nullptr) return E_POINTER;
    Endpoint endpoint;
    if (!m_state->Endpoints().Find(deviceId, endpoint)) return E_NOTFOUND;
    return m_state->Endpoints().ReadProperty(endpoint, fxStore != FALSE, key, *value);
  }

  HRESULT SetPropertyValue(LPCWSTR deviceId, BOOL fxStore, REFPROPERTYKEY key, PROPVARIANT* value) override {
    const std::string valueText = value != nullptr ? DescribeValue(*value) : "(null)";
    if (HRESULT injected = Enter("IPolicyConfig::SetPropertyValue", deviceId,
                                 std::to_string(fxStore) + ", " + KeyString(key) + ", " + valueText);
        injected != S_OK) {
      return injected;
    }
    if (deviceId == nullptr || value == nullptr) return E_POINTER;
    Endpoint endpoint;
    if (!m_state->Endpoints().Find(deviceId, endpoint)) return E_NOTFOUND;
    return m_state->Endpoints().WriteProperty(endpoint, fxStore != FALSE, key, *value);
  }

  HRESULT SetEndpointVisibility(LPCWSTR deviceId, BOOL visible) override {
    if (HRESULT injected = Enter("IPolicyConfig::SetEndpointVisibility", deviceId, Hex(static_cast<DWORD>(visible)));
        injected != S_OK) {
      return injected;
    }
    if (deviceId == nullptr) return E_POINTER;
    Endpoint endpoint;
    if (!m_state->Endpoints().Find(deviceId, endpoint)) return E_NOTFOUND;
    if (endpoint.state != DEVICE_STATE_ACTIVE && endpoint.state != DEVICE_STATE_DISABLED) return S_OK;
    const DWORD wanted = visible != FALSE ? DEVICE_STATE_ACTIVE : DEVICE_STATE_DISABLED;
    return endpoint.state == wanted ? S_OK : m_state->Endpoints().SetState(endpoint, wanted);
  }

private:
  HRESULT Enter(const char* operation, LPCWSTR deviceId, const std::string& arguments) {
    const std::string id = Narrow(deviceId);
    m_state->Calls().Record(operation, id + ", " + arguments);
    return m_state->Calls().InjectedResult(operation, id);
  }

  std::shared_ptr<AudioSystemState> m_state;
};

}  // namespace

HRESULT CreateSimulatedPolicyConfig(std::shared_ptr<AudioSystemState> state, REFIID iid, void** object) {
  return CreateObject<SimulatedPolicyConfig>(iid, object, std::move(state));
}

}  // namespace Simulator
