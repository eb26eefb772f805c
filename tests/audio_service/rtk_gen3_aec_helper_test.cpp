#include "audio_service/rtk_gen3_aec_helper.h"

#include <gtest/gtest.h>

#include "tests/audio_service/simulated_machine.h"

namespace {

using namespace Platform;

constexpr IID kOtherIid = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};

TEST(RtkGen3AECHelperTest, AnswersUnknownAgileMarshalAndNotificationClient) {
  RtkGen3AECHelper helper;
  for (const IID& iid : {IID_IUnknown, IID_IAgileObject, IID_IMarshal, IID_IMMNotificationClient}) {
    void* object = nullptr;
    EXPECT_EQ(helper.QueryInterface(iid, &object), S_OK);
    EXPECT_NE(object, nullptr);
    static_cast<IUnknown*>(object)->Release();
  }
  void* marshal = nullptr;
  ASSERT_EQ(helper.QueryInterface(IID_IMarshal, &marshal), S_OK);
  EXPECT_EQ(marshal, static_cast<IMarshal*>(&helper));
  helper.Release();
}

TEST(RtkGen3AECHelperTest, OtherInterfacesGiveNoInterfaceAndNull) {
  RtkGen3AECHelper helper;
  void* object = &helper;
  EXPECT_EQ(helper.QueryInterface(kOtherIid, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
}

TEST(RtkGen3AECHelperTest, CountStartsAtOneAndIsShared) {
  RtkGen3AECHelper helper;
  EXPECT_EQ(helper.AddRef(), 2u);
  EXPECT_EQ(helper.Release(), 1u);
}

TEST(RtkGen3AECHelperTest, MarshalingIsForwardedToTheFreeThreadedMarshaler) {
  RtkGen3AECHelper helper;
  // Within the process the free-threaded marshaler names itself; towards other processes Windows'
  // hands over to the standard marshaler.
  constexpr DWORD kInProcess = 3;
  CLSID clsid{};
  EXPECT_EQ(helper.GetUnmarshalClass(IID_IMMNotificationClient, nullptr, kInProcess, nullptr, 0, &clsid), S_OK);
  EXPECT_EQ(clsid.Data1, 0x0000033Au);
  EXPECT_EQ(helper.AddRef(), 2u);  // the marshaler's interface did not keep a count on the helper
}

TEST(RtkGen3AECHelperTest, NotificationsSucceedAndDoNothingYet) {
  RtkGen3AECHelper helper;
  EXPECT_EQ(helper.OnDeviceStateChanged(u"id", 1), S_OK);
  EXPECT_EQ(helper.OnDeviceAdded(u"id"), S_OK);
  EXPECT_EQ(helper.OnDeviceRemoved(u"id"), S_OK);
  EXPECT_EQ(helper.OnDefaultDeviceChanged(eRender, eConsole, u"id"), S_OK);
}

}  // namespace

namespace {

using namespace Platform;

class RtkGen3AECHelperStartTest : public ::testing::Test {
protected:
  Testing::SimulatedMachine machine;
  RtkGen3AECHelper helper;
};

TEST_F(RtkGen3AECHelperStartTest, StartSubscribesAndStopUnsubscribesAndDropsTheEnumerator) {
  helper.Start();
  ASSERT_NE(helper.Enumerator(), nullptr);
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::RegisterEndpointNotificationCallback"), 1u);
  EXPECT_EQ(helper.AddRef(), 3u);  // the simulated system holds the subscription's reference
  helper.Release();
  helper.Stop();
  EXPECT_EQ(helper.Enumerator(), nullptr);
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::UnregisterEndpointNotificationCallback"), 1u);
  EXPECT_EQ(helper.AddRef(), 2u);
  helper.Release();
}

TEST_F(RtkGen3AECHelperStartTest, StopWithoutASubscriptionDoesNothing) {
  helper.Stop();
  EXPECT_TRUE(machine.audio.Calls().Calls().empty());
}

TEST_F(RtkGen3AECHelperStartTest, ASecondStartReplacesTheEnumeratorAndLeavesTheFirstSubscription) {
  helper.Start();
  helper.Start();
  EXPECT_EQ(machine.audio.Calls().CountOf("CoCreateInstance"), 2u);
  EXPECT_EQ(machine.audio.Calls().CountOf("IMMDeviceEnumerator::RegisterEndpointNotificationCallback"), 2u);
  helper.Stop();
  // The first enumerator was dropped without unsubscribing: the system still holds the helper.
  void* object = nullptr;
  ASSERT_EQ(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator, &object),
            S_OK);
  auto* enumerator = static_cast<IMMDeviceEnumerator*>(object);
  EXPECT_EQ(enumerator->UnregisterEndpointNotificationCallback(&helper), S_OK);
  EXPECT_EQ(enumerator->UnregisterEndpointNotificationCallback(&helper), E_NOTFOUND);
  enumerator->Release();
}

}  // namespace
