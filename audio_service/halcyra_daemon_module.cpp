#include "audio_service/halcyra_daemon_module.h"

#include "audio_service/default_noise_reduction.h"
#include "audio_service/ext_inf_issue_patcher.h"
#include "foundation/result_check.h"
#include "foundation/registry_helper.h"

using Win32Helper::RegistryHelper;

namespace {

// Opens `subKey` of the machine hive, never creating it, and writes `name` = `value` there. A
// missing key means that nothing is written; the write's result is not looked at.
void SeedMachineValue(const char16_t* subKey, const char16_t* name, Platform::DWORD value) {
  Platform::HKEY key = nullptr;
  if (!RegistryHelper::TryOpenSubKey(Platform::HKEY_LOCAL_MACHINE, subKey, key)) return;
  static_cast<void>(RegistryHelper::SetDwValue(key, name, value));
  Platform::RegCloseKey(key);
}

}  // namespace

CHalcyraDaemonModule::CHalcyraDaemonModule() : AListeningModule(u"Halcyra", u"Halcyra") {}

ErrorCode CHalcyraDaemonModule::OnStart() {
  if (m_started) return ErrorNone;
  m_started = true;
  ExtInfIssuePatcher::PatchSupportedDevices();
  SeedMachineValue(u"SOFTWARE\\Velorin\\VelorinV3\\AudioApplication", u"ProcessSystemSounds", 1);
  SeedMachineValue(u"SOFTWARE\\Velorin\\VelorinV3", u"APOBypass", 0);
  ApplyDefaultNoiseReduction();
  m_rtkHelper.Start();
  try {
    m_vadSynchronizer.Start();
  } catch (const wil::ResultException&) {
    // Reported at the check that threw; starting the module succeeds all the same.
  }
  return ErrorNone;
}

void CHalcyraDaemonModule::OnStop() {
  if (!m_started) return;
  // DELIBERATE: after a failed start of the synchronizer this faults: the stop sequence does not
  // look whether the start succeeded.
  m_vadSynchronizer.Stop();
  m_rtkHelper.Stop();
  m_started = false;
}
