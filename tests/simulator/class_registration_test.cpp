#include "simulator/class_registration.h"

#include <gtest/gtest.h>

#include "platform/audio_processing.h"
#include "platform/policy_config.h"
#include "platform/rtk_bss_api.h"
#include "simulator/call_text.h"
#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;

class ClassRegistrationTest : public Testing::SimulatorFixture {};

TEST_F(ClassRegistrationTest, TheFourClassesAreCreatedUnderTheirRealIdentities) {
  Simulator::ClassRegistration registration(audio);
  ASSERT_TRUE(registration.Registered());
  const struct {
    const CLSID& clsid;
    const IID& iid;
    DWORD context;
  } classes[] = {{CLSID_MMDeviceEnumerator, IID_IMMDeviceEnumerator, CLSCTX_INPROC_SERVER},
                 {CLSID_PolicyConfigClient, IID_IPolicyConfig, CLSCTX_ALL},
                 {CLSID_RtkBssApi, IID_IRtkBssApi, CLSCTX_INPROC_SERVER},
                 {CLSID_AudioProcessingManager, IID_IAudioProcessingManager, CLSCTX_ALL}};
  for (const auto& each : classes) {
    void* object = nullptr;
    ASSERT_EQ(CoCreateInstance(each.clsid, nullptr, each.context, each.iid, &object), S_OK)
        << Simulator::GuidString(each.clsid);
    static_cast<IUnknown*>(object)->Release();
  }
  std::vector<Simulator::CallRecord> calls = audio.Calls().CallsOf("CoCreateInstance");
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[1].arguments, "{870AF99C-171D-4F9E-AF0D-E63DF40C2BC9}, {F8679F50-850A-41CF-9C72-430F290290C8}");
}

TEST_F(ClassRegistrationTest, InjectedCreationFailureIsFinal) {
  Simulator::ClassRegistration registration(audio);
  audio.Calls().FailCalls("CoCreateInstance", CLASS_E_CLASSNOTAVAILABLE, Simulator::GuidString(CLSID_RtkBssApi));
  void* object = &object;
  EXPECT_EQ(CoCreateInstance(CLSID_RtkBssApi, nullptr, CLSCTX_INPROC_SERVER, IID_IRtkBssApi, &object),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
}

TEST_F(ClassRegistrationTest, AggregationIsRefused) {
  Simulator::ClassRegistration registration(audio);
  Testing::RecordingClient outer;
  void* object = nullptr;
  EXPECT_EQ(CoCreateInstance(CLSID_PolicyConfigClient, &outer, CLSCTX_ALL, IID_IUnknown, &object),
            CLASS_E_NOAGGREGATION);
}

TEST_F(ClassRegistrationTest, ObjectsOutliveTheRegistration) {
  void* object = nullptr;
  {
    Simulator::ClassRegistration registration(audio);
    ASSERT_EQ(CoCreateInstance(CLSID_PolicyConfigClient, nullptr, CLSCTX_ALL, IID_IPolicyConfig, &object), S_OK);
  }
  auto* policy = static_cast<IPolicyConfig*>(object);
  PROPVARIANT value{};
  EXPECT_EQ(policy->GetPropertyValue(u"{0.0.0.00000000}.{C0000000-0000-4000-8000-000000000000}", TRUE,
                                     PKEY_Device_InstanceId, &value),
            E_NOTFOUND);
  policy->Release();
  void* another = nullptr;
  EXPECT_NE(CoCreateInstance(CLSID_PolicyConfigClient, nullptr, CLSCTX_ALL, IID_IPolicyConfig, &another), S_OK);
}

}  // namespace
