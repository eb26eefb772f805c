#include "simulator/endpoint_registry.h"

#include <gtest/gtest.h>

#include "simulator/call_text.h"
#include "tests/simulator/simulator_fixture.h"

namespace {

using namespace Platform;
using Simulator::Endpoint;

const std::u16string kKey1 = u"{7C6D5E4F-0000-4000-8000-000000000001}";
const std::u16string kKey2 = u"{7C6D5E4F-0000-4000-8000-000000000002}";
const std::u16string kKey3 = u"{7C6D5E4F-0000-4000-8000-000000000003}";
constexpr PROPERTYKEY kSomeKey = {{0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x00}}, 4};
const std::u16string kSomeKeyName = u"{11223344-5566-7788-99AA-BBCCDDEEFF00},4";

class EndpointRegistryTest : public Testing::SimulatorFixture {
protected:
  std::string Read(const std::u16string& id, bool fxStore, const PROPERTYKEY& key) {
    Endpoint endpoint;
    if (!audio.Endpoints().Find(id.c_str(), endpoint)) return "no endpoint";
    PROPVARIANT value{};
    HRESULT result = audio.Endpoints().ReadProperty(endpoint, fxStore, key, value);
    if (result < 0) return "failed " + Simulator::Hex(static_cast<DWORD>(result));
    std::string text = Simulator::DescribeValue(value);
    PropVariantClear(&value);
    return text;
  }
};

TEST_F(EndpointRegistryTest, EndpointsAreListedByFlowAndStateWithCoreAudiosIds) {
  AddEndpoint(eRender, kKey1, DEVICE_STATE_ACTIVE);
  AddEndpoint(eRender, kKey2, DEVICE_STATE_DISABLED);
  AddEndpoint(eCapture, kKey3, DEVICE_STATE_UNPLUGGED);
  std::vector<Endpoint> all = audio.Endpoints().List(eAll, DEVICE_STATEMASK_ALL);
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(Simulator::Narrow(all[0].id), "{0.0.0.00000000}." + Simulator::Narrow(kKey1));
  EXPECT_EQ(Simulator::Narrow(all[2].id), "{0.0.1.00000000}." + Simulator::Narrow(kKey3));
  EXPECT_EQ(all[2].flow, eCapture);
  EXPECT_EQ(all[1].state, DEVICE_STATE_DISABLED);
  EXPECT_EQ(audio.Endpoints().List(eRender, DEVICE_STATE_ACTIVE | DEVICE_STATE_UNPLUGGED).size(), 1u);
  EXPECT_EQ(audio.Endpoints().List(eCapture, DEVICE_STATEMASK_ALL).size(), 1u);
  EXPECT_TRUE(audio.Endpoints().List(eCapture, DEVICE_STATE_ACTIVE).empty());
}

TEST_F(EndpointRegistryTest, FindKnowsAnEndpointByIdOnly) {
  std::u16string id = AddEndpoint(eCapture, kKey1);
  Endpoint endpoint;
  ASSERT_TRUE(audio.Endpoints().Find(id.c_str(), endpoint));
  EXPECT_EQ(endpoint.keyName, kKey1);
  EXPECT_FALSE(audio.Endpoints().Find((u"{0.0.0.00000000}." + kKey1).c_str(), endpoint));
  EXPECT_FALSE(audio.Endpoints().Find(u"{0.0.1.00000000}.nonsense", endpoint));
  EXPECT_FALSE(audio.Endpoints().Find(nullptr, endpoint));
}

TEST_F(EndpointRegistryTest, KeyWhoseNameIsNotAGuidIsRefusedWithAMessage) {
  AddEndpoint(eRender, kKey1);
  SetNumber(Testing::kSimulatorRoot.path + u"\\Render\\Speakers", u"DeviceState", 1);
  EXPECT_EQ(audio.Endpoints().List(eAll, DEVICE_STATEMASK_ALL).size(), 1u);
  EXPECT_EQ(Messages(), std::vector<std::string>{
                            "Simulator: the endpoint key Render\\Speakers is refused: its name is not a braced GUID"});
}

TEST_F(EndpointRegistryTest, EndpointWithoutStateIsRefusedWithAMessage) {
  SetText(EndpointPath(eCapture, kKey1) + u"\\Properties", kSomeKeyName, u"x");
  EXPECT_TRUE(audio.Endpoints().List(eAll, DEVICE_STATEMASK_ALL).empty());
  EXPECT_EQ(Messages(), std::vector<std::string>{"Simulator: the endpoint key Capture\\" + Simulator::Narrow(kKey1) +
                                                 " is refused: it has no DeviceState value"});
}

TEST_F(EndpointRegistryTest, StateOfTheWrongTypeOrValueIsRefusedWithAMessage) {
  SetText(EndpointPath(eRender, kKey1), u"DeviceState", u"1");
  SetNumber(EndpointPath(eRender, kKey2), u"DeviceState", 3);
  EXPECT_TRUE(audio.Endpoints().List(eAll, DEVICE_STATEMASK_ALL).empty());
  EXPECT_EQ(Messages(),
            (std::vector<std::string>{"Simulator: the endpoint key Render\\" + Simulator::Narrow(kKey1) +
                                          " is refused: its DeviceState is of registry type 1, not REG_DWORD (4)",
                                      "Simulator: the endpoint key Render\\" + Simulator::Narrow(kKey2) +
                                          " is refused: its DeviceState 3 is none of the states 1, 2, 4 and 8"}));
}

TEST_F(EndpointRegistryTest, EachRefusalIsReportedOnce) {
  SetNumber(EndpointPath(eRender, kKey1), u"DeviceState", 0);
  audio.Endpoints().List(eAll, DEVICE_STATEMASK_ALL);
  audio.Endpoints().List(eAll, DEVICE_STATEMASK_ALL);
  EXPECT_EQ(Messages().size(), 1u);
}

TEST_F(EndpointRegistryTest, RegistryTypesBecomePropertyTypes) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  const std::u16string store = EndpointPath(eRender, kKey1) + u"\\Properties";
  SetNumber(store, kSomeKeyName, 42);
  EXPECT_EQ(Read(id, false, kSomeKey), "VT_UI4 42");
  SetText(store, kSomeKeyName, u"text");
  EXPECT_EQ(Read(id, false, kSomeKey), "VT_LPWSTR \"text\"");
  const char16_t vector[] = u"a\0bc\0";
  SetRaw(store, kSomeKeyName, REG_MULTI_SZ, vector, sizeof(vector));
  EXPECT_EQ(Read(id, false, kSomeKey), "VT_VECTOR|VT_LPWSTR [\"a\", \"bc\"]");
  const ULONGLONG big = 1ull << 40;
  SetRaw(store, kSomeKeyName, REG_QWORD, &big, sizeof(big));
  EXPECT_EQ(Read(id, false, kSomeKey), "VT_UI8 1099511627776");
  const BYTE bytes[] = {1, 2, 3};
  SetRaw(store, kSomeKeyName, REG_BINARY, bytes, sizeof(bytes));
  EXPECT_EQ(Read(id, false, kSomeKey), "VT_BLOB 3 bytes");
  const char16_t unterminated[] = {u'o', u'k'};
  SetRaw(store, kSomeKeyName, REG_SZ, unterminated, sizeof(unterminated));
  EXPECT_EQ(Read(id, false, kSomeKey), "VT_LPWSTR \"ok\"");
  EXPECT_EQ(Read(id, true, kSomeKey), "VT_EMPTY");
}

TEST_F(EndpointRegistryTest, ValueWithoutAPropertyTypeFailsToReadWithAMessage) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  const BYTE three[] = {1, 2, 3};
  SetRaw(EndpointPath(eRender, kKey1) + u"\\FxProperties", kSomeKeyName, REG_DWORD, three, sizeof(three));
  EXPECT_EQ(Read(id, true, kSomeKey), "failed 0x8007065E");
  EXPECT_EQ(Messages(), std::vector<std::string>{"Simulator: the property Render\\" + Simulator::Narrow(kKey1) +
                                                 "\\FxProperties\\" + Simulator::Narrow(kSomeKeyName) +
                                                 " is ignored: registry type 4 with 3 bytes holds no property value"});
}

TEST_F(EndpointRegistryTest, ValuesWhoseNamesAreNotKeysAreIgnoredWithAMessage) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  SetText(EndpointPath(eRender, kKey1) + u"\\Properties", u"FriendlyName", u"Speakers");
  Endpoint endpoint;
  ASSERT_TRUE(audio.Endpoints().Find(id.c_str(), endpoint));
  EXPECT_EQ(audio.Endpoints().PropertyKeys(endpoint, false).size(), 1u);  // the hardware id
  EXPECT_EQ(Messages(), std::vector<std::string>{"Simulator: the property Render\\" + Simulator::Narrow(kKey1) +
                                                 "\\Properties\\FriendlyName is ignored: its name is not {fmtid},pid"});
}

TEST_F(EndpointRegistryTest, WrittenPropertiesReadBackAndEmptyRemoves) {
  std::u16string id = AddEndpoint(eCapture, kKey1);
  Endpoint endpoint;
  ASSERT_TRUE(audio.Endpoints().Find(id.c_str(), endpoint));
  PROPVARIANT number{};
  number.vt = VT_UI4;
  number.ulVal = 3;
  ASSERT_EQ(audio.Endpoints().WriteProperty(endpoint, true, kSomeKey, number), S_OK);
  EXPECT_EQ(Read(id, true, kSomeKey), "VT_UI4 3");
  EXPECT_EQ(Read(id, false, kSomeKey), "VT_EMPTY");
  PROPVARIANT empty{};
  ASSERT_EQ(audio.Endpoints().WriteProperty(endpoint, true, kSomeKey, empty), S_OK);
  EXPECT_EQ(Read(id, true, kSomeKey), "VT_EMPTY");
  PROPVARIANT other{};
  other.vt = VT_BOOL;
  EXPECT_EQ(audio.Endpoints().WriteProperty(endpoint, true, kSomeKey, other), DISP_E_BADVARTYPE);
}

TEST_F(EndpointRegistryTest, StateIsWrittenToDeviceState) {
  std::u16string id = AddEndpoint(eRender, kKey1);
  Endpoint endpoint;
  ASSERT_TRUE(audio.Endpoints().Find(id.c_str(), endpoint));
  ASSERT_EQ(audio.Endpoints().SetState(endpoint, DEVICE_STATE_DISABLED), S_OK);
  ASSERT_TRUE(audio.Endpoints().Find(id.c_str(), endpoint));
  EXPECT_EQ(endpoint.state, DEVICE_STATE_DISABLED);
}

TEST_F(EndpointRegistryTest, AnyEndpointKeyCountsAsPresentEvenARefusedOne) {
  EXPECT_FALSE(audio.Endpoints().HasAnyEndpointKey());
  SetNumber(Testing::kSimulatorRoot.path + u"\\Capture\\junk", u"DeviceState", 99);
  EXPECT_TRUE(audio.Endpoints().HasAnyEndpointKey());
}

}  // namespace
