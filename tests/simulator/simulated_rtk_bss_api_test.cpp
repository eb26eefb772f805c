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

TEST_F(SimulatedRtkBssApiTest, ModeIsKeptPerEndpointOnceInitialized) {
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
  ASSERT_EQ(audio.State()->SetGen3Supported(false), S_OK);
  ASSERT_EQ(api2->IsGen3Supported(&supported), S_OK);
  EXPECT_EQ(supported, FALSE);
  api2->Release();
}

TEST_F(SimulatedRtkBssApiTest, TheModeLivesInTheRegistryWithTheEndpoint) {
  std::u16string id = AddEndpoint(eCapture, kKey1);
  ASSERT_EQ(api->Initialize(id.c_str()), S_OK);
  ASSERT_EQ(api->SetBssMode(4), S_OK);
  DWORD stored = 0;
  DWORD size = sizeof(stored);
  ASSERT_EQ(RegGetValueW(Testing::kSimulatorRoot.hive, EndpointPath(eCapture, kKey1).c_str(), u"RtkBssMode",
                         RRF_RT_REG_DWORD, nullptr, &stored, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(stored, 4u);
  // What another process writes there is what the object reads.
  SetNumber(EndpointPath(eCapture, kKey1), u"RtkBssMode", 1);
  DWORD mode = 0;
  ASSERT_EQ(api->GetBssMode(&mode), S_OK);
  EXPECT_EQ(mode, 1u);
}

TEST_F(SimulatedRtkBssApiTest, AnEndpointRemovedAfterBindingCannotTakeAMode) {
  std::u16string id = AddEndpoint(eCapture, kKey1);
  ASSERT_EQ(api->Initialize(id.c_str()), S_OK);
  RegDeleteTreeW(Testing::kSimulatorRoot.hive, EndpointPath(eCapture, kKey1).c_str());
  EXPECT_EQ(api->SetBssMode(3), E_NOTFOUND);
  DWORD mode = 9;
  ASSERT_EQ(api->GetBssMode(&mode), S_OK);
  EXPECT_EQ(mode, 0u);
}

TEST_F(SimulatedRtkBssApiTest, UnknownEndpointCannotBeBound) {
  EXPECT_EQ(api->Initialize(u"{0.0.1.00000000}.{B1A09283-0000-4000-8000-0000000000FF}"), E_NOTFOUND);
  EXPECT_EQ(api->Initialize(nullptr), E_POINTER);
}

}  // namespace
