#include "audio_service/default_noise_reduction.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/audio_processing.h"
#include "simulator/call_text.h"
#include "tests/audio_service/audio_service_machine.h"

namespace {

using namespace Platform;

constexpr const char16_t* kProductKey = u"SOFTWARE\\Velorin\\VelorinV3";
constexpr const char16_t* kValue = u"DefaultNoiseReduction";
constexpr const char16_t* kMatchingId =
    u"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0294&SUBSYS_104315C1&REV_1000\\4&1A2B3C4D&0&0001";
constexpr DWORD kOn = 0xFFFFFFFF;

class DefaultNoiseReductionTest : public ::testing::Test {
protected:
  DefaultNoiseReductionTest() { Testing::AudioServiceMachine::CreateProductKeys(); }

  std::u16string AddRender(const std::u16string& key, const char16_t* hardwareId, DWORD state = DEVICE_STATE_ACTIVE) {
    return machine.AddEndpoint(eRender, key, state, hardwareId);
  }

  long long Recorded() { return Testing::AudioServiceMachine::MachineNumber(kProductKey, kValue); }
  std::size_t CountOf(const char* operation) { return machine.audio.Calls().CountOf(operation); }
  std::vector<std::string> Texts(const char* operation) {
    std::vector<std::string> texts;
    for (const Simulator::CallRecord& call : machine.audio.Calls().CallsOf(operation)) texts.push_back(call.Text());
    return texts;
  }

  Testing::AudioServiceMachine machine;
};

TEST_F(DefaultNoiseReductionTest, WithoutTheValueAndWithoutTheDeviceTheValueBecomesZero) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", u"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0256");
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Recorded(), 0);
  EXPECT_EQ(CountOf("IAudioProcessingManager::GetParameterSet"), 0u);
}

TEST_F(DefaultNoiseReductionTest, TheDeviceGetsBothParametersOnInOrderAndTheValueOne) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Recorded(), 1);
  EXPECT_EQ(machine.audio.State()->Parameter(11), kOn);
  EXPECT_EQ(machine.audio.State()->Parameter(106), kOn);
  EXPECT_EQ(
      Texts("IAudioParameterSet::GetParameter"),
      (std::vector<std::string>{"IAudioParameterSet::GetParameter(11)", "IAudioParameterSet::GetParameter(106)"}));
  EXPECT_EQ(Texts("IAudioParameter::SetValue"),
            (std::vector<std::string>{"IAudioParameter::SetValue(11, 4294967295)",
                                      "IAudioParameter::SetValue(106, 4294967295)"}));
  EXPECT_EQ(machine.capture.Text(), "");
}

TEST_F(DefaultNoiseReductionTest, TheServiceIsCreatedWithEveryContextAndTheWalkCoversActiveRenderEndpoints) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  ApplyDefaultNoiseReduction();
  const std::vector<Simulator::CallRecord> creations = machine.audio.Calls().CallsOf("CoCreateInstance");
  ASSERT_GE(creations.size(), 2u);
  EXPECT_EQ(creations[0].arguments, Simulator::GuidString(CLSID_AudioProcessingManager) + ", " +
                                        Simulator::GuidString(IID_IAudioProcessingManager));
  EXPECT_EQ(creations[1].arguments.rfind(Simulator::GuidString(CLSID_MMDeviceEnumerator), 0), 0u);
  const std::vector<std::string> walks = Texts("IMMDeviceEnumerator::EnumAudioEndpoints");
  ASSERT_EQ(walks.size(), 1u);
  EXPECT_EQ(walks[0], "IMMDeviceEnumerator::EnumAudioEndpoints(0, 0x00000001)");
}

TEST_F(DefaultNoiseReductionTest, AnInstanceStringInSmallLettersMatches) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}",
            u"hdaudio\\func_01&ven_10ec&dev_0294&subsys_104315c1&rev_1000\\4&1a2b3c4d&0&0001");
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Recorded(), 1);
}

TEST_F(DefaultNoiseReductionTest, ACaptureEndpointWithTheStringDoesNotCount) {
  machine.AddEndpoint(eCapture, u"{1A000000-0000-4000-8000-000000000002}", DEVICE_STATE_ACTIVE, kMatchingId);
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Recorded(), 0);
  EXPECT_EQ(CountOf("IAudioProcessingManager::GetParameterSet"), 0u);
}

TEST_F(DefaultNoiseReductionTest, ADisabledRenderEndpointWithTheStringDoesNotCount) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId, DEVICE_STATE_DISABLED);
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Recorded(), 0);
}

TEST_F(DefaultNoiseReductionTest, WithTwoMatchingEndpointsTheServiceIsCalledOnce) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  AddRender(u"{1A000000-0000-4000-8000-000000000002}", kMatchingId);
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(CountOf("IAudioProcessingManager::GetParameterSet"), 1u);
  EXPECT_EQ(Recorded(), 1);
}

TEST_F(DefaultNoiseReductionTest, AnEndpointWithoutAnIdOrWithAnotherTypeIsPassedOver) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", nullptr);
  const std::u16string numbered = u"{1A000000-0000-4000-8000-000000000002}";
  AddRender(numbered, nullptr);
  machine.SetNumber(eRender, numbered, false, u"{B3F8FA53-0004-438E-9003-51A46E139BFC},2", 294);
  AddRender(u"{1A000000-0000-4000-8000-000000000003}", kMatchingId);
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Recorded(), 1);
}

TEST_F(DefaultNoiseReductionTest, WhenTheValueOneStandsNoComObjectIsCreated) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  Testing::AudioServiceMachine::SetNumberInMachine(kProductKey, kValue, 1);
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(CountOf("CoCreateInstance"), 0u);
  EXPECT_EQ(Recorded(), 1);
}

TEST_F(DefaultNoiseReductionTest,
       IfParameter106CannotBeSetParameter11StaysSetTheValueStaysZeroAndTheNextStartTriesAgain) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  machine.audio.Calls().FailCalls("IAudioParameter::SetValue", E_FAIL, "106");
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(machine.audio.State()->Parameter(11), kOn);
  EXPECT_FALSE(machine.audio.State()->Parameter(106).has_value());
  EXPECT_EQ(Recorded(), 0);
  EXPECT_NE(machine.capture.Text().find("Error 7 (cannot write to resource) in function SetNoiseReductionRegistry"),
            std::string::npos)
      << machine.capture.Text();

  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Texts("IAudioParameter::SetValue"),
            (std::vector<std::string>{
                "IAudioParameter::SetValue(11, 4294967295)", "IAudioParameter::SetValue(106, 4294967295)",
                "IAudioParameter::SetValue(11, 4294967295)", "IAudioParameter::SetValue(106, 4294967295)"}));
  EXPECT_EQ(Recorded(), 0);
}

TEST_F(DefaultNoiseReductionTest, WithoutTheServiceTheValueStaysZeroAndTheNextStartTriesAgain) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  Testing::AudioServiceMachine::SetNumberInMachine(kProductKey, kValue, 0);
  machine.audio.Calls().FailCalls("CoCreateInstance", REGDB_E_CLASSNOTREG,
                                  Simulator::GuidString(CLSID_AudioProcessingManager));
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Recorded(), 0);
  EXPECT_EQ(CountOf("IMMDeviceEnumerator::EnumAudioEndpoints"), 0u);
  machine.audio.Calls().ClearFailures();
  ApplyDefaultNoiseReduction();
  EXPECT_EQ(Recorded(), 1);
}

TEST_F(DefaultNoiseReductionTest, WithoutTheProductKeyTheSearchRunsAndNothingIsRecorded) {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kProductKey);
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  // On a thread of its own, whose apartment the step's unpaired CoUninitialize cannot disturb.
  std::thread([] { ApplyDefaultNoiseReduction(); }).join();
  EXPECT_EQ(machine.audio.State()->Parameter(106), kOn);
  EXPECT_EQ(Recorded(), -1);
}

TEST_F(DefaultNoiseReductionTest, WithoutAnEnumeratorTheServiceIsReleasedAndNothingIsWalked) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  machine.audio.Calls().FailCalls("CoCreateInstance", E_FAIL, Simulator::GuidString(CLSID_MMDeviceEnumerator));
  // On a thread of its own: this way out leaves the thread initialized for COM.
  HRESULT next = E_FAIL;
  std::thread([&] {
    ApplyDefaultNoiseReduction();
    next = CoInitialize(nullptr);
    CoUninitialize();
    CoUninitialize();
  }).join();
  EXPECT_EQ(next, S_FALSE) << "the apartment that the step began is still there";
  EXPECT_EQ(CountOf("IMMDeviceEnumerator::EnumAudioEndpoints"), 0u);
  EXPECT_EQ(Recorded(), 0);
}

TEST_F(DefaultNoiseReductionTest, TheStepLeavesTheApartmentAsItFoundItWhenTheKeyOpens) {
  AddRender(u"{1A000000-0000-4000-8000-000000000001}", kMatchingId);
  HRESULT next = E_FAIL;
  std::thread([&] {
    ApplyDefaultNoiseReduction();
    next = CoInitialize(nullptr);
    CoUninitialize();
  }).join();
  EXPECT_EQ(next, S_OK);
}

TEST_F(DefaultNoiseReductionTest, WithoutTheProductKeyTheStepEndsAnApartmentThatSomebodyElseBegan) {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kProductKey);
  HRESULT first = E_FAIL;
  HRESULT next = E_FAIL;
  std::thread([&] {
    first = CoInitialize(nullptr);
    ApplyDefaultNoiseReduction();
    next = CoInitialize(nullptr);
    CoUninitialize();
  }).join();
  EXPECT_EQ(first, S_OK);
  EXPECT_EQ(next, S_OK) << "the step's CoUninitialize ended the caller's apartment";
}

// A service of the test's own, which fails where it is told to and counts the references it hands
// out and gets back.
class FailingService final : public IAudioProcessingManager, public IAudioParameterSet, public IAudioParameter {
public:
  HRESULT failSet = S_OK;
  DWORD failGet = 0;
  DWORD failValue = 0;
  std::vector<DWORD> asked;
  std::vector<DWORD> written;
  int references = 0;

  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return ++references; }
  ULONG Release() override { return --references; }
  HRESULT GetParameterSet(IAudioParameterSet** set) override {
    if (failSet != S_OK) return failSet;
    AddRef();
    *set = this;
    return S_OK;
  }
  HRESULT GetParameter(DWORD number, IAudioParameter** parameter) override {
    asked.push_back(number);
    if (number == failGet) return E_FAIL;
    m_current = number;
    AddRef();
    *parameter = this;
    return S_OK;
  }
  HRESULT SetValue(DWORD value) override {
    written.push_back(m_current);
    return m_current == failValue ? E_FAIL : (value == kOn ? S_OK : E_INVALIDARG);
  }

private:
  DWORD m_current = 0;
};

TEST_F(DefaultNoiseReductionTest, SetNoiseReductionRegistryReportsEachFailureUnderItsNameAndStops) {
  const struct {
    HRESULT failSet;
    DWORD failGet;
    DWORD failValue;
    ErrorCode code;
    const char* line;
    std::vector<DWORD> asked;
  } rows[] = {
      {E_FAIL, 0, 0, ErrorCannotOpen, "Error 5 (cannot open resource) in function SetNoiseReductionRegistry", {}},
      {S_OK, 11, 0, ErrorCannotOpen, "Error 5 (cannot open resource) in function SetNoiseReductionRegistry", {11}},
      {S_OK, 0, 11, ErrorCannotWrite, "Error 7 (cannot write to resource) in function SetNoiseReductionRegistry", {11}},
      {S_OK,
       106,
       0,
       ErrorCannotOpen,
       "Error 5 (cannot open resource) in function SetNoiseReductionRegistry",
       {11, 106}},
      {S_OK,
       0,
       106,
       ErrorCannotWrite,
       "Error 7 (cannot write to resource) in function SetNoiseReductionRegistry",
       {11, 106}},
  };
  for (const auto& row : rows) {
    FailingService service;
    service.failSet = row.failSet;
    service.failGet = row.failGet;
    service.failValue = row.failValue;
    machine.capture.Clear();
    EXPECT_EQ(SetNoiseReductionRegistry(&service), row.code);
    EXPECT_EQ(service.asked, row.asked);
    EXPECT_EQ(service.references, 0) << "everything handed out is released";
    EXPECT_NE(machine.capture.Text().find(row.line), std::string::npos) << machine.capture.Text();
    EXPECT_EQ(Recorded(), -1);
  }
}

TEST_F(DefaultNoiseReductionTest, SetNoiseReductionRegistryRecordsOneOnlyAfterBothParameters) {
  FailingService service;
  EXPECT_EQ(SetNoiseReductionRegistry(&service), ErrorNone);
  EXPECT_EQ(service.written, (std::vector<DWORD>{11, 106}));
  EXPECT_EQ(service.references, 0);
  EXPECT_EQ(Recorded(), 1);
  EXPECT_EQ(machine.capture.Text(), "");
}

}  // namespace

namespace {

using namespace Platform;

using DefaultNoiseReductionDeathTest = DefaultNoiseReductionTest;

// Neither the walk's EnumAudioEndpoints nor its GetCount is looked at: a failed enumeration leaves
// no collection, and the count is asked of it all the same.
TEST_F(DefaultNoiseReductionDeathTest, AFailedEnumerationFaultsAtTheCount) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  machine.audio.Calls().FailCalls("IMMDeviceEnumerator::EnumAudioEndpoints", E_FAIL);
  EXPECT_DEATH(ApplyDefaultNoiseReduction(), "");
}

}  // namespace
