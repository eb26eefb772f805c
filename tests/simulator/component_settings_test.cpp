#include "simulator/component_settings.h"

#include <gtest/gtest.h>

#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;

class ComponentSettingsTest : public Testing::SimulatorFixture {
protected:
  Simulator::ComponentSettings settings{Testing::kSimulatorRoot};
};

TEST_F(ComponentSettingsTest, TheThirdGenerationIsServedUntilSetOtherwise) {
  EXPECT_TRUE(settings.Gen3Supported());
  ASSERT_EQ(settings.SetGen3Supported(false), S_OK);
  EXPECT_FALSE(settings.Gen3Supported());
  ASSERT_EQ(settings.SetGen3Supported(true), S_OK);
  EXPECT_TRUE(settings.Gen3Supported());
}

TEST_F(ComponentSettingsTest, Gen3SupportedIsAValueOfTheRealtekKeyThatAnyProcessCanSet) {
  EXPECT_EQ(settings.RealtekPath(), Testing::kSimulatorRoot.path + u"\\Realtek");
  SetNumber(settings.RealtekPath(), u"Gen3Supported", 0);
  EXPECT_FALSE(settings.Gen3Supported());
  EXPECT_FALSE(audio.State()->Gen3Supported());
}

TEST_F(ComponentSettingsTest, AParameterIsEmptyUntilSetAndThenAValueNamedByItsNumber) {
  EXPECT_FALSE(settings.Parameter(11).has_value());
  ASSERT_EQ(settings.SetParameter(11, 0xFFFFFFFF), S_OK);
  EXPECT_EQ(settings.Parameter(11), 0xFFFFFFFFu);
  EXPECT_FALSE(settings.Parameter(106).has_value());
  DWORD stored = 0;
  DWORD size = sizeof(stored);
  ASSERT_EQ(RegGetValueW(Testing::kSimulatorRoot.hive, (Testing::kSimulatorRoot.path + u"\\AudioProcessing").c_str(),
                         u"11", RRF_RT_REG_DWORD, nullptr, &stored, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(stored, 0xFFFFFFFFu);
}

TEST_F(ComponentSettingsTest, AParameterOfAnotherTypeCountsAsNeverSet) {
  SetText(settings.AudioProcessingPath(), u"106", u"on");
  EXPECT_FALSE(settings.Parameter(106).has_value());
}

TEST_F(ComponentSettingsTest, SettingsBesideTheEndpointsRaiseNoEndpointNotification) {
  Testing::RecordingClient client;
  ASSERT_EQ(audio.State()->RegisterClient(&client), S_OK);
  ASSERT_EQ(settings.SetParameter(11, 1), S_OK);
  // An endpoint added afterwards is reported; whatever else was heard is about that endpoint (its
  // creation may be seen in steps), none about the settings.
  const std::u16string id = AddEndpoint(eRender, u"{C0000000-0000-4000-8000-000000000001}");
  ASSERT_EQ(client.WaitFor([&](const Testing::Heard& heard) { return heard.kind == "added"; }).kind, "added");
  for (const Testing::Heard& heard : client.All()) EXPECT_EQ(heard.id, Simulator::Narrow(id)) << heard.kind;
  ASSERT_EQ(audio.State()->UnregisterClient(&client), S_OK);
}

}  // namespace
