#include "simulator/default_machine.h"

#include <gtest/gtest.h>

#include "platform/shell_string.h"
#include "simulator/endpoint_listing.h"
#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;

class DefaultMachineTest : public Testing::SimulatorFixture {
protected:
  DefaultMachineTest() { RegDeleteTreeW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Velorin"); }
  ~DefaultMachineTest() override { RegDeleteTreeW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Velorin"); }
};

TEST_F(DefaultMachineTest, FreshMachineGetsTheProductKeysAndFiveEndpoints) {
  Simulator::SeedResult seeded = Simulator::SeedDefaultMachine(audio.Endpoints());
  EXPECT_EQ(seeded.result, S_OK);
  EXPECT_TRUE(seeded.productKeysCreated);
  EXPECT_TRUE(seeded.endpointsCreated);
  UniqueKey key;
  EXPECT_EQ(
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Velorin\\VelorinV3\\AudioApplication", 0, KEY_READ, key.Put()),
      ERROR_SUCCESS);
  std::vector<Simulator::Endpoint> endpoints = audio.Endpoints().List(eAll, DEVICE_STATEMASK_ALL);
  ASSERT_EQ(endpoints.size(), 5u);
  // The VAD's two endpoints rest hidden, as the routing value's default wants; the others are active.
  int vad = 0;
  for (const Simulator::Endpoint& endpoint : endpoints) {
    PROPVARIANT value{};
    ASSERT_EQ(audio.Endpoints().ReadProperty(endpoint, false, PKEY_Device_InstanceId, value), S_OK);
    ASSERT_EQ(value.vt, VT_LPWSTR);
    const bool isVad = StrStrIW(value.pwszVal, u"QuillonHL3Vad") != nullptr;
    vad += isVad;
    EXPECT_EQ(endpoint.state, isVad ? DEVICE_STATE_DISABLED : DEVICE_STATE_ACTIVE);
    PropVariantClear(&value);
  }
  EXPECT_EQ(vad, 2);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(DefaultMachineTest, SeedingAgainChangesNothing) {
  Simulator::SeedDefaultMachine(audio.Endpoints());
  SetNumber(EndpointPath(eRender, Simulator::kVadRenderKey), u"DeviceState", DEVICE_STATE_ACTIVE);
  Simulator::SeedResult again = Simulator::SeedDefaultMachine(audio.Endpoints());
  EXPECT_FALSE(again.productKeysCreated);
  EXPECT_FALSE(again.endpointsCreated);
  EXPECT_TRUE(audio.Endpoints().List(eRender, DEVICE_STATE_DISABLED).empty());
}

TEST_F(DefaultMachineTest, AMachineWithEndpointsGetsNoneOfTheDefaultOnes) {
  AddEndpoint(eCapture, u"{D0000000-0000-4000-8000-000000000001}");
  Simulator::SeedResult seeded = Simulator::SeedDefaultMachine(audio.Endpoints());
  EXPECT_TRUE(seeded.productKeysCreated);
  EXPECT_FALSE(seeded.endpointsCreated);
  EXPECT_EQ(audio.Endpoints().List(eAll, DEVICE_STATEMASK_ALL).size(), 1u);
}

TEST_F(DefaultMachineTest, ListingShowsEachEndpointWithItsMarkers) {
  Simulator::SeedDefaultMachine(audio.Endpoints());
  std::vector<std::string> lines = Simulator::ListEndpoints(audio.Endpoints());
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[0].rfind("id ", 0), 0u);
  const std::string& headset = lines[3];
  EXPECT_NE(headset.find("{0.0.0.00000000}.{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D05}"), std::string::npos) << headset;
  EXPECT_NE(headset.find("render   active"), std::string::npos) << headset;
  EXPECT_NE(headset.find("markers: \"Quillon.Halcyra3\" - -"), std::string::npos) << headset;
}

}  // namespace
