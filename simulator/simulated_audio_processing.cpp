#include "simulator/simulated_audio_processing.h"

#include <new>
#include <string>

#include "simulator/com_object.h"

namespace Simulator {

using namespace Platform;

namespace {

class SimulatedAudioParameter final : public ComObject<SimulatedAudioParameter, IAudioParameter> {
public:
  SimulatedAudioParameter(std::shared_ptr<AudioSystemState> state, DWORD number)
      : m_state(std::move(state)), m_number(number) {}

  HRESULT SetValue(DWORD value) override {
    const std::string number = std::to_string(m_number);
    m_state->Calls().Record("IAudioParameter::SetValue", number + ", " + std::to_string(value));
    if (HRESULT injected = m_state->Calls().InjectedResult("IAudioParameter::SetValue", number); injected != S_OK) {
      return injected;
    }
    return m_state->SetParameter(m_number, value);
  }

private:
  std::shared_ptr<AudioSystemState> m_state;
  DWORD m_number;
};

class SimulatedAudioParameterSet final : public ComObject<SimulatedAudioParameterSet, IAudioParameterSet> {
public:
  explicit SimulatedAudioParameterSet(std::shared_ptr<AudioSystemState> state) : m_state(std::move(state)) {}

  HRESULT GetParameter(DWORD number, IAudioParameter** parameter) override {
    const std::string text = std::to_string(number);
    m_state->Calls().Record("IAudioParameterSet::GetParameter", text);
    if (parameter != nullptr) *parameter = nullptr;
    if (HRESULT injected = m_state->Calls().InjectedResult("IAudioParameterSet::GetParameter", text);
        injected != S_OK) {
      return injected;
    }
    if (parameter == nullptr) return E_POINTER;
    *parameter = new (std::nothrow) SimulatedAudioParameter(m_state, number);
    return *parameter != nullptr ? S_OK : E_OUTOFMEMORY;
  }

private:
  std::shared_ptr<AudioSystemState> m_state;
};

class SimulatedAudioProcessingManager final
    : public ComObject<SimulatedAudioProcessingManager, IAudioProcessingManager> {
public:
  explicit SimulatedAudioProcessingManager(std::shared_ptr<AudioSystemState> state) : m_state(std::move(state)) {}

  HRESULT GetParameterSet(IAudioParameterSet** parameterSet) override {
    m_state->Calls().Record("IAudioProcessingManager::GetParameterSet", "");
    if (parameterSet != nullptr) *parameterSet = nullptr;
    if (HRESULT injected = m_state->Calls().InjectedResult("IAudioProcessingManager::GetParameterSet", "");
        injected != S_OK) {
      return injected;
    }
    if (parameterSet == nullptr) return E_POINTER;
    *parameterSet = new (std::nothrow) SimulatedAudioParameterSet(m_state);
    return *parameterSet != nullptr ? S_OK : E_OUTOFMEMORY;
  }

private:
  std::shared_ptr<AudioSystemState> m_state;
};

}  // namespace

HRESULT CreateSimulatedAudioProcessingManager(std::shared_ptr<AudioSystemState> state, REFIID iid, void** object) {
  return CreateObject<SimulatedAudioProcessingManager>(iid, object, std::move(state));
}

}  // namespace Simulator
