// The VAD state synchronizer on the simulated audio system: the routing value and the VAD's
// endpoints follow each other in both directions, after a debounce of 200 ms.
#include "audio_service/vad_state_synchronizer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/com.h"
#include "platform/utf.h"
#include "reactive/coordination.h"
#include "tests/audio_service/audio_service_machine.h"
#include "tests/support/routing_value_location.h"

namespace Testing {
namespace {

using namespace Platform;

constexpr const char* kEnum = "IMMDeviceEnumerator::EnumAudioEndpoints";
constexpr const char* kVisibility = "IPolicyConfig::SetEndpointVisibility";
using Testing::kProfilesKey;
using Testing::kRoutingValue;

class VADStateSynchronizerTest : public ::testing::Test {
protected:
  VADStateSynchronizerTest() : synchronizer(std::make_unique<VADStateSynchronizer>()) {
    vadOut = machine.AddEndpoint(eRender, u"{5AD00000-0000-4000-8000-000000000001}", DEVICE_STATE_ACTIVE,
                                 u"ROOT\\MEDIA\\QuillonHL3Vad\\0000");
    vadIn = machine.AddEndpoint(eCapture, u"{5AD00000-0000-4000-8000-000000000002}", DEVICE_STATE_ACTIVE,
                                u"root\\media\\quillonhl3VAD\\0001");
    unplugged = machine.AddEndpoint(eRender, u"{5AD00000-0000-4000-8000-000000000003}", DEVICE_STATE_UNPLUGGED,
                                    u"ROOT\\QuillonHL3Vad\\0002");
    speakers = machine.AddEndpoint(eRender, u"{5AD00000-0000-4000-8000-000000000004}", DEVICE_STATE_ACTIVE,
                                   u"HDAUDIO\\FUNC_01&VEN_10EC");
  }
  ~VADStateSynchronizerTest() override {
    // The pipelines hold the synchronizer until the process ends: it goes only once they are quiet.
    if (started) {
      Settle();
      synchronizer->Stop();
    }
  }

  void Start() {
    synchronizer->Start();
    started = true;
  }
  Simulator::CallLog& Calls() { return machine.audio.State()->Calls(); }
  // Waits until no endpoint scan has begun for a second: every debounce has run out.
  void Settle() {
    for (int round = 0; round < 30; ++round) {
      std::size_t scans = Calls().CountOf(kEnum);
      if (!Calls().WaitForCount(kEnum, scans + 1, 1000)) return;
    }
    ADD_FAILURE() << "the exchange did not settle";
  }
  // Waits until the scans have reached `count`, then until they settle.
  bool ScansReach(std::size_t count) {
    bool reached = Calls().WaitForCount(kEnum, count, 5000);
    Settle();
    return reached;
  }
  DWORD State(const std::u16string& id) {
    Simulator::Endpoint endpoint;
    EXPECT_TRUE(machine.audio.Endpoints().Find(id.c_str(), endpoint));
    return endpoint.state;
  }
  void SetState(const std::u16string& id, DWORD state) {
    Simulator::Endpoint endpoint;
    ASSERT_TRUE(machine.audio.Endpoints().Find(id.c_str(), endpoint));
    ASSERT_GE(machine.audio.Endpoints().SetState(endpoint, state), 0);
  }
  // The stored routing value; -1 when it is missing.
  static long long Routing() { return AudioServiceMachine::MachineNumber(kProfilesKey, kRoutingValue); }
  static void WriteRouting(DWORD value) {
    ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kProfilesKey, kRoutingValue, REG_DWORD, &value, sizeof value),
              ERROR_SUCCESS);
  }
  // The endpoints that got a visibility call, in order, as "id, flag".
  std::vector<std::string> VisibilityCalls() {
    std::vector<std::string> calls;
    for (const Simulator::CallRecord& record : Calls().CallsOf(kVisibility)) calls.push_back(record.arguments);
    return calls;
  }
  static std::string Call(const std::u16string& id, const char* flag) {
    return Platform::Utf16ToUtf8(id) + ", " + flag;
  }

  AudioServiceMachine machine;
  std::unique_ptr<VADStateSynchronizer> synchronizer;
  bool started = false;
  std::u16string vadOut, vadIn, unplugged, speakers;
};

TEST_F(VADStateSynchronizerTest, AnswersUnknownAndNotificationClientOnly) {
  void* object = nullptr;
  EXPECT_EQ(synchronizer->QueryInterface(IID_IUnknown, &object), S_OK);
  EXPECT_EQ(object, static_cast<IMMNotificationClient*>(synchronizer.get()));
  EXPECT_EQ(synchronizer->QueryInterface(IID_IMMNotificationClient, &object), S_OK);
  EXPECT_EQ(synchronizer->QueryInterface(IID_IMarshal, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(synchronizer->QueryInterface(IID_IAgileObject, &object), E_NOINTERFACE);
  EXPECT_EQ(synchronizer->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(synchronizer->Release(), 2u);
  EXPECT_EQ(synchronizer->Release(), 1u);
}

TEST_F(VADStateSynchronizerTest, StartWithTheDefaultFalseHidesOnlyTheActiveVadEndpoints) {
  Start();
  EXPECT_EQ(Routing(), 0);
  Settle();
  EXPECT_EQ(VisibilityCalls(), (std::vector<std::string>{Call(vadOut, "0x00000000"), Call(vadIn, "0x00000000")}));
  EXPECT_EQ(State(vadOut), DEVICE_STATE_DISABLED);
  EXPECT_EQ(State(vadIn), DEVICE_STATE_DISABLED);
  EXPECT_EQ(State(speakers), DEVICE_STATE_ACTIVE);
  EXPECT_EQ(State(unplugged), DEVICE_STATE_UNPLUGGED);
  EXPECT_EQ(Routing(), 0) << "the exchange settles with the value as it was";
}

TEST_F(VADStateSynchronizerTest, StartWithTrueShowsOnlyTheDisabledVadEndpoints) {
  SetState(vadOut, DEVICE_STATE_DISABLED);
  WriteRouting(1);
  Start();
  Settle();
  EXPECT_EQ(VisibilityCalls(), (std::vector<std::string>{Call(vadOut, "0xFFFFFFFF")}));
  EXPECT_EQ(State(vadOut), DEVICE_STATE_ACTIVE);
  EXPECT_EQ(State(vadIn), DEVICE_STATE_ACTIVE);
  EXPECT_EQ(State(speakers), DEVICE_STATE_ACTIVE);
  EXPECT_EQ(Routing(), 1);
}

TEST_F(VADStateSynchronizerTest, AValueWrittenByAnotherWriterShowsTheVadEndpointsAfterTheDebounce) {
  Start();
  Settle();
  Calls().Clear();
  WriteRouting(1);
  ASSERT_TRUE(Calls().WaitForCount(kVisibility, 2, 5000));
  Settle();
  EXPECT_EQ(VisibilityCalls(), (std::vector<std::string>{Call(vadOut, "0xFFFFFFFF"), Call(vadIn, "0xFFFFFFFF")}));
  EXPECT_EQ(State(vadOut), DEVICE_STATE_ACTIVE);
  EXPECT_EQ(State(vadIn), DEVICE_STATE_ACTIVE);
  EXPECT_EQ(Routing(), 1);
}

TEST_F(VADStateSynchronizerTest, AVadEndpointDisabledByOtherMeansHidesTheOthersAndWritesFalse) {
  WriteRouting(1);
  Start();
  Settle();
  ASSERT_EQ(State(vadOut), DEVICE_STATE_ACTIVE);
  Calls().Clear();
  SetState(vadIn, DEVICE_STATE_DISABLED);
  ASSERT_TRUE(Calls().WaitForCount(kVisibility, 1, 5000));
  Settle();
  EXPECT_EQ(VisibilityCalls(), (std::vector<std::string>{Call(vadOut, "0x00000000")}));
  EXPECT_EQ(State(vadOut), DEVICE_STATE_DISABLED);
  EXPECT_EQ(Routing(), 0);
}

TEST_F(VADStateSynchronizerTest, AnUnpluggedVadEndpointCountsAsHiddenForTheOthers) {
  WriteRouting(1);
  Start();
  Settle();
  Calls().Clear();
  SetState(vadIn, DEVICE_STATE_NOTPRESENT);
  ASSERT_TRUE(Calls().WaitForCount(kVisibility, 1, 5000));
  Settle();
  EXPECT_EQ(VisibilityCalls(), (std::vector<std::string>{Call(vadOut, "0x00000000")}));
  EXPECT_EQ(Routing(), 0);
  EXPECT_EQ(State(unplugged), DEVICE_STATE_UNPLUGGED);
}

TEST_F(VADStateSynchronizerTest, AnEndpointNotOfTheVadChangingStateCausesNoScan) {
  Start();
  Settle();
  std::size_t scans = Calls().CountOf(kEnum);
  SetState(speakers, DEVICE_STATE_DISABLED);
  EXPECT_EQ(synchronizer->OnDeviceStateChanged(speakers.c_str(), DEVICE_STATE_DISABLED), S_OK);
  EXPECT_FALSE(Calls().WaitForCount(kEnum, scans + 1, 800));
  EXPECT_EQ(Routing(), 0);
}

TEST_F(VADStateSynchronizerTest, ABurstWithinTheDebounceYieldsOneScanWithTheLastValue) {
  Start();
  Settle();
  Calls().Clear();
  EXPECT_EQ(synchronizer->OnDeviceStateChanged(vadOut.c_str(), DEVICE_STATE_ACTIVE), S_OK);
  EXPECT_EQ(synchronizer->OnDeviceStateChanged(vadOut.c_str(), DEVICE_STATE_DISABLED), S_OK);
  EXPECT_EQ(synchronizer->OnDeviceStateChanged(vadOut.c_str(), DEVICE_STATE_ACTIVE), S_OK);
  ASSERT_TRUE(Calls().WaitForCount(kEnum, 1, 5000));
  Settle();
  std::vector<Simulator::CallRecord> enums = Calls().CallsOf(kEnum);
  ASSERT_GE(enums.size(), 1u);
  EXPECT_EQ(enums.front().arguments, "2, 0x00000002") << "one scan, to show: the last value of the burst";
  EXPECT_EQ(Routing(), 1);
}

TEST_F(VADStateSynchronizerTest, AddedAndRemovedEndpointsCauseNothing) {
  Start();
  Settle();
  std::size_t scans = Calls().CountOf(kEnum);
  EXPECT_EQ(synchronizer->OnDeviceAdded(vadOut.c_str()), S_OK);
  EXPECT_EQ(synchronizer->OnDeviceRemoved(vadOut.c_str()), S_OK);
  EXPECT_EQ(synchronizer->OnDefaultDeviceChanged(eRender, eConsole, vadOut.c_str()), S_OK);
  EXPECT_FALSE(Calls().WaitForCount(kEnum, scans + 1, 800));
}

TEST_F(VADStateSynchronizerTest, ARepeatedValueAfterTheDebounceScansAndFindsNothingToChange) {
  Start();
  Settle();
  Calls().Clear();
  EXPECT_EQ(synchronizer->OnDeviceStateChanged(vadOut.c_str(), DEVICE_STATE_DISABLED), S_OK);
  ASSERT_TRUE(ScansReach(1));
  EXPECT_TRUE(VisibilityCalls().empty());
  EXPECT_EQ(Routing(), 0);
}

TEST_F(VADStateSynchronizerTest, AfterStopAndANewStartEachValueIsDeliveredTwiceOnFourWorkers) {
  const std::size_t workersBefore = Reactive::observe_on_new_thread().worker_count();
  Start();
  Settle();
  synchronizer->Stop();
  started = false;
  Start();
  Settle();
  EXPECT_EQ(Reactive::observe_on_new_thread().worker_count(), workersBefore + 4);
  Calls().Clear();
  EXPECT_EQ(synchronizer->OnDeviceStateChanged(vadOut.c_str(), DEVICE_STATE_DISABLED), S_OK);
  ASSERT_TRUE(ScansReach(2));
  EXPECT_EQ(Calls().CountOf(kEnum), 2u) << "two subscribers, two debounced deliveries";
}

TEST_F(VADStateSynchronizerTest, AFailedStartLogsItsStepAndLeavesNothingSetUp) {
  // A volatile product key refuses the data system's lasting keys below it.
  UniqueKey product;
  ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, u"Software\\Velorin\\VelorinV3", 0, nullptr, REG_OPTION_VOLATILE,
                            KEY_ALL_ACCESS, nullptr, product.Put(), nullptr),
            ERROR_SUCCESS);
  LogSetLevel(LogLevelTrace);
  synchronizer->Start();
  EXPECT_NE(machine.capture.Text().find("VADStateSynchronizer::Start failed to create the DeviceRouting DataSystem"),
            std::string::npos)
      << machine.capture.Text();
  EXPECT_EQ(Calls().CountOf("IMMDeviceEnumerator::RegisterEndpointNotificationCallback"), 0u);
}

using VADStateSynchronizerDeathTest = VADStateSynchronizerTest;

TEST_F(VADStateSynchronizerDeathTest, StopAfterAFailedStartFaultsAtItsFirstStep) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(synchronizer->Stop(), "");
}

TEST_F(VADStateSynchronizerDeathTest, ADeliveryAfterStopFaultsOnTheReleasedEnumerator) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        synchronizer->Start();
        synchronizer->Stop();
        static_cast<void>(synchronizer->SetVadVisibility(true));
      },
      "");
}

}  // namespace
}  // namespace Testing
