#include "simulator/simulated_rtk_bss_api.h"

#include <mutex>
#include <new>
#include <string>

#include "simulator/com_object.h"
#include "simulator/property_text.h"

namespace Simulator {

using namespace Platform;

namespace {

class SimulatedRtkBssApi final : public ComObject<SimulatedRtkBssApi, IRtkBssApi, IRtkBssApi2> {
public:
  explicit SimulatedRtkBssApi(std::shared_ptr<AudioSystemState> state) : m_state(std::move(state)) {}

  HRESULT Initialize(LPCWSTR deviceId) override {
    const std::string id = Narrow(deviceId);
    m_state->Calls().Record("IRtkBssApi::Initialize", id);
    if (HRESULT injected = m_state->Calls().InjectedResult("IRtkBssApi::Initialize", id); injected != S_OK) {
      return injected;
    }
    if (deviceId == nullptr) return E_POINTER;
    Endpoint endpoint;
    if (!m_state->Endpoints().Find(deviceId, endpoint)) return E_NOTFOUND;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_deviceId = endpoint.id;
    return S_OK;
  }

  HRESULT SetBssMode(DWORD mode) override {
    std::u16string id;
    if (HRESULT result = Enter("IRtkBssApi::SetBssMode", std::to_string(mode), id); result != S_OK) return result;
    return m_state->SetBssMode(id, mode);
  }

  HRESULT GetBssMode(DWORD* mode) override {
    std::u16string id;
    if (HRESULT result = Enter("IRtkBssApi::GetBssMode", "", id); result != S_OK) return result;
    if (mode == nullptr) return E_POINTER;
    *mode = m_state->BssMode(id);
    return S_OK;
  }

  HRESULT ClearBss(DWORD value) override {
    std::u16string id;
    return Enter("IRtkBssApi::ClearBss", std::to_string(value), id);
  }

  HRESULT IsGen3Supported(BOOL* supported) override {
    std::u16string id;
    if (HRESULT result = Enter("IRtkBssApi2::IsGen3Supported", "", id); result != S_OK) return result;
    if (supported == nullptr) return E_POINTER;
    *supported = m_state->Gen3Supported() ? TRUE : FALSE;
    return S_OK;
  }

private:
  // Records the call; gives the injected result, E_UNEXPECTED before Initialize, else S_OK with the
  // bound endpoint's id in `id`.
  HRESULT Enter(const char* operation, const std::string& arguments, std::u16string& id) {
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      id = m_deviceId;
    }
    const std::string idText = Narrow(id);
    m_state->Calls().Record(operation, arguments.empty() ? idText : idText + ", " + arguments);
    if (HRESULT injected = m_state->Calls().InjectedResult(operation, idText); injected != S_OK) return injected;
    return id.empty() ? E_UNEXPECTED : S_OK;
  }

  std::shared_ptr<AudioSystemState> m_state;
  std::mutex m_mutex;
  std::u16string m_deviceId;
};

}  // namespace

HRESULT CreateSimulatedRtkBssApi(std::shared_ptr<AudioSystemState> state, REFIID iid, void** object) {
  return CreateObject<SimulatedRtkBssApi>(iid, object, std::move(state));
}

}  // namespace Simulator
