#include "audio_service/halcyra_daemon_module.h"

#include <gtest/gtest.h>

#include "simulator/call_text.h"
#include "tests/audio_service/audio_service_machine.h"
#include "tests/module_host/test_modules.h"

namespace {

using namespace Platform;

constexpr const char16_t* kApplicationKey = u"SOFTWARE\\Velorin\\VelorinV3\\AudioApplication";
constexpr const char16_t* kProductKeyV3 = u"SOFTWARE\\Velorin\\VelorinV3";
const std::u16string kEffectsKey = u"{3A2B3C4D-0000-4000-8000-000000000001}";
constexpr const char* kPatchedLine =
    "ExtInfIssuePatcher::PatchSupportedDevices() : The Ext INF did not set the properties correctly, I have fixed "
    "it.\n";

class HalcyraDaemonModuleTest : public ::testing::Test {
protected:
  HalcyraDaemonModuleTest() { module.SetManager(&manager); }
  // As the daemon does before unloading: a module left running unsubscribes its helper, which the
  // simulated audio system would otherwise release after the module is gone.
  ~HalcyraDaemonModuleTest() override {
    if (module.IsStarted()) module.OnStop();
  }

  // An endpoint whose effects hold a product CLSID and whose markers are missing.
  void AddEndpointToPatch() {
    machine.AddEndpoint(
        eRender, kEffectsKey, DEVICE_STATE_ACTIVE, u"HDAUDIO\\X",
        {{PROPERTYKEY{{0xD04E05A6, 0x594B, 0x4FB6, {0xA8, 0x0D, 0x01, 0xAF, 0x5E, 0xED, 0x7D, 0x1D}}, 5},
          u"{670173E3-78CF-11E5-A837-0800200C9A66}"}});
  }

  // What the module reported, less the reports of a machine without "ProductInfo.dll", which the
  // synchronizer's product identity gives at each start.
  std::string ModuleReports() {
    std::string text = machine.capture.Text(), kept;
    for (std::size_t start = 0; start < text.size();) {
      std::size_t end = text.find('\n', start);
      end = end == std::string::npos ? text.size() : end + 1;
      std::string line = text.substr(start, end - start);
      if (line.find("DataSystem::GetProductDesc") == std::string::npos &&
          line.find("Quillon::GetProductInfo") == std::string::npos) {
        kept += line;
      }
      start = end;
    }
    return kept;
  }

  std::size_t EnumeratorsCreated() {
    std::size_t count = 0;
    for (const Simulator::CallRecord& call : machine.audio.Calls().CallsOf("CoCreateInstance")) {
      if (call.arguments.rfind(Simulator::GuidString(CLSID_MMDeviceEnumerator), 0) == 0) ++count;
    }
    return count;
  }

  // The machine and its simulated audio system outlive the module, which holds their objects.
  Testing::AudioServiceMachine machine;
  Testing::RecordingManager manager;
  CHalcyraDaemonModule module;
};

TEST_F(HalcyraDaemonModuleTest, TwoStartsAndOneStopLeaveItRunning) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  module.Stop(&manager);
  EXPECT_TRUE(module.IsStarted());
  EXPECT_EQ(module.GetState(), 2);
  // One start: the patcher's, the noise reduction's, the helper's and the synchronizer's.
  EXPECT_EQ(EnumeratorsCreated(), 4u);
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback"), 0u);
}

TEST_F(HalcyraDaemonModuleTest, OnStartAndOnStopGuardAgainstRepetition) {
  EXPECT_EQ(module.OnStart(), ErrorNone);
  EXPECT_EQ(module.OnStart(), ErrorNone);
  EXPECT_TRUE(module.IsStarted());
  module.OnStop();
  module.OnStop();
  EXPECT_FALSE(module.IsStarted());
  // One stop: the synchronizer's, then the helper's.
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback"), 2u);
}

TEST_F(HalcyraDaemonModuleTest, StartWritesProcessSystemSoundsAndAPOBypassIntoExistingKeys) {
  machine.CreateProductKeys();
  machine.SetNumberInMachine(kProductKeyV3, u"APOBypass", 1);
  ASSERT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(machine.MachineNumber(kApplicationKey, u"ProcessSystemSounds"), 1);
  EXPECT_EQ(machine.MachineNumber(kProductKeyV3, u"APOBypass"), 0);
}

TEST_F(HalcyraDaemonModuleTest, MachineWithoutTheProductKeyGetsNoWriteNoReportAndStartSucceeds) {
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(machine.MachineNumber(kProductKeyV3, u"APOBypass"), -1);
  EXPECT_EQ(machine.MachineNumber(kApplicationKey, u"ProcessSystemSounds"), -1);
  // The synchronizer's routing data makes the product's tree; the module's own steps write nothing.
  EXPECT_EQ(ModuleReports(), "");
}

TEST_F(HalcyraDaemonModuleTest, StartPatchesEndpointsAndSubscribesTheRealtekHelper) {
  AddEndpointToPatch();
  ASSERT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(ModuleReports(), kPatchedLine);
  // The helper and the synchronizer.
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::RegisterEndpointNotificationCallback"), 2u);
  EXPECT_NE(module.RtkHelper().Enumerator(), nullptr);
}

TEST_F(HalcyraDaemonModuleTest, FailingEnumeratorCreationGivesOneErrorLineAndStartSucceeds) {
  // The patcher's and the noise reduction's enumerators are made; the helper's is not; the
  // synchronizer's is.
  machine.audio.Calls().FailCalls("CoCreateInstance", E_FAIL, Simulator::GuidString(CLSID_MMDeviceEnumerator), 2, 1);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(ModuleReports(), "RtkGen3AECHelper::Start Failed to create the MMDeviceEnumerator\n");
  EXPECT_EQ(module.RtkHelper().Enumerator(), nullptr);
  module.Stop(&manager);
  EXPECT_FALSE(module.IsStarted());
}

TEST_F(HalcyraDaemonModuleTest, FailingSubscriptionGivesOneErrorLineAndKeepsTheEnumerator) {
  machine.audio.Calls().FailCalls("IMMDeviceEnumerator::RegisterEndpointNotificationCallback", E_FAIL);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  // The synchronizer's subscription fails too, and is thrown out of its Start, which the module
  // swallows.
  EXPECT_EQ(ModuleReports(), "RtkGen3AECHelper::Start Failed to register to MMDevice notifications\n");
  EXPECT_NE(module.RtkHelper().Enumerator(), nullptr);
}

TEST_F(HalcyraDaemonModuleTest, StopThenStartPatchesAndWritesAgainWithANewEnumerator) {
  machine.CreateProductKeys();
  AddEndpointToPatch();
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  ASSERT_EQ(module.Start(&manager), ErrorNone);
  module.Stop(&manager);
  EXPECT_FALSE(module.IsStarted());

  // Somebody takes the markers away and changes the settings while the module is stopped.
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, machine.StorePath(eRender, kEffectsKey, false).c_str());
  machine.SetNumberInMachine(kApplicationKey, u"ProcessSystemSounds", 0);
  machine.SetNumberInMachine(kProductKeyV3, u"APOBypass", 5);
  machine.capture.Clear();

  EXPECT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_TRUE(module.IsStarted());
  EXPECT_EQ(ModuleReports(), kPatchedLine);
  EXPECT_EQ(machine.MachineNumber(kApplicationKey, u"ProcessSystemSounds"), 1);
  EXPECT_EQ(machine.MachineNumber(kProductKeyV3, u"APOBypass"), 0);
  // Each start: the patcher's, the noise reduction's, the helper's and the synchronizer's.
  EXPECT_EQ(EnumeratorsCreated(), 8u);
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::RegisterEndpointNotificationCallback"), 4u);
}

TEST_F(HalcyraDaemonModuleTest, StartAppliesTheNoiseReductionDefaultAfterTheRegistryWritesAndBeforeSubscribing) {
  machine.CreateProductKeys();
  machine.AddEndpoint(eRender, u"{3A2B3C4D-0000-4000-8000-000000000002}", DEVICE_STATE_ACTIVE,
                      u"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0294&SUBSYS_104315C1&REV_1000");
  ASSERT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(machine.MachineNumber(kProductKeyV3, u"DefaultNoiseReduction"), 1);
  std::vector<std::string> order;
  for (const Simulator::CallRecord& call : machine.audio.Calls().Calls()) {
    if (call.operation == "IAudioProcessingManager::GetParameterSet" ||
        call.operation == "IMMDeviceEnumerator::RegisterEndpointNotificationCallback") {
      order.push_back(call.operation);
    }
  }
  // The helper's subscription, then the synchronizer's, its last step.
  EXPECT_EQ(order, (std::vector<std::string>{"IAudioProcessingManager::GetParameterSet",
                                             "IMMDeviceEnumerator::RegisterEndpointNotificationCallback",
                                             "IMMDeviceEnumerator::RegisterEndpointNotificationCallback"}));
}

TEST_F(HalcyraDaemonModuleTest, ExtensionOneIsTheModulesEventListener) {
  EXPECT_EQ(module.GetExtension(1), static_cast<Daemon::IModuleEventListener*>(&module));
}

TEST_F(HalcyraDaemonModuleTest, NamesAndIdentityAreHalcyras) {
  EXPECT_EQ(std::u16string(module.GetName()), u"Halcyra");
  EXPECT_EQ(std::u16string(module.GetDisplayName()), u"Halcyra");
  EXPECT_EQ(module.GetInterface(&Daemon::IID_IModule), static_cast<Daemon::IModule*>(&module));
}

}  // namespace
