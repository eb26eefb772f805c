// ComponentSettings: what the simulated Realtek object and the simulated audio processing service
// keep for the whole machine, in the registry below the audio root, so that every process sees it
// and a person or a test can set it with halcyra-reg.
//
// "<root>\Realtek", REG_DWORD "Gen3Supported": whether the third generation of the Realtek software
// serves the endpoints; missing means yes. "<root>\AudioProcessing", one REG_DWORD per parameter of
// the audio processing service, named by its number in decimal ("11", "106"); missing means never
// set. (The BSS mode of each endpoint lives with the endpoint: EndpointRegistry.) Every operation
// reads or writes the registry afresh; any thread.
#pragma once

#include <optional>

#include "platform/types.h"
#include "simulator/endpoint_registry.h"

namespace Simulator {

class ComponentSettings {
public:
  explicit ComponentSettings(AudioRoot root);

  bool Gen3Supported() const;
  // Returns S_OK or HRESULT_FROM_WIN32 of the registry's failure.
  Platform::HRESULT SetGen3Supported(bool supported) const;

  // The value of parameter `number`, or nothing when it was never set (or is not a REG_DWORD).
  std::optional<Platform::DWORD> Parameter(Platform::DWORD number) const;
  // Returns S_OK or HRESULT_FROM_WIN32 of the registry's failure.
  Platform::HRESULT SetParameter(Platform::DWORD number, Platform::DWORD value) const;

  // The keys, below the root's hive.
  std::u16string RealtekPath() const;
  std::u16string AudioProcessingPath() const;

private:
  std::optional<Platform::DWORD> ReadNumber(const std::u16string& path, const std::u16string& name) const;
  Platform::HRESULT WriteNumber(const std::u16string& path, const std::u16string& name, Platform::DWORD value) const;

  AudioRoot m_root;
};

}  // namespace Simulator
