#include "audio_service/halcyra_daemon_module.h"

CHalcyraDaemonModule::CHalcyraDaemonModule() : AListeningModule(u"Halcyra", u"Halcyra") {}

ErrorCode CHalcyraDaemonModule::OnStart() {
  if (m_started) return ErrorNone;
  m_started = true;
  return ErrorNone;
}

void CHalcyraDaemonModule::OnStop() {
  if (!m_started) return;
  m_started = false;
}
