#include "simulator/simulated_enumerator.h"

#include <gtest/gtest.h>

#include "platform/com.h"
#include "simulator/call_text.h"
#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;

const std::u16string kKey1 = u"{9E8F7061-0000-4000-8000-000000000001}";
const std::u16string kKey2 = u"{9E8F7061-0000-4000-8000-000000000002}";
constexpr PROPERTYKEY kSomeKey = {{0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x00}}, 4};

class SimulatedEnumeratorTest : public Testing::SimulatorFixture {
protected:
  SimulatedEnumeratorTest() {
    void* object = nullptr;
    EXPECT_EQ(Simulator::CreateSimulatedEnumerator(audio.State(), IID_IMMDeviceEnumerator, &object), S_OK);
    enumerator = static_cast<IMMDeviceEnumerator*>(object);
  }
  ~SimulatedEnumeratorTest() override { enumerator->Release(); }

  std::vector<std::string> Ids(EDataFlow flow, DWORD mask) {
    std::vector<std::string> ids;
    IMMDeviceCollection* collection = nullptr;
    if (enumerator->EnumAudioEndpoints(flow, mask, &collection) < 0) return {"failed"};
    UINT count = 0;
    collection->GetCount(&count);
    for (UINT i = 0; i < count; ++i) {
      IMMDevice* device = nullptr;
      EXPECT_EQ(collection->Item(i, &device), S_OK);
      LPWSTR id = nullptr;
      EXPECT_EQ(device->GetId(&id), S_OK);
      ids.push_back(Simulator::Narrow(id));
      CoTaskMemFree(id);
      device->Release();
    }
    IMMDevice* beyond = nullptr;
    EXPECT_EQ(collection->Item(count, &beyond), E_INVALIDARG);
    collection->Release();
    return ids;
  }

  IMMDeviceEnumerator* enumerator = nullptr;
};

TEST_F(SimulatedEnumeratorTest, EnumerationFollowsFlowAndStateMask) {
  std::string render = Simulator::Narrow(AddEndpoint(eRender, kKey1, DEVICE_STATE_ACTIVE));
  std::string capture = Simulator::Narrow(AddEndpoint(eCapture, kKey2, DEVICE_STATE_NOTPRESENT));
  EXPECT_EQ(Ids(eAll, DEVICE_STATEMASK_ALL), (std::vector<std::string>{render, capture}));
  EXPECT_EQ(Ids(eAll, 11), std::vector<std::string>{render});
  EXPECT_EQ(Ids(eCapture, DEVICE_STATE_NOTPRESENT), std::vector<std::string>{capture});
  EXPECT_TRUE(Ids(eRender, DEVICE_STATE_DISABLED).empty());
  EXPECT_EQ(audio.Calls().CallsOf("IMMDeviceEnumerator::EnumAudioEndpoints").at(1).arguments, "2, 0x0000000B");
}

TEST_F(SimulatedEnumeratorTest, BadEnumerationArgumentsAreRefused) {
  IMMDeviceCollection* collection = nullptr;
  EXPECT_EQ(enumerator->EnumAudioEndpoints(eAll, 0, &collection), E_INVALIDARG);
  EXPECT_EQ(enumerator->EnumAudioEndpoints(eAll, 0x10, &collection), E_INVALIDARG);
  EXPECT_EQ(enumerator->EnumAudioEndpoints(static_cast<EDataFlow>(3), 1, &collection), E_INVALIDARG);
  EXPECT_EQ(enumerator->EnumAudioEndpoints(eAll, 1, nullptr), E_POINTER);
}

TEST_F(SimulatedEnumeratorTest, CollectionIsASnapshot) {
  AddEndpoint(eRender, kKey1);
  IMMDeviceCollection* collection = nullptr;
  ASSERT_EQ(enumerator->EnumAudioEndpoints(eAll, DEVICE_STATEMASK_ALL, &collection), S_OK);
  AddEndpoint(eRender, kKey2);
  UINT count = 0;
  ASSERT_EQ(collection->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1u);
  collection->Release();
}

TEST_F(SimulatedEnumeratorTest, GetDeviceFindsByIdAndDeviceReportsItsCurrentState) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  IMMDevice* device = nullptr;
  ASSERT_EQ(enumerator->GetDevice(id.c_str(), &device), S_OK);
  DWORD state = 0;
  ASSERT_EQ(device->GetState(&state), S_OK);
  EXPECT_EQ(state, DEVICE_STATE_ACTIVE);
  SetNumber(EndpointPath(eRender, kKey1), u"DeviceState", DEVICE_STATE_UNPLUGGED);
  ASSERT_EQ(device->GetState(&state), S_OK);
  EXPECT_EQ(state, DEVICE_STATE_UNPLUGGED);
  RegDeleteTreeW(HKEY_CURRENT_USER, EndpointPath(eRender, kKey1).c_str());
  ASSERT_EQ(device->GetState(&state), S_OK);
  EXPECT_EQ(state, DEVICE_STATE_NOTPRESENT);
  device->Release();
  EXPECT_EQ(enumerator->GetDevice(id.c_str(), &device), E_NOTFOUND);
  EXPECT_EQ(enumerator->GetDevice(nullptr, &device), E_POINTER);
}

TEST_F(SimulatedEnumeratorTest, DefaultEndpointIsTheFirstActiveOfTheFlow) {
  AddEndpoint(eRender, kKey1, DEVICE_STATE_DISABLED);
  std::u16string active = AddEndpoint(eRender, kKey2);
  IMMDevice* device = nullptr;
  ASSERT_EQ(enumerator->GetDefaultAudioEndpoint(eRender, eConsole, &device), S_OK);
  LPWSTR id = nullptr;
  ASSERT_EQ(device->GetId(&id), S_OK);
  EXPECT_EQ(std::u16string(id), active);
  CoTaskMemFree(id);
  device->Release();
  EXPECT_EQ(enumerator->GetDefaultAudioEndpoint(eCapture, eConsole, &device), E_NOTFOUND);
}

TEST_F(SimulatedEnumeratorTest, PropertyStoreOpenedForReadingRefusesWrites) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  IMMDevice* device = nullptr;
  ASSERT_EQ(enumerator->GetDevice(id.c_str(), &device), S_OK);
  IPropertyStore* store = nullptr;
  ASSERT_EQ(device->OpenPropertyStore(STGM_READ, &store), S_OK);
  PROPVARIANT value{};
  value.vt = VT_UI4;
  value.ulVal = 1;
  EXPECT_EQ(store->SetValue(kSomeKey, value), STG_E_ACCESSDENIED);
  DWORD count = 0;
  ASSERT_EQ(store->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1u);
  PROPERTYKEY key{};
  ASSERT_EQ(store->GetAt(0, &key), S_OK);
  EXPECT_TRUE(key == PKEY_Device_InstanceId);
  EXPECT_EQ(store->GetAt(1, &key), E_INVALIDARG);
  store->Release();

  ASSERT_EQ(device->OpenPropertyStore(STGM_READWRITE, &store), S_OK);
  EXPECT_EQ(store->SetValue(kSomeKey, value), S_OK);
  PROPVARIANT read{};
  ASSERT_EQ(store->GetValue(kSomeKey, &read), S_OK);
  EXPECT_EQ(read.vt, VT_UI4);
  store->Release();
  EXPECT_EQ(device->OpenPropertyStore(7, &store), E_INVALIDARG);
  device->Release();
}

TEST_F(SimulatedEnumeratorTest, InjectedFailuresAnswerInsteadOfTheWork) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  audio.Calls().FailCalls("IMMDeviceEnumerator::GetDevice", E_OUTOFMEMORY, Simulator::Narrow(id));
  IMMDevice* device = nullptr;
  EXPECT_EQ(enumerator->GetDevice(id.c_str(), &device), E_OUTOFMEMORY);
  audio.Calls().ClearFailures();
  ASSERT_EQ(enumerator->GetDevice(id.c_str(), &device), S_OK);
  audio.Calls().FailCalls("IMMDevice::GetId", S_FALSE);
  LPWSTR text = reinterpret_cast<LPWSTR>(&text);
  EXPECT_EQ(device->GetId(&text), S_FALSE);
  EXPECT_EQ(text, nullptr);
  device->Release();
  EXPECT_EQ(audio.Calls().CountOf("IMMDevice::GetId"), 1u);
}

TEST_F(SimulatedEnumeratorTest, EnumeratorAnswersItsInterfacesOnly) {
  void* object = nullptr;
  EXPECT_EQ(enumerator->QueryInterface(IID_IUnknown, &object), S_OK);
  static_cast<IUnknown*>(object)->Release();
  EXPECT_EQ(enumerator->QueryInterface(IID_IMMDevice, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
}

}  // namespace
