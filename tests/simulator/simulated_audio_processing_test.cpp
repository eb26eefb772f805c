#include "simulator/simulated_audio_processing.h"

#include <gtest/gtest.h>

#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;

class SimulatedAudioProcessingTest : public Testing::SimulatorFixture {};

TEST_F(SimulatedAudioProcessingTest, ParametersKeepTheValuesSet) {
  void* object = nullptr;
  ASSERT_EQ(Simulator::CreateSimulatedAudioProcessingManager(audio.State(), IID_IAudioProcessingManager, &object),
            S_OK);
  auto* manager = static_cast<IAudioProcessingManager*>(object);
  IAudioParameterSet* set = nullptr;
  ASSERT_EQ(manager->GetParameterSet(&set), S_OK);
  IAudioParameter* parameter = nullptr;
  ASSERT_EQ(set->GetParameter(106, &parameter), S_OK);
  EXPECT_FALSE(audio.State()->Parameter(106).has_value());
  ASSERT_EQ(parameter->SetValue(0xFFFFFFFF), S_OK);
  EXPECT_EQ(audio.State()->Parameter(106), 0xFFFFFFFFu);
  EXPECT_EQ(audio.Calls().CallsOf("IAudioParameter::SetValue").at(0).arguments, "106, 4294967295");
  parameter->Release();
  set->Release();
  manager->Release();
}

TEST_F(SimulatedAudioProcessingTest, InjectedFailureOfOneParameterLeavesItUnset) {
  void* object = nullptr;
  ASSERT_EQ(Simulator::CreateSimulatedAudioProcessingManager(audio.State(), IID_IAudioProcessingManager, &object),
            S_OK);
  auto* manager = static_cast<IAudioProcessingManager*>(object);
  IAudioParameterSet* set = nullptr;
  ASSERT_EQ(manager->GetParameterSet(&set), S_OK);
  audio.Calls().FailCalls("IAudioParameter::SetValue", E_FAIL, "106");
  IAudioParameter* eleven = nullptr;
  IAudioParameter* hundredSix = nullptr;
  ASSERT_EQ(set->GetParameter(11, &eleven), S_OK);
  ASSERT_EQ(set->GetParameter(106, &hundredSix), S_OK);
  EXPECT_EQ(eleven->SetValue(1), S_OK);
  EXPECT_EQ(hundredSix->SetValue(1), E_FAIL);
  EXPECT_EQ(audio.State()->Parameter(11), 1u);
  EXPECT_FALSE(audio.State()->Parameter(106).has_value());
  eleven->Release();
  hundredSix->Release();
  set->Release();
  manager->Release();
}

}  // namespace
