#include "simulator/class_registration.h"

#include <new>
#include <string>

#include "platform/audio_processing.h"
#include "platform/policy_config.h"
#include "platform/rtk_bss_api.h"
#include "simulator/call_text.h"
#include "simulator/com_object.h"
#include "simulator/property_text.h"
#include "simulator/simulated_audio_processing.h"
#include "simulator/simulated_enumerator.h"
#include "simulator/simulated_policy_config.h"
#include "simulator/simulated_rtk_bss_api.h"

namespace Simulator {

using namespace Platform;

namespace {

using Creator = HRESULT (*)(std::shared_ptr<AudioSystemState>, REFIID, void**);

class SimulatedClassFactory final : public ComObject<SimulatedClassFactory, IClassFactory> {
public:
  SimulatedClassFactory(std::shared_ptr<AudioSystemState> state, const CLSID& clsid, Creator creator)
      : m_state(std::move(state)), m_clsid(clsid), m_creator(creator) {}

  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    const std::string clsid = GuidString(m_clsid);
    m_state->Calls().Record("CoCreateInstance", clsid + ", " + GuidString(iid));
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (HRESULT injected = m_state->Calls().InjectedResult("CoCreateInstance", clsid); injected != S_OK) {
      return injected;
    }
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return m_creator(m_state, iid, object);
  }

  HRESULT LockServer(BOOL) override { return S_OK; }

private:
  std::shared_ptr<AudioSystemState> m_state;
  CLSID m_clsid;
  Creator m_creator;
};

}  // namespace

ClassRegistration::ClassRegistration(const AudioSystem& system) {
  const struct {
    const CLSID& clsid;
    Creator creator;
  } classes[] = {
      {CLSID_MMDeviceEnumerator, &CreateSimulatedEnumerator},
      {CLSID_PolicyConfigClient, &CreateSimulatedPolicyConfig},
      {CLSID_RtkBssApi, &CreateSimulatedRtkBssApi},
      {CLSID_AudioProcessingManager, &CreateSimulatedAudioProcessingManager},
  };
  for (const auto& each : classes) {
    ComPtr<SimulatedClassFactory> factory(new (std::nothrow)
                                              SimulatedClassFactory(system.State(), each.clsid, each.creator));
    DWORD cookie = 0;
    const HRESULT result = factory ? RegisterProcessClass(each.clsid, factory.Get(), &cookie) : E_OUTOFMEMORY;
    factory.Reset();
    if (result >= 0) {
      m_cookies.push_back(cookie);
    } else {
      system.State()->Report(u"Simulator: a class could not be registered: " + std::u16string(GuidText(each.clsid)));
    }
  }
}

ClassRegistration::~ClassRegistration() {
  for (DWORD cookie : m_cookies) RevokeProcessClass(cookie);
}

}  // namespace Simulator
