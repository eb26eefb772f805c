#include "simulator/simulated_device.h"

#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "simulator/call_text.h"
#include "simulator/com_object.h"
#include "simulator/property_text.h"

namespace Simulator {

using namespace Platform;

namespace {

// What a device and its property stores share: the simulated system, the endpoint they stand for,
// and the record of each call made on them.
class EndpointObject {
protected:
  EndpointObject(std::shared_ptr<AudioSystemState> state, Endpoint endpoint)
      : m_state(std::move(state)), m_endpoint(std::move(endpoint)) {}

  // Records the call, the endpoint's id before its arguments, and gives what the test injected for
  // it, else S_OK.
  HRESULT Enter(const char* operation, const std::string& arguments) {
    const std::string id = Narrow(m_endpoint.id);
    m_state->Calls().Record(operation, arguments.empty() ? id : id + ", " + arguments);
    return m_state->Calls().InjectedResult(operation, id);
  }

  std::shared_ptr<AudioSystemState> m_state;
  Endpoint m_endpoint;
};

class SimulatedPropertyStore final : public ComObject<SimulatedPropertyStore, IPropertyStore>, private EndpointObject {
public:
  SimulatedPropertyStore(std::shared_ptr<AudioSystemState> state, Endpoint endpoint, bool fxStore, bool writable)
      : EndpointObject(std::move(state), std::move(endpoint)), m_fxStore(fxStore), m_writable(writable) {}

  HRESULT GetCount(DWORD* count) override {
    if (HRESULT injected = Enter("IPropertyStore::GetCount", ""); injected != S_OK) return injected;
    if (count == nullptr) return E_POINTER;
    *count = static_cast<DWORD>(m_state->Endpoints().PropertyKeys(m_endpoint, m_fxStore).size());
    return S_OK;
  }

  HRESULT GetAt(DWORD index, PROPERTYKEY* key) override {
    if (HRESULT injected = Enter("IPropertyStore::GetAt", std::to_string(index)); injected != S_OK) return injected;
    if (key == nullptr) return E_POINTER;
    std::vector<PROPERTYKEY> keys = m_state->Endpoints().PropertyKeys(m_endpoint, m_fxStore);
    if (index >= keys.size()) return E_INVALIDARG;
    *key = keys[index];
    return S_OK;
  }

  HRESULT GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override {
    if (HRESULT injected = Enter("IPropertyStore::GetValue", KeyString(key)); injected != S_OK) return injected;
    if (value == nullptr) return E_POINTER;
    return m_state->Endpoints().ReadProperty(m_endpoint, m_fxStore, key, *value);
  }

  HRESULT SetValue(REFPROPERTYKEY key, const PROPVARIANT& value) override {
    if (HRESULT injected = Enter("IPropertyStore::SetValue", KeyString(key) + ", " + DescribeValue(value));
        injected != S_OK) {
      return injected;
    }
    if (!m_writable) return STG_E_ACCESSDENIED;
    return m_state->Endpoints().WriteProperty(m_endpoint, m_fxStore, key, value);
  }

  HRESULT Commit() override { return Enter("IPropertyStore::Commit", ""); }

private:
  bool m_fxStore;
  bool m_writable;
};

class SimulatedDevice final : public ComObject<SimulatedDevice, IMMDevice>, private EndpointObject {
public:
  SimulatedDevice(std::shared_ptr<AudioSystemState> state, Endpoint endpoint)
      : EndpointObject(std::move(state), std::move(endpoint)) {}

  HRESULT Activate(REFIID iid, DWORD context, PROPVARIANT*, void** object) override {
    if (HRESULT injected = Enter("IMMDevice::Activate", GuidString(iid) + ", " + Hex(context)); injected != S_OK) {
      return injected;
    }
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return E_NOINTERFACE;
  }

  HRESULT OpenPropertyStore(DWORD access, IPropertyStore** store) override {
    if (HRESULT injected = Enter("IMMDevice::OpenPropertyStore", Hex(access)); injected != S_OK) return injected;
    if (store == nullptr) return E_POINTER;
    *store = nullptr;
    if (access != STGM_READ && access != STGM_WRITE && access != STGM_READWRITE) return E_INVALIDARG;
    *store = CreateSimulatedPropertyStore(m_state, m_endpoint, false, access != STGM_READ);
    return *store != nullptr ? S_OK : E_OUTOFMEMORY;
  }

  HRESULT GetId(LPWSTR* id) override {
    HRESULT injected = Enter("IMMDevice::GetId", "");
    if (id == nullptr) return E_POINTER;
    *id = nullptr;
    if (injected != S_OK) return injected;
    const std::size_t bytes = (m_endpoint.id.size() + 1) * sizeof(char16_t);
    *id = static_cast<LPWSTR>(CoTaskMemAlloc(bytes));
    if (*id == nullptr) return E_OUTOFMEMORY;
    std::memcpy(*id, m_endpoint.id.c_str(), bytes);
    return S_OK;
  }

  HRESULT GetState(DWORD* state) override {
    if (HRESULT injected = Enter("IMMDevice::GetState", ""); injected != S_OK) return injected;
    if (state == nullptr) return E_POINTER;
    Endpoint now;
    *state = m_state->Endpoints().Find(m_endpoint.id.c_str(), now) ? now.state : DEVICE_STATE_NOTPRESENT;
    return S_OK;
  }
};

}  // namespace

IMMDevice* CreateSimulatedDevice(std::shared_ptr<AudioSystemState> state, const Endpoint& endpoint) {
  return new (std::nothrow) SimulatedDevice(std::move(state), endpoint);
}

IPropertyStore* CreateSimulatedPropertyStore(std::shared_ptr<AudioSystemState> state, const Endpoint& endpoint,
                                             bool fxStore, bool writable) {
  return new (std::nothrow) SimulatedPropertyStore(std::move(state), endpoint, fxStore, writable);
}

}  // namespace Simulator
