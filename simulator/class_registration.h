// ClassRegistration: makes a simulated audio system answer CoCreateInstance, under the real CLSIDs
// of the enumerator (MMDeviceEnumerator), the policy configuration client, the Realtek BSS object
// and the product's audio processing service.
//
// The factories are registered in the process class table for the life of this object. Each
// creation is recorded as "CoCreateInstance" with the CLSID and IID as arguments, and a test can
// make it fail by injecting a result for that operation with the CLSID text as argument.
#pragma once

#include <vector>

#include "simulator/audio_system.h"

namespace Simulator {

class ClassRegistration {
public:
  // Registers the four classes for `system`, whose state the factories share. Failures to
  // register are reported as messages of the system; Registered() then says false.
  explicit ClassRegistration(const AudioSystem& system);
  // Revokes them; objects already made stay usable.
  ~ClassRegistration();
  ClassRegistration(const ClassRegistration&) = delete;
  ClassRegistration& operator=(const ClassRegistration&) = delete;

  bool Registered() const { return m_cookies.size() == 4; }

private:
  std::vector<Platform::DWORD> m_cookies;
};

}  // namespace Simulator
