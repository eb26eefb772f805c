#include "simulator/notification_thread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/synchronization.h"
#include "simulator/simulated_enumerator.h"
#include "tests/simulator/simulator_fixture.h"
#include "tests/support/child_process.h"

namespace {

using namespace Platform;
using Testing::Heard;

const std::u16string kKey1 = u"{8D7E6F50-0000-4000-8000-000000000001}";
const std::u16string kKey2 = u"{8D7E6F50-0000-4000-8000-000000000002}";
const std::u16string kKey3 = u"{8D7E6F50-0000-4000-8000-000000000003}";

class NotificationThreadTest : public Testing::SimulatorFixture {
protected:
  NotificationThreadTest() {
    void* object = nullptr;
    EXPECT_EQ(Simulator::CreateSimulatedEnumerator(audio.State(), IID_IMMDeviceEnumerator, &object), S_OK);
    enumerator = static_cast<IMMDeviceEnumerator*>(object);
  }
  ~NotificationThreadTest() override {
    enumerator->UnregisterEndpointNotificationCallback(&client);
    enumerator->Release();
  }

  void Register() { ASSERT_EQ(enumerator->RegisterEndpointNotificationCallback(&client), S_OK); }

  static std::function<bool(const Heard&)> Is(const char* kind, const std::u16string& id) {
    const std::string idText = Simulator::Narrow(id);
    return [=](const Heard& heard) { return heard.kind == kind && heard.id == idText; };
  }

  Testing::RecordingClient client;
  IMMDeviceEnumerator* enumerator = nullptr;
};

TEST_F(NotificationThreadTest, StateChangeInThisProcessReachesTheClientOnTheSimulatorsThread) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  Register();
  SetNumber(EndpointPath(eRender, kKey1), u"DeviceState", DEVICE_STATE_DISABLED);
  Heard heard = client.WaitFor(Is("state", id));
  ASSERT_EQ(heard.kind, "state");
  EXPECT_EQ(heard.state, DEVICE_STATE_DISABLED);
  EXPECT_EQ(heard.threadId, audio.NotificationThreadId());
  EXPECT_NE(heard.threadId, GetCurrentThreadId());
}

TEST_F(NotificationThreadTest, StateChangeByAnotherProcessReachesTheClientOnTheSimulatorsThread) {
  std::u16string id = AddEndpoint(eCapture, kKey1);
  Register();
  const std::string key = "HKCU\\" + Simulator::Narrow(EndpointPath(eCapture, kKey1));
  const Testing::ChildProcess::Result result = Testing::ChildProcess::Run(
      HALCYRA_REG_TOOL, {"add", key, "/v", "DeviceState", "/t", "REG_DWORD", "/d", "2", "/f"});
  ASSERT_EQ(result.exitCode, 0) << result.output << result.error;
  Heard heard = client.WaitFor(Is("state", id));
  ASSERT_EQ(heard.kind, "state") << "no notification within 10 s";
  EXPECT_EQ(heard.state, DEVICE_STATE_DISABLED);
  EXPECT_EQ(heard.threadId, audio.NotificationThreadId());
  EXPECT_NE(heard.threadId, GetCurrentThreadId());
}

TEST_F(NotificationThreadTest, AddedRemovedAndPropertyChangesAreReported) {
  std::u16string first = AddEndpoint(eRender, kKey1);
  std::u16string second = AddEndpoint(eRender, kKey2);
  Register();
  std::u16string third = AddEndpoint(eCapture, kKey3);
  ASSERT_EQ(client.WaitFor(Is("added", third)).kind, "added");
  RegDeleteTreeW(HKEY_CURRENT_USER, EndpointPath(eRender, kKey2).c_str());
  ASSERT_EQ(client.WaitFor(Is("removed", second)).kind, "removed");
  SetText(EndpointPath(eRender, kKey1) + u"\\FxProperties", u"{D04E05A6-594B-4FB6-A80D-01AF5EED7D1D},13", u"x");
  Heard heard = client.WaitFor(Is("property", first));
  ASSERT_EQ(heard.kind, "property");
  EXPECT_EQ(heard.key, "{D04E05A6-594B-4FB6-A80D-01AF5EED7D1D},13");
}

TEST_F(NotificationThreadTest, UnregisteredClientHearsNothingMore) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  Register();
  EXPECT_EQ(client.References(), 2u);
  ASSERT_EQ(enumerator->UnregisterEndpointNotificationCallback(&client), S_OK);
  EXPECT_EQ(client.References(), 1u);
  EXPECT_EQ(enumerator->UnregisterEndpointNotificationCallback(&client), E_NOTFOUND);
  // A second client shows when the change has been looked at.
  Testing::RecordingClient witness;
  ASSERT_EQ(enumerator->RegisterEndpointNotificationCallback(&witness), S_OK);
  SetNumber(EndpointPath(eRender, kKey1), u"DeviceState", DEVICE_STATE_UNPLUGGED);
  ASSERT_EQ(witness.WaitFor(Is("state", id)).kind, "state");
  EXPECT_TRUE(client.All().empty());
  ASSERT_EQ(enumerator->UnregisterEndpointNotificationCallback(&witness), S_OK);
}

TEST_F(NotificationThreadTest, MalformedEndpointFromOutsideIsRefusedAndTheThreadGoesOn) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  Register();
  SetText(EndpointPath(eRender, kKey2), u"DeviceState", u"active");
  SetNumber(EndpointPath(eRender, kKey1), u"DeviceState", DEVICE_STATE_DISABLED);
  ASSERT_EQ(client.WaitFor(Is("state", id)).kind, "state");
  // The thread may also have looked while the key stood without its state.
  std::vector<std::string> messages = Messages();
  const std::string refusal = "Simulator: the endpoint key Render\\" + Simulator::Narrow(kKey2) +
                              " is refused: its DeviceState is of registry type 1, not REG_DWORD (4)";
  EXPECT_NE(std::find(messages.begin(), messages.end(), refusal), messages.end()) << messages.size();
  for (const Heard& heard : client.All()) EXPECT_NE(heard.id, Simulator::Narrow(EndpointPath(eRender, kKey2)));
}

TEST_F(NotificationThreadTest, RegistrationNeedsAClient) {
  EXPECT_EQ(enumerator->RegisterEndpointNotificationCallback(nullptr), E_POINTER);
  EXPECT_EQ(enumerator->UnregisterEndpointNotificationCallback(nullptr), E_POINTER);
}

}  // namespace
