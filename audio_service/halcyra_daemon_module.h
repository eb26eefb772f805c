// CHalcyraDaemonModule: the library's one module, "Halcyra".
//
// It has no logic beyond a fixed start sequence and a fixed stop sequence over its services.
// Failures in either are logged and swallowed: starting the module always succeeds. Everything here
// runs on the daemon's control thread; the services' notification callbacks stay within the
// services.
#pragma once

#include "audio_service/rtk_gen3_aec_helper.h"
#include "audio_service/vad_state_synchronizer.h"
#include "module_host/listening_module.h"

inline constexpr Common::GUID CLSID_HalcyraDaemonModule = Common::GuidLiteral("EDDC6A89-933A-4F71-BCB1-83428ED20F15");

class CHalcyraDaemonModule final : public Daemon::AListeningModule {
public:
  CHalcyraDaemonModule();

  // Runs the start sequence once per start; always returns ErrorNone.
  [[nodiscard]] ErrorCode OnStart() override;
  void OnStop() override;

  RtkGen3AECHelper& RtkHelper() { return m_rtkHelper; }
  VADStateSynchronizer& VadSynchronizer() { return m_vadSynchronizer; }
  bool IsStarted() const { return m_started; }

private:
  RtkGen3AECHelper m_rtkHelper;
  VADStateSynchronizer m_vadSynchronizer;
  bool m_started = false;
};
