#include "audio_service/hardware_id.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/heap_block.h"
#include "platform/shell_string.h"
#include "tests/audio_service/audio_service_machine.h"

namespace {

using namespace Platform;

const std::u16string kKey = u"{2A2B3C4D-0000-4000-8000-000000000001}";

class GetHWIDTest : public ::testing::Test {
protected:
  // The simulated device of an endpoint, through the enumerator as the services reach it.
  IMMDevice* Device(const std::u16string& id) {
    void* object = nullptr;
    EXPECT_EQ(
        CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator, &object),
        S_OK);
    auto* enumerator = static_cast<IMMDeviceEnumerator*>(object);
    IMMDevice* device = nullptr;
    EXPECT_EQ(enumerator->GetDevice(id.c_str(), &device), S_OK);
    enumerator->Release();
    return device;
  }

  Testing::AudioServiceMachine machine;
};

TEST_F(GetHWIDTest, StringPropertyComesBackAsAHeapCopyOwnedByTheCaller) {
  IMMDevice* device = Device(machine.AddEndpoint(eRender, kKey, DEVICE_STATE_ACTIVE, u"ROOT\\QuillonHL3Vad\\0000"));
  LPWSTR hardwareId = nullptr;
  EXPECT_EQ(GetHWID(device, &hardwareId), S_OK);
  ASSERT_NE(hardwareId, nullptr);
  EXPECT_EQ(std::u16string(hardwareId), u"ROOT\\QuillonHL3Vad\\0000");
  FreeBlock(hardwareId);
  // Read-only access, on the key {B3F8FA53-0004-438E-9003-51A46E139BFC},2.
  EXPECT_EQ(machine.audio.Calls().CallsOf("IMMDevice::OpenPropertyStore").at(0).arguments,
            Simulator::Narrow(Simulator::EndpointRegistry::EndpointId(eRender, kKey)) + ", 0x00000000");
  EXPECT_NE(machine.audio.Calls()
                .CallsOf("IPropertyStore::GetValue")
                .at(0)
                .arguments.find("{B3F8FA53-0004-438E-9003-51A46E139BFC},2"),
            std::string::npos);
  device->Release();
}

TEST_F(GetHWIDTest, EndpointWithoutAHardwareIdGivesOneAndNull) {
  IMMDevice* device = Device(machine.AddEndpoint(eRender, kKey, DEVICE_STATE_ACTIVE, nullptr));
  LPWSTR hardwareId = reinterpret_cast<LPWSTR>(&hardwareId);
  EXPECT_EQ(GetHWID(device, &hardwareId), S_FALSE);
  EXPECT_EQ(hardwareId, nullptr);
  device->Release();
}

TEST_F(GetHWIDTest, ValueOfAnotherTypeGivesZeroAndNull) {
  std::u16string id = machine.AddEndpoint(eCapture, kKey, DEVICE_STATE_ACTIVE, nullptr);
  machine.SetNumber(eCapture, kKey, false, u"{B3F8FA53-0004-438E-9003-51A46E139BFC},2", 42);
  IMMDevice* device = Device(id);
  LPWSTR hardwareId = nullptr;
  EXPECT_EQ(GetHWID(device, &hardwareId), S_OK);
  EXPECT_EQ(hardwareId, nullptr);
  device->Release();
}

TEST_F(GetHWIDTest, NullArgumentsGivePointerError) {
  LPWSTR hardwareId = nullptr;
  EXPECT_EQ(GetHWID(nullptr, &hardwareId), E_POINTER);
  IMMDevice* device = Device(machine.AddEndpoint(eRender, kKey, DEVICE_STATE_ACTIVE, u"X"));
  EXPECT_EQ(GetHWID(device, nullptr), E_POINTER);
  device->Release();
}

TEST_F(GetHWIDTest, FailuresOfTheStoreComeBackAsTheyAre) {
  std::u16string id = machine.AddEndpoint(eRender, kKey, DEVICE_STATE_ACTIVE, u"X");
  IMMDevice* device = Device(id);
  LPWSTR hardwareId = nullptr;
  machine.audio.Calls().FailCalls("IMMDevice::OpenPropertyStore", E_OUTOFMEMORY);
  EXPECT_EQ(GetHWID(device, &hardwareId), E_OUTOFMEMORY);
  machine.audio.Calls().ClearFailures();
  machine.audio.Calls().FailCalls("IPropertyStore::GetValue", E_FAIL);
  EXPECT_EQ(GetHWID(device, &hardwareId), E_FAIL);
  EXPECT_EQ(hardwareId, nullptr);
  device->Release();
}

TEST_F(GetHWIDTest, TheVadMarkerIsFoundInAnyMixOfCase) {
  IMMDevice* device = Device(machine.AddEndpoint(eRender, kKey, DEVICE_STATE_ACTIVE, u"root\\QUILLONhl3vAD\\0001"));
  LPWSTR hardwareId = nullptr;
  ASSERT_EQ(GetHWID(device, &hardwareId), S_OK);
  EXPECT_NE(StrStrIW(hardwareId, kVadHardwareIdMarker), nullptr);
  FreeBlock(hardwareId);
  device->Release();
}

}  // namespace
