#include "audio_service/rtk_gen3_aec_helper.h"

#include <gtest/gtest.h>

#include <chrono>

#include "platform/rtk_bss_api.h"
#include "simulator/call_text.h"
#include "tests/audio_service/audio_service_machine.h"
#include "tests/support/child_process.h"

namespace {

using namespace Platform;

constexpr IID kOtherIid = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};

TEST(RtkGen3AECHelperTest, AnswersUnknownAgileMarshalAndNotificationClient) {
  RtkGen3AECHelper helper;
  for (const IID& iid : {IID_IUnknown, IID_IAgileObject, IID_IMarshal, IID_IMMNotificationClient}) {
    void* object = nullptr;
    EXPECT_EQ(helper.QueryInterface(iid, &object), S_OK);
    EXPECT_NE(object, nullptr);
    static_cast<IUnknown*>(object)->Release();
  }
  void* marshal = nullptr;
  ASSERT_EQ(helper.QueryInterface(IID_IMarshal, &marshal), S_OK);
  EXPECT_EQ(marshal, static_cast<IMarshal*>(&helper));
  helper.Release();
}

TEST(RtkGen3AECHelperTest, OtherInterfacesGiveNoInterfaceAndNull) {
  RtkGen3AECHelper helper;
  void* object = &helper;
  EXPECT_EQ(helper.QueryInterface(kOtherIid, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
}

TEST(RtkGen3AECHelperTest, CountStartsAtOneAndIsShared) {
  RtkGen3AECHelper helper;
  EXPECT_EQ(helper.AddRef(), 2u);
  EXPECT_EQ(helper.Release(), 1u);
}

TEST(RtkGen3AECHelperTest, MarshalingIsForwardedToTheFreeThreadedMarshaler) {
  RtkGen3AECHelper helper;
  // Within the process the free-threaded marshaler names itself; towards other processes Windows'
  // hands over to the standard marshaler.
  constexpr DWORD kInProcess = 3;
  CLSID clsid{};
  EXPECT_EQ(helper.GetUnmarshalClass(IID_IMMNotificationClient, nullptr, kInProcess, nullptr, 0, &clsid), S_OK);
  EXPECT_EQ(clsid.Data1, 0x0000033Au);
  EXPECT_EQ(helper.AddRef(), 2u);  // the marshaler's interface did not keep a count on the helper
}

TEST(RtkGen3AECHelperTest, NotificationsOtherThanPropertyChangesSucceedAndDoNothing) {
  RtkGen3AECHelper helper;
  EXPECT_EQ(helper.OnDeviceStateChanged(u"id", 1), S_OK);
  EXPECT_EQ(helper.OnDeviceAdded(u"id"), S_OK);
  EXPECT_EQ(helper.OnDeviceRemoved(u"id"), S_OK);
  EXPECT_EQ(helper.OnDefaultDeviceChanged(eRender, eConsole, u"id"), S_OK);
}

}  // namespace

namespace {

using namespace Platform;

class RtkGen3AECHelperStartTest : public ::testing::Test {
protected:
  Testing::AudioServiceMachine machine;
  RtkGen3AECHelper helper;
};

TEST_F(RtkGen3AECHelperStartTest, StartSubscribesAndStopUnsubscribesAndDropsTheEnumerator) {
  helper.Start();
  ASSERT_NE(helper.Enumerator(), nullptr);
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::RegisterEndpointNotificationCallback"), 1u);
  EXPECT_EQ(helper.AddRef(), 3u);  // the simulated system holds the subscription's reference
  helper.Release();
  helper.Stop();
  EXPECT_EQ(helper.Enumerator(), nullptr);
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback"), 1u);
  EXPECT_EQ(helper.AddRef(), 2u);
  helper.Release();
}

TEST_F(RtkGen3AECHelperStartTest, StopWithoutASubscriptionDoesNothing) {
  helper.Stop();
  EXPECT_TRUE(machine.audio.Calls().Calls().empty());
}

TEST_F(RtkGen3AECHelperStartTest, ASecondStartReplacesTheEnumeratorAndLeavesTheFirstSubscription) {
  helper.Start();
  helper.Start();
  EXPECT_EQ(machine.audio.Calls().CountOf("CoCreateInstance"), 2u);
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::RegisterEndpointNotificationCallback"), 2u);
  helper.Stop();
  // The first enumerator was dropped without unsubscribing: the system still holds the helper.
  void* object = nullptr;
  ASSERT_EQ(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator, &object),
            S_OK);
  auto* enumerator = static_cast<IMMDeviceEnumerator*>(object);
  EXPECT_EQ(enumerator->UnregisterEndpointNotificationCallback(&helper), S_OK);
  EXPECT_EQ(enumerator->UnregisterEndpointNotificationCallback(&helper), E_NOTFOUND);
  enumerator->Release();
}

}  // namespace

namespace {

using namespace Platform;
using namespace std::chrono_literals;

constexpr PROPERTYKEY kBssEnable = {{0x911DFF54, 0x0B79, 0x4E96, {0xB3, 0xDE, 0x57, 0x7F, 0x23, 0x5B, 0x61, 0x9B}}, 2};
constexpr PROPERTYKEY kBssReset = {{0x911DFF54, 0x0B79, 0x4E96, {0xB3, 0xDE, 0x57, 0x7F, 0x23, 0x5B, 0x61, 0x9B}}, 15};
constexpr const char16_t* kBssEnableName = u"{911DFF54-0B79-4E96-B3DE-577F235B619B},2";
constexpr const char16_t* kBssResetName = u"{911DFF54-0B79-4E96-B3DE-577F235B619B},15";

const std::u16string kRealtekKey = u"{2B000000-0000-4000-8000-000000000001}";
const std::u16string kOtherKey = u"{2B000000-0000-4000-8000-000000000002}";
const std::u16string kAsusKey = u"{2B000000-0000-4000-8000-000000000003}";
const std::u16string kBareKey = u"{2B000000-0000-4000-8000-000000000004}";

constexpr const char* kNoObjectLine = "RtkGen3AECHelper::failed to create RtkBssApi instance, Gen 1 is supported\n";

// The helper on a machine with a Realtek microphone of the filter (its hardware id in small
// letters), an ASUS one of the filter, another microphone, and one without a hardware id. Tasks
// are waited for with the helper's own Stop.
class RtkGen3AECHelperTaskTest : public ::testing::Test {
protected:
  RtkGen3AECHelperTaskTest() {
    realtek = machine.AddEndpoint(eCapture, kRealtekKey, DEVICE_STATE_ACTIVE,
                                  u"hdaudio\\func_01&ven_10ec&dev_1168&subsys_10431f3d&rev_1000\\4&2f1e2a3b&0&0001");
    other = machine.AddEndpoint(eCapture, kOtherKey, DEVICE_STATE_ACTIVE, u"USB\\VID_046D&PID_0825&MI_02\\6&1234");
    asus = machine.AddEndpoint(eCapture, kAsusKey, DEVICE_STATE_ACTIVE, u"USB\\VID_0B05&PID_1916&MI_00\\7&ABCD");
    bare = machine.AddEndpoint(eCapture, kBareKey, DEVICE_STATE_ACTIVE, nullptr);
  }
  ~RtkGen3AECHelperTaskTest() override {
    machine.audio.Calls().ReleaseCalls("IRtkBssApi::Initialize");
    helper.Stop();
  }

  void SetEffect(const std::u16string& key, const char16_t* name, DWORD value) {
    machine.SetNumber(eCapture, key, true, name, value);
  }

  // Sets the mode, fires PKEY_RtkBssEnable with `value` on the endpoint, and waits for its task.
  void FireEnable(const std::u16string& key, const std::u16string& id, DWORD value) {
    SetEffect(key, kBssEnableName, value);
    EXPECT_EQ(helper.OnPropertyValueChanged(id.c_str(), kBssEnable), S_OK);
    helper.Stop();
  }

  DWORD Mode(const std::u16string& id) { return machine.audio.State()->BssMode(id); }
  std::size_t CountOf(const char* operation) { return machine.audio.Calls().CountOf(operation); }

  Testing::AudioServiceMachine machine;
  RtkGen3AECHelper helper;
  std::u16string realtek;
  std::u16string other;
  std::u16string asus;
  std::u16string bare;
};

TEST_F(RtkGen3AECHelperTaskTest, AnotherPropertyIdOfTheRightFormatDoesNothingWithoutAnyComCall) {
  SetEffect(kRealtekKey, u"{911DFF54-0B79-4E96-B3DE-577F235B619B},3", 5);
  const PROPERTYKEY third = {kBssEnable.fmtid, 3};
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), third), S_OK);
  const PROPERTYKEY otherFormat = {{0x911DFF54, 0x0B79, 0x4E96, {0xB3, 0xDE, 0x57, 0x7F, 0x23, 0x5B, 0x61, 0x9C}}, 2};
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), otherFormat), S_OK);
  helper.Stop();
  EXPECT_TRUE(machine.audio.Calls().Calls().empty());
}

TEST_F(RtkGen3AECHelperTaskTest, TheEnablePropertyIsReadFromTheEffectsStoreThroughThePolicyClient) {
  FireEnable(kRealtekKey, realtek, 5);
  const std::vector<Simulator::CallRecord> reads = machine.audio.Calls().CallsOf("IPolicyConfig::GetPropertyValue");
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].arguments, Simulator::Narrow(realtek) + ", 1, " + Simulator::Narrow(kBssEnableName));
  EXPECT_NE(reads[0].threadId, 0u);
}

TEST_F(RtkGen3AECHelperTaskTest, EnableOfFiveLaunchesTheModeTaskOnAPoolThread) {
  FireEnable(kRealtekKey, realtek, 5);
  const std::vector<Simulator::CallRecord> modes = machine.audio.Calls().CallsOf("IRtkBssApi::GetBssMode");
  ASSERT_EQ(modes.size(), 1u);
  EXPECT_NE(modes[0].threadId, GetCurrentThreadId());
  EXPECT_EQ(Mode(realtek), 3u);
}

TEST_F(RtkGen3AECHelperTaskTest, EnableOfZeroDoesNothing) {
  FireEnable(kRealtekKey, realtek, 0);
  EXPECT_EQ(CountOf("IRtkBssApi::Initialize"), 0u);
  EXPECT_EQ(Mode(realtek), 0u);
}

TEST_F(RtkGen3AECHelperTaskTest, EnableThatIsNotANumberOrMissingDoesNothing) {
  machine.SetText(eCapture, kRealtekKey, true, kBssEnableName, u"5");
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssEnable), S_OK);
  EXPECT_EQ(helper.OnPropertyValueChanged(other.c_str(), kBssEnable), S_OK);
  helper.Stop();
  EXPECT_EQ(CountOf("IRtkBssApi::Initialize"), 0u);
}

TEST_F(RtkGen3AECHelperTaskTest, ResetOfZeroLaunchesTheResetTask) {
  SetEffect(kRealtekKey, kBssResetName, 0);
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssReset), S_OK);
  helper.Stop();
  const std::vector<Simulator::CallRecord> clears = machine.audio.Calls().CallsOf("IRtkBssApi::ClearBss");
  ASSERT_EQ(clears.size(), 1u);
  EXPECT_EQ(clears[0].arguments, Simulator::Narrow(realtek) + ", 0");
  EXPECT_EQ(CountOf("IRtkBssApi::GetBssMode"), 0u);
}

TEST_F(RtkGen3AECHelperTaskTest, ResetOfOneOrOfAnotherTypeOrEmptyDoesNothing) {
  SetEffect(kRealtekKey, kBssResetName, 1);
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssReset), S_OK);
  machine.SetText(eCapture, kAsusKey, true, kBssResetName, u"0");
  EXPECT_EQ(helper.OnPropertyValueChanged(asus.c_str(), kBssReset), S_OK);
  EXPECT_EQ(helper.OnPropertyValueChanged(other.c_str(), kBssReset), S_OK);
  helper.Stop();
  EXPECT_EQ(CountOf("IRtkBssApi::Initialize"), 0u);
}

TEST_F(RtkGen3AECHelperTaskTest, ANullEndpointIdFiresNeither) {
  EXPECT_EQ(helper.OnPropertyValueChanged(nullptr, kBssEnable), S_OK);
  EXPECT_EQ(helper.OnPropertyValueChanged(nullptr, kBssReset), S_OK);
  helper.Stop();
  EXPECT_EQ(CountOf("IPolicyConfig::GetPropertyValue"), 0u);
  EXPECT_EQ(CountOf("IRtkBssApi::Initialize"), 0u);
}

TEST_F(RtkGen3AECHelperTaskTest, EachFiringLaunchesATaskOfItsOwn) {
  SetEffect(kRealtekKey, kBssEnableName, 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssEnable), S_OK);
  helper.Stop();
  EXPECT_EQ(CountOf("IRtkBssApi::GetBssMode"), 3u);
}

TEST_F(RtkGen3AECHelperTaskTest, TheFirstLiteralInSmallLettersIsAHitSinceTheIdIsUpperCased) {
  FireEnable(kRealtekKey, realtek, 1);
  EXPECT_EQ(Mode(realtek), 3u);
}

TEST_F(RtkGen3AECHelperTaskTest, AnAsusHitCountsTheSameAsARealtekOne) {
  FireEnable(kAsusKey, asus, 1);
  EXPECT_EQ(Mode(asus), 3u);
  ASSERT_EQ(machine.audio.State()->SetBssMode(asus, 4), S_OK);
  FireEnable(kAsusKey, asus, 2);
  EXPECT_EQ(Mode(asus), 3u);
}

TEST_F(RtkGen3AECHelperTaskTest, ModeFourBecomesThreeOnADeviceOfTheFilterAndStaysFourElsewhere) {
  ASSERT_EQ(machine.audio.State()->SetBssMode(realtek, 4), S_OK);
  ASSERT_EQ(machine.audio.State()->SetBssMode(other, 4), S_OK);
  FireEnable(kRealtekKey, realtek, 1);
  FireEnable(kOtherKey, other, 1);
  EXPECT_EQ(Mode(realtek), 3u);
  EXPECT_EQ(Mode(other), 4u);
}

TEST_F(RtkGen3AECHelperTaskTest, EachRowOfTheModeTable) {
  const struct {
    DWORD before;
    DWORD hit;
    DWORD miss;
  } rows[] = {{0, 3, 1}, {1, 1, 1}, {3, 3, 3}, {4, 3, 4}, {2, 2, 2}, {7, 7, 7}};
  for (const auto& row : rows) {
    ASSERT_EQ(machine.audio.State()->SetBssMode(realtek, row.before), S_OK);
    ASSERT_EQ(machine.audio.State()->SetBssMode(other, row.before), S_OK);
    machine.audio.Calls().Clear();
    FireEnable(kRealtekKey, realtek, 1);
    FireEnable(kOtherKey, other, 1);
    EXPECT_EQ(Mode(realtek), row.hit) << "mode " << row.before;
    EXPECT_EQ(Mode(other), row.miss) << "mode " << row.before;
    const std::size_t writes = (row.hit != row.before ? 1u : 0u) + (row.miss != row.before ? 1u : 0u);
    EXPECT_EQ(CountOf("IRtkBssApi::SetBssMode"), writes) << "mode " << row.before;
  }
}

TEST_F(RtkGen3AECHelperTaskTest, WithGen3NotSupportedNoLineIsLoggedAndTheModeIsNotTouched) {
  ASSERT_EQ(machine.audio.State()->SetGen3Supported(false), S_OK);
  FireEnable(kRealtekKey, realtek, 1);
  EXPECT_EQ(CountOf("IRtkBssApi2::IsGen3Supported"), 1u);
  EXPECT_EQ(CountOf("IRtkBssApi::GetBssMode"), 0u);
  EXPECT_EQ(CountOf("IMMDeviceEnumerator::GetDevice"), 0u);
  EXPECT_EQ(machine.capture.Text(), "");
}

TEST_F(RtkGen3AECHelperTaskTest, WithoutTheRealtekObjectEachFiringLogsOneLine) {
  machine.audio.Calls().FailCalls("CoCreateInstance", REGDB_E_CLASSNOTREG, Simulator::GuidString(CLSID_RtkBssApi));
  FireEnable(kRealtekKey, realtek, 1);
  SetEffect(kRealtekKey, kBssResetName, 0);
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssReset), S_OK);
  helper.Stop();
  EXPECT_EQ(machine.capture.Text(), std::string(kNoObjectLine) + kNoObjectLine);
}

TEST_F(RtkGen3AECHelperTaskTest, AFailingStepOfTheTaskLogsItsLineAndEndsIt) {
  const struct {
    const char* operation;
    const char* line;
  } rows[] = {
      {"IRtkBssApi::Initialize", "RtkGen3AECHelper::failed to initialize RtkBssApi\n"},
      {"IRtkBssApi2::IsGen3Supported", "RtkGen3AECHelper::Gen3 is not supported\n"},
      {"IMMDeviceEnumerator::GetDevice", "RtkGen3AECHelper::SetRtkBSSMode - GetDevice->failed\n"},
      {"IMMDevice::OpenPropertyStore", "RtkGen3AECHelper::SetRtkBSSMode - GetHWID->failed\n"},
  };
  for (const auto& row : rows) {
    machine.audio.Calls().ClearFailures();
    machine.audio.Calls().FailCalls(row.operation, E_FAIL);
    machine.capture.Clear();
    FireEnable(kRealtekKey, realtek, 1);
    EXPECT_EQ(machine.capture.Text(), row.line);
    EXPECT_EQ(Mode(realtek), 0u);
  }
}

TEST_F(RtkGen3AECHelperTaskTest, WithoutAnEnumeratorOfItsOwnSetRtkBSSModeLogsAndLeavesTheMode) {
  machine.audio.Calls().FailCalls("CoCreateInstance", E_FAIL, Simulator::GuidString(CLSID_MMDeviceEnumerator));
  FireEnable(kRealtekKey, realtek, 1);
  EXPECT_EQ(machine.capture.Text(), "RtkGen3AECHelper::SetRtkBSSMode - Failed to create the MMDeviceEnumerator\n");
  EXPECT_EQ(Mode(realtek), 0u);
}

TEST_F(RtkGen3AECHelperTaskTest, StopWithThreeUnfinishedTasksWaitsAboutOneSecondForEach) {
  machine.audio.Calls().HoldCalls("IRtkBssApi::Initialize");
  SetEffect(kRealtekKey, kBssEnableName, 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssEnable), S_OK);
  ASSERT_TRUE(machine.audio.Calls().WaitForCount("IRtkBssApi::Initialize", 3, 10000));
  const auto start = std::chrono::steady_clock::now();
  helper.Stop();
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, 2900ms);
  EXPECT_LT(waited, 6000ms);
  EXPECT_EQ(CountOf("IRtkBssApi::GetBssMode"), 0u) << "the tasks were not cancelled, only left waiting";

  // They go on after Stop, and a later Stop finds them finished.
  machine.audio.Calls().ReleaseCalls("IRtkBssApi::Initialize");
  ASSERT_TRUE(machine.audio.Calls().WaitForCount("IRtkBssApi::GetBssMode", 3, 10000));
  helper.Stop();
  EXPECT_EQ(Mode(realtek), 3u);
}

TEST_F(RtkGen3AECHelperTaskTest, StopWithoutASubscriptionOnlyWaitsForTheTasks) {
  machine.audio.Calls().FailCalls("CoCreateInstance", E_FAIL, Simulator::GuidString(CLSID_MMDeviceEnumerator));
  helper.Start();
  ASSERT_EQ(helper.Enumerator(), nullptr);
  machine.audio.Calls().ClearFailures();
  machine.audio.Calls().HoldCalls("IRtkBssApi::Initialize");
  SetEffect(kRealtekKey, kBssEnableName, 1);
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssEnable), S_OK);
  ASSERT_TRUE(machine.audio.Calls().WaitForCount("IRtkBssApi::Initialize", 1, 10000));
  const auto start = std::chrono::steady_clock::now();
  helper.Stop();
  EXPECT_GE(std::chrono::steady_clock::now() - start, 900ms);
  EXPECT_EQ(CountOf("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback"), 0u);
}

TEST_F(RtkGen3AECHelperTaskTest, TasksOfOneEndpointMayRunSideBySide) {
  machine.audio.Calls().HoldCalls("IRtkBssApi::Initialize");
  SetEffect(kRealtekKey, kBssEnableName, 1);
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssEnable), S_OK);
  EXPECT_EQ(helper.OnPropertyValueChanged(realtek.c_str(), kBssEnable), S_OK);
  // Both are inside the Realtek object at once.
  EXPECT_TRUE(machine.audio.Calls().WaitForCount("IRtkBssApi::Initialize", 2, 10000));
}

using RtkGen3AECHelperDeathTest = RtkGen3AECHelperTaskTest;

TEST_F(RtkGen3AECHelperDeathTest, AHardwareIdThatIsNoStringFaultsAtTheCopy) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        void* object = nullptr;
        if (CoCreateInstance(CLSID_RtkBssApi, nullptr, CLSCTX_INPROC_SERVER, IID_IRtkBssApi, &object) < 0) return;
        auto* api = static_cast<IRtkBssApi*>(object);
        if (api->Initialize(bare.c_str()) < 0) return;
        helper.SetRtkBSSMode(api, bare.c_str());
      },
      "");
}

// The whole way: a property change made by another process reaches the subscribed helper on
// Core Audio's notification thread, and the task sets the mode that the Realtek object keeps.
class RtkGen3AECHelperAcrossProcessesTest : public RtkGen3AECHelperTaskTest {
protected:
  RtkGen3AECHelperAcrossProcessesTest() { helper.Start(); }

  // Writes PKEY_RtkBssEnable of the endpoint's effects store with halcyra-reg.
  void WriteEnableFromAnotherProcess(const std::u16string& key, DWORD value) {
    const std::string path = "HKLM\\" + Simulator::Narrow(machine.StorePath(eCapture, key, true));
    const Testing::ChildProcess::Result result = Testing::ChildProcess::Run(
        HALCYRA_REG_TOOL,
        {"add", path, "/v", Simulator::Narrow(kBssEnableName), "/t", "REG_DWORD", "/d", std::to_string(value), "/f"});
    ASSERT_EQ(result.exitCode, 0) << result.output << result.error;
  }
};

TEST_F(RtkGen3AECHelperAcrossProcessesTest, EachRowOfTheModeTableThroughAChangeMadeInAnotherProcess) {
  const struct {
    DWORD before;
    DWORD hit;
    DWORD miss;
  } rows[] = {{0, 3, 1}, {1, 1, 1}, {3, 3, 3}, {4, 3, 4}, {6, 6, 6}};
  std::size_t tasks = 0;
  DWORD value = 1;
  for (const auto& row : rows) {
    ASSERT_EQ(machine.audio.State()->SetBssMode(realtek, row.before), S_OK);
    ASSERT_EQ(machine.audio.State()->SetBssMode(other, row.before), S_OK);
    // A new value each time, so that each write is a change.
    ++value;
    WriteEnableFromAnotherProcess(kRealtekKey, value);
    WriteEnableFromAnotherProcess(kOtherKey, value);
    tasks += 2;
    ASSERT_TRUE(machine.audio.Calls().WaitForCount("IRtkBssApi::GetBssMode", tasks, 10000))
        << "no task within 10 s for mode " << row.before;
    helper.Stop();
    helper.Start();
    EXPECT_EQ(Mode(realtek), row.hit) << "mode " << row.before;
    EXPECT_EQ(Mode(other), row.miss) << "mode " << row.before;
  }
  for (const Simulator::CallRecord& read : machine.audio.Calls().CallsOf("IPolicyConfig::GetPropertyValue")) {
    EXPECT_EQ(read.threadId, machine.audio.NotificationThreadId());
  }
}

}  // namespace
