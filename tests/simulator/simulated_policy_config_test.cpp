#include "simulator/simulated_policy_config.h"

#include <gtest/gtest.h>

#include "platform/com.h"
#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;

const std::u16string kKey1 = u"{A09F8172-0000-4000-8000-000000000001}";
constexpr PROPERTYKEY kEffectKey = {{0xD04E05A6, 0x594B, 0x4FB6, {0xA8, 0x0D, 0x01, 0xAF, 0x5E, 0xED, 0x7D, 0x1D}}, 13};

class SimulatedPolicyConfigTest : public Testing::SimulatorFixture {
protected:
  SimulatedPolicyConfigTest() {
    void* object = nullptr;
    EXPECT_EQ(Simulator::CreateSimulatedPolicyConfig(audio.State(), IID_IPolicyConfig, &object), S_OK);
    policy = static_cast<IPolicyConfig*>(object);
  }
  ~SimulatedPolicyConfigTest() override { policy->Release(); }

  DWORD State(const std::u16string& id) {
    Simulator::Endpoint endpoint;
    return audio.Endpoints().Find(id.c_str(), endpoint) ? endpoint.state : 0;
  }

  IPolicyConfig* policy = nullptr;
};

TEST_F(SimulatedPolicyConfigTest, PropertiesGoToTheStoreTheFlagChooses) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  PROPVARIANT value{};
  value.vt = VT_UI4;
  value.ulVal = 5;
  ASSERT_EQ(policy->SetPropertyValue(id.c_str(), TRUE, kEffectKey, &value), S_OK);
  PROPVARIANT read{};
  ASSERT_EQ(policy->GetPropertyValue(id.c_str(), FALSE, kEffectKey, &read), S_OK);
  EXPECT_EQ(read.vt, VT_EMPTY);
  ASSERT_EQ(policy->GetPropertyValue(id.c_str(), TRUE, kEffectKey, &read), S_OK);
  EXPECT_EQ(read.vt, VT_UI4);
  EXPECT_EQ(read.ulVal, 5u);
  EXPECT_EQ(audio.Calls().CallsOf("IPolicyConfig::SetPropertyValue").at(0).arguments,
            Simulator::Narrow(id) + ", 1, {D04E05A6-594B-4FB6-A80D-01AF5EED7D1D},13, VT_UI4 5");
}

TEST_F(SimulatedPolicyConfigTest, NullIdIsAPointerErrorAndAnUnknownOneIsNotFound) {
  PROPVARIANT value{};
  EXPECT_EQ(policy->GetPropertyValue(nullptr, TRUE, kEffectKey, &value), E_POINTER);
  EXPECT_EQ(
      policy->GetPropertyValue(u"{0.0.0.00000000}.{A09F8172-0000-4000-8000-0000000000FF}", TRUE, kEffectKey, &value),
      E_NOTFOUND);
  EXPECT_EQ(policy->SetEndpointVisibility(nullptr, TRUE), E_POINTER);
}

TEST_F(SimulatedPolicyConfigTest, VisibilityMovesBetweenActiveAndDisabled) {
  std::u16string id = AddEndpoint(eCapture, kKey1, DEVICE_STATE_ACTIVE);
  ASSERT_EQ(policy->SetEndpointVisibility(id.c_str(), 0), S_OK);
  EXPECT_EQ(State(id), DEVICE_STATE_DISABLED);
  ASSERT_EQ(policy->SetEndpointVisibility(id.c_str(), static_cast<BOOL>(0xFFFFFFFF)), S_OK);
  EXPECT_EQ(State(id), DEVICE_STATE_ACTIVE);
  EXPECT_EQ(audio.Calls().CallsOf("IPolicyConfig::SetEndpointVisibility").at(1).arguments,
            Simulator::Narrow(id) + ", 0xFFFFFFFF");
}

TEST_F(SimulatedPolicyConfigTest, VisibilityLeavesUnpluggedAndAbsentEndpointsAlone) {
  std::u16string id = AddEndpoint(eRender, kKey1, DEVICE_STATE_UNPLUGGED);
  ASSERT_EQ(policy->SetEndpointVisibility(id.c_str(), TRUE), S_OK);
  EXPECT_EQ(State(id), DEVICE_STATE_UNPLUGGED);
}

}  // namespace
