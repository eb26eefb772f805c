#include "simulator/endpoint_listing.h"

#include <gtest/gtest.h>

#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;

class EndpointListingTest : public Testing::SimulatorFixture {};

TEST_F(EndpointListingTest, EachEndpointShowsItsBssModeAndFriendlyName) {
  const std::u16string key = u"{E0000000-0000-4000-8000-000000000001}";
  Simulator::EndpointDefinition definition{eCapture,
                                           key,
                                           DEVICE_STATE_ACTIVE,
                                           {{PKEY_Device_FriendlyName, u"Microphone Array (Realtek(R) Audio)"},
                                            {PKEY_Device_InstanceId, u"HDAUDIO\\FUNC_01&VEN_10EC&DEV_1168"}},
                                           {}};
  ASSERT_GE(audio.Endpoints().Create(definition), 0);
  std::vector<std::string> lines = Simulator::ListEndpoints(audio.Endpoints());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_NE(lines[0].find("bss"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("name"), std::string::npos) << lines[0];
  EXPECT_NE(lines[1].find("active      0    \"Microphone Array (Realtek(R) Audio)\""), std::string::npos) << lines[1];

  ASSERT_EQ(audio.State()->SetBssMode(Simulator::EndpointRegistry::EndpointId(eCapture, key), 3), S_OK);
  lines = Simulator::ListEndpoints(audio.Endpoints());
  EXPECT_NE(lines[1].find("active      3    \"Microphone Array"), std::string::npos) << lines[1];
  EXPECT_NE(lines[1].find("\"HDAUDIO\\FUNC_01&VEN_10EC&DEV_1168\""), std::string::npos) << lines[1];
}

TEST_F(EndpointListingTest, AnEndpointWithoutANameShowsADash) {
  AddEndpoint(eRender, u"{E0000000-0000-4000-8000-000000000002}");
  const std::vector<std::string> lines = Simulator::ListEndpoints(audio.Endpoints());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_NE(lines[1].find("active      0    -"), std::string::npos) << lines[1];
}

}  // namespace
