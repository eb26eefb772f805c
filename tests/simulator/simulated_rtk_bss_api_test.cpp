#include "simulator/simulated_rtk_bss_api.h"

#include <gtest/gtest.h>

#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;

const std::u16string kKey1 = u"{B1A09283-0000-4000-8000-000000000001}";

class SimulatedRtkBssApiTest : public Testing::SimulatorFixture {
protected:
  SimulatedRtkBssApiTest() {
    void* object = nullptr;
    EXPECT_EQ(Simulator::CreateSimulatedRtkBssApi(audio.State(), IID_IRtkBssApi, &object), S_OK);
    api = static_cast<IRtkBssApi*>(object);
  }
  ~SimulatedRtkBssApiTest() override { api->Release(); }

  IRtkBssApi* api = nullptr;
};

TEST_F(SimulatedRtkBssApiTest, ModeIsKeptPerEndpointOnceInitialised) {
  std::u16string id = AddEndpoint(eCapture, kKey1);
  DWORD mode = 9;
  EXPECT_EQ(api->GetBssMode(&mode), E_UNEXPECTED);
  ASSERT_EQ(api->Initialize(id.c_str()), S_OK);
  ASSERT_EQ(api->GetBssMode(&mode), S_OK);
  EXPECT_EQ(mode, 0u);
  ASSERT_EQ(api->SetBssMode(3), S_OK);
  EXPECT_EQ(audio.State()->BssMode(id), 3u);
  EXPECT_EQ(api->ClearBss(0), S_OK);
  EXPECT_EQ(audio.Calls().CallsOf("IRtkBssApi::ClearBss").at(0).arguments, Simulator::Narrow(id) + ", 0");
}

TEST_F(SimulatedRtkBssApiTest, SecondInterfaceAnswersWhatTheTestSet) {
  std::u16string id = AddEndpoint(eCapture, kKey1);
  ASSERT_EQ(api->Initialize(id.c_str()), S_OK);
  void* object = nullptr;
  ASSERT_EQ(api->QueryInterface(IID_IRtkBssApi2, &object), S_OK);
  auto* api2 = static_cast<IRtkBssApi2*>(object);
  BOOL supported = FALSE;
  ASSERT_EQ(api2->IsGen3Supported(&supported), S_OK);
  EXPECT_EQ(supported, TRUE);
  audio.State()->SetGen3Supported(false);
  ASSERT_EQ(api2->IsGen3Supported(&supported), S_OK);
  EXPECT_EQ(supported, FALSE);
  api2->Release();
}

TEST_F(SimulatedRtkBssApiTest, UnknownEndpointCannotBeBound) {
  EXPECT_EQ(api->Initialize(u"{0.0.1.00000000}.{B1A09283-0000-4000-8000-0000000000FF}"), E_NOTFOUND);
  EXPECT_EQ(api->Initialize(nullptr), E_POINTER);
}

}  // namespace
