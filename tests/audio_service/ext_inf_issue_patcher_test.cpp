#include "audio_service/ext_inf_issue_patcher.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/policy_config.h"
#include "platform/utf.h"
#include "simulator/call_text.h"
#include "tests/audio_service/audio_service_machine.h"

namespace {

using namespace Platform;
using Simulator::CallRecord;

constexpr const char* kPatchedLine =
    "ExtInfIssuePatcher::PatchSupportedDevices() : The Ext INF did not set the properties correctly, I have fixed "
    "it.\n";
constexpr const char* kThrownLine = "ExtInfIssuePatcher::PatchSupportedDevices() : thrown exception\n";

const std::u16string kEffects = u"{D04E05A6-594B-4FB6-A80D-01AF5EED7D1D}";
const std::u16string kKey1 = u"{0D0F5E4A-1E4B-4C3D-9A8E-000000000001}";
const std::u16string kKey2 = u"{0D0F5E4A-1E4B-4C3D-9A8E-000000000002}";
const std::u16string kKey3 = u"{0D0F5E4A-1E4B-4C3D-9A8E-000000000003}";

constexpr PROPERTYKEY kMarker1 = {{0xF363DF17, 0xA750, 0x4AC3, {0xB7, 0xB5, 0x2B, 0xBE, 0xFF, 0xA9, 0x08, 0x5F}}, 11};
constexpr PROPERTYKEY kMarker2 = {{0x9B8844FE, 0x1650, 0x40E5, {0xA5, 0xEA, 0x11, 0xB8, 0xC8, 0x38, 0x21, 0xA1}}, 12};
constexpr PROPERTYKEY kMarker3 = {{0x8A80F57F, 0xE31A, 0x40BB, {0xBB, 0x7B, 0xB1, 0xF6, 0xF5, 0xAA, 0x93, 0x69}}, 0};
const std::u16string kMarker1Name = u"{F363DF17-A750-4AC3-B7B5-2BBEFFA9085F},11";
const std::u16string kMarker2Name = u"{9B8844FE-1650-40E5-A5EA-11B8C83821A1},12";
const std::u16string kMarker3Name = u"{8A80F57F-E31A-40BB-BB7B-B1F6F5AA9369},0";

std::u16string EffectName(int pid) { return kEffects + u"," + Platform::Utf8ToUtf16(std::to_string(pid)); }

class ExtInfIssuePatcherTest : public ::testing::Test {
protected:
  // An endpoint whose effects store holds the product's first CLSID in key ",5".
  std::u16string AddProductEndpoint(const std::u16string& key, DWORD state = DEVICE_STATE_ACTIVE,
                                    EDataFlow flow = eRender) {
    std::u16string id = machine.AddEndpoint(flow, key, state, u"HDAUDIO\\X");
    machine.SetText(flow, key, true, EffectName(5), u"{670173E1-78CF-11E5-A837-0800200C9A66}");
    return id;
  }

  std::size_t Writes() { return machine.audio.Calls().CountOf("IPolicyConfig::SetPropertyValue"); }
  bool LoggedPatch() { return machine.capture.Text().find(kPatchedLine) != std::string::npos; }
  bool LoggedThrow() { return machine.capture.Text().find(kThrownLine) != std::string::npos; }

  Testing::AudioServiceMachine machine;
};

TEST_F(ExtInfIssuePatcherTest, EndpointWithoutAnyProductClsidGetsNoWriteAndNoLine) {
  machine.AddEndpoint(eRender, kKey1, DEVICE_STATE_ACTIVE, u"HDAUDIO\\X");
  machine.SetText(eRender, kKey1, true, EffectName(5), u"{00000000-78CF-11E5-A837-0800200C9A66}");
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 0u);
  EXPECT_FALSE(LoggedPatch());
  EXPECT_FALSE(LoggedThrow());
  EXPECT_EQ(machine.capture.Text(), "");
}

TEST_F(ExtInfIssuePatcherTest, AllMissingMarkersAreWrittenToTheEndpointStoreAndTheLineIsLogged) {
  std::u16string id = AddProductEndpoint(kKey1);
  ExtInfIssuePatcher::PatchSupportedDevices();
  std::vector<CallRecord> writes = machine.audio.Calls().CallsOf("IPolicyConfig::SetPropertyValue");
  ASSERT_EQ(writes.size(), 3u);
  const std::string idText = Simulator::Narrow(id);
  EXPECT_EQ(writes[0].arguments,
            idText + ", 0, {F363DF17-A750-4AC3-B7B5-2BBEFFA9085F},11, VT_LPWSTR \"Quillon.Halcyra3\"");
  EXPECT_EQ(writes[1].arguments,
            idText + ", 0, {9B8844FE-1650-40E5-A5EA-11B8C83821A1},12, VT_LPWSTR \"Quillon.Halcyra3\"");
  EXPECT_EQ(writes[2].arguments, idText + ", 0, {8A80F57F-E31A-40BB-BB7B-B1F6F5AA9369},0, VT_UI4 1");
  EXPECT_EQ(machine.Property(id, false, kMarker1), "VT_LPWSTR \"Quillon.Halcyra3\"");
  EXPECT_EQ(machine.Property(id, false, kMarker2), "VT_LPWSTR \"Quillon.Halcyra3\"");
  EXPECT_EQ(machine.Property(id, false, kMarker3), "VT_UI4 1");
  EXPECT_EQ(machine.Property(id, true, kMarker1), "VT_EMPTY");
  EXPECT_EQ(machine.capture.Text(), kPatchedLine);
}

TEST_F(ExtInfIssuePatcherTest, LowerCaseClsidInKey13Matches) {
  machine.AddEndpoint(eCapture, kKey1, DEVICE_STATE_ACTIVE, u"HDAUDIO\\X");
  machine.SetText(eCapture, kKey1, true, EffectName(13), u"{670173e2-78cf-11e5-a837-0800200c9a66}");
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 3u);
  EXPECT_TRUE(LoggedPatch());
}

TEST_F(ExtInfIssuePatcherTest, ClsidAsSecondElementOfAStringVectorInKey6Matches) {
  machine.AddEndpoint(eRender, kKey1, DEVICE_STATE_ACTIVE, u"HDAUDIO\\X");
  const char16_t vector[] = u"{11111111-2222-3333-4444-555555555555}\0{670173F4-78CF-11E5-A837-0800200C9A66}\0";
  machine.SetRaw(eRender, kKey1, true, EffectName(6), REG_MULTI_SZ, vector, sizeof(vector));
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 3u);
  EXPECT_TRUE(LoggedPatch());
}

TEST_F(ExtInfIssuePatcherTest, EveryEffectKeyIsLookedAtThroughTheEffectsStore) {
  machine.AddEndpoint(eRender, kKey1, DEVICE_STATE_ACTIVE, u"HDAUDIO\\X");
  ExtInfIssuePatcher::PatchSupportedDevices();
  std::vector<CallRecord> reads = machine.audio.Calls().CallsOf("IPolicyConfig::GetPropertyValue");
  ASSERT_EQ(reads.size(), 8u);
  const int pids[] = {5, 6, 11, 12, 13, 14, 19, 20};
  for (std::size_t i = 0; i < reads.size(); ++i) {
    EXPECT_EQ(reads[i].arguments, Simulator::Narrow(Simulator::EndpointRegistry::EndpointId(eRender, kKey1)) +
                                      ", 1, {D04E05A6-594B-4FB6-A80D-01AF5EED7D1D}," + std::to_string(pids[i]));
  }
  // A new policy configuration client for each read.
  EXPECT_EQ(machine.audio.Calls().CallsOf("CoCreateInstance").size(), 1u + 8u);
}

TEST_F(ExtInfIssuePatcherTest, AllThreeMarkersPresentWithAnyValuesGiveNoWriteAndNoLine) {
  AddProductEndpoint(kKey1);
  machine.SetNumber(eRender, kKey1, false, kMarker1Name, 7);
  machine.SetText(eRender, kKey1, false, kMarker2Name, u"something else");
  machine.SetText(eRender, kKey1, false, kMarker3Name, u"1");
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 0u);
  EXPECT_FALSE(LoggedPatch());
  // The endpoint passed the filter: its three markers were read.
  EXPECT_EQ(machine.audio.Calls().CountOf("IPropertyStore::GetValue"), 3u);
}

TEST_F(ExtInfIssuePatcherTest, OnlyTheThirdMarkerMissingGivesOneWriteOfTheNumberOne) {
  std::u16string id = AddProductEndpoint(kKey1);
  machine.SetText(eRender, kKey1, false, kMarker1Name, u"Quillon.Halcyra3");
  machine.SetText(eRender, kKey1, false, kMarker2Name, u"Quillon.Halcyra3");
  ExtInfIssuePatcher::PatchSupportedDevices();
  std::vector<CallRecord> writes = machine.audio.Calls().CallsOf("IPolicyConfig::SetPropertyValue");
  ASSERT_EQ(writes.size(), 1u);
  EXPECT_EQ(writes[0].arguments, Simulator::Narrow(id) + ", 0, {8A80F57F-E31A-40BB-BB7B-B1F6F5AA9369},0, VT_UI4 1");
  EXPECT_TRUE(LoggedPatch());
}

TEST_F(ExtInfIssuePatcherTest, DisabledAndUnpluggedEndpointsAreExaminedAndAbsentOnesAreNot) {
  std::u16string disabled = AddProductEndpoint(kKey1, DEVICE_STATE_DISABLED);
  std::u16string unplugged = AddProductEndpoint(kKey2, DEVICE_STATE_UNPLUGGED, eCapture);
  std::u16string absent = AddProductEndpoint(kKey3, DEVICE_STATE_NOTPRESENT);
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(machine.audio.Calls().CallsOf("IMMDeviceEnumerator::EnumAudioEndpoints").at(0).arguments, "2, 0x0000000B");
  EXPECT_EQ(machine.Property(disabled, false, kMarker3), "VT_UI4 1");
  EXPECT_EQ(machine.Property(unplugged, false, kMarker3), "VT_UI4 1");
  EXPECT_EQ(machine.Property(absent, false, kMarker3), "VT_EMPTY");
  EXPECT_EQ(Writes(), 6u);
}

TEST_F(ExtInfIssuePatcherTest, ASecondRunOverARepairedMachineChangesAndLogsNothing) {
  AddProductEndpoint(kKey1);
  ExtInfIssuePatcher::PatchSupportedDevices();
  ASSERT_TRUE(LoggedPatch());
  machine.capture.Clear();
  machine.audio.Calls().Clear();
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 0u);
  EXPECT_EQ(machine.capture.Text(), "");
}

TEST_F(ExtInfIssuePatcherTest, AKeyTextThatDoesNotParseGivesTheErrorLineAndNoCall) {
  ExtInfIssuePatcher::Texts texts = ExtInfIssuePatcher::ProductTexts();
  texts.markers[1].key = u"{9b8844fe-1650-40e5-a5ea-11b8c83821a1}";
  AddProductEndpoint(kKey1);
  ExtInfIssuePatcher::PatchSupportedDevices(texts);
  EXPECT_EQ(machine.capture.Text(), kThrownLine);
  EXPECT_TRUE(machine.audio.Calls().Calls().empty());
}

TEST_F(ExtInfIssuePatcherTest, EnumeratorThatCannotBeCreatedGivesTheErrorLine) {
  AddProductEndpoint(kKey1);
  machine.audio.Calls().FailCalls("CoCreateInstance", E_FAIL, Simulator::GuidString(CLSID_MMDeviceEnumerator));
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(machine.capture.Text(), kThrownLine);
  EXPECT_EQ(Writes(), 0u);
}

TEST_F(ExtInfIssuePatcherTest, FailingEnumerationOrCountGivesTheErrorLineAndNoWrite) {
  AddProductEndpoint(kKey1);
  for (const char* operation : {"IMMDeviceEnumerator::EnumAudioEndpoints", "IMMDeviceCollection::GetCount"}) {
    machine.capture.Clear();
    machine.audio.Calls().ClearFailures();
    machine.audio.Calls().FailCalls(operation, E_OUTOFMEMORY);
    ExtInfIssuePatcher::PatchSupportedDevices();
    EXPECT_EQ(machine.capture.Text(), kThrownLine) << operation;
    EXPECT_EQ(Writes(), 0u) << operation;
  }
}

TEST_F(ExtInfIssuePatcherTest, AnEndpointWhoseItemFailsIsSkippedAndTheOthersArePatched) {
  std::u16string first = AddProductEndpoint(kKey1);
  std::u16string second = AddProductEndpoint(kKey2);
  machine.audio.Calls().FailCalls("IMMDeviceCollection::Item", E_FAIL, "0");
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(machine.Property(first, false, kMarker3), "VT_EMPTY");
  EXPECT_EQ(machine.Property(second, false, kMarker3), "VT_UI4 1");
  EXPECT_TRUE(LoggedPatch());
}

TEST_F(ExtInfIssuePatcherTest, EffectReadsThatFailCountAsNoMatch) {
  std::u16string id = AddProductEndpoint(kKey1);
  constexpr HRESULT kAccessDenied = static_cast<HRESULT>(0x80070005u);
  machine.audio.Calls().FailCalls("IPolicyConfig::GetPropertyValue", kAccessDenied, Simulator::Narrow(id));
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 0u);
  EXPECT_EQ(machine.capture.Text(), "");
}

TEST_F(ExtInfIssuePatcherTest, AnIdThatComesBackNullCountsAsAFailedRead) {
  std::u16string id = AddProductEndpoint(kKey1);
  machine.audio.Calls().FailCalls("IMMDevice::GetId", S_FALSE, Simulator::Narrow(id));
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(machine.audio.Calls().CountOf("IPolicyConfig::GetPropertyValue"), 0u);
  EXPECT_EQ(Writes(), 0u);
}

TEST_F(ExtInfIssuePatcherTest, EffectValuesOfOtherTypesMatchNothing) {
  machine.AddEndpoint(eRender, kKey1, DEVICE_STATE_ACTIVE, u"HDAUDIO\\X");
  machine.SetNumber(eRender, kKey1, true, EffectName(5), 0x670173E1);
  const unsigned char blob[] = {0x7B, 0x00, 0x36, 0x00};
  machine.SetRaw(eRender, kKey1, true, EffectName(6), REG_BINARY, blob, sizeof(blob));
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 0u);
  EXPECT_EQ(machine.capture.Text(), "");
}

TEST_F(ExtInfIssuePatcherTest, MalformedEffectDataIsRefusedByTheSimulatorAndCountsAsNoMatch) {
  machine.AddEndpoint(eRender, kKey1, DEVICE_STATE_ACTIVE, u"HDAUDIO\\X");
  const char16_t expandable[] = u"{670173E1-78CF-11E5-A837-0800200C9A66}";
  machine.SetRaw(eRender, kKey1, true, EffectName(5), REG_EXPAND_SZ, expandable, sizeof(expandable));
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 0u);
  std::vector<std::u16string> messages = machine.audio.Messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(Simulator::Narrow(messages[0]),
            "Simulator: the property Render\\" + Simulator::Narrow(kKey1) +
                "\\FxProperties\\{D04E05A6-594B-4FB6-A80D-01AF5EED7D1D},5 is ignored: registry type 2 with 78 bytes "
                "holds no property value");
}

TEST_F(ExtInfIssuePatcherTest, AMarkerThatCannotBeReadIsTakenAsMissingAndWritten) {
  std::u16string id = AddProductEndpoint(kKey1);
  machine.SetText(eRender, kKey1, false, kMarker1Name, u"Quillon.Halcyra3");
  machine.audio.Calls().FailCalls("IMMDevice::OpenPropertyStore", E_FAIL, Simulator::Narrow(id));
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 3u);
  EXPECT_TRUE(LoggedPatch());
}

TEST_F(ExtInfIssuePatcherTest, AFailingWriteStillCountsAsPatched) {
  std::u16string id = AddProductEndpoint(kKey1);
  machine.audio.Calls().FailCalls("IPolicyConfig::SetPropertyValue", E_FAIL);
  ExtInfIssuePatcher::PatchSupportedDevices();
  EXPECT_EQ(Writes(), 3u);
  EXPECT_EQ(machine.Property(id, false, kMarker3), "VT_EMPTY");
  EXPECT_TRUE(LoggedPatch());
}

TEST_F(ExtInfIssuePatcherTest, TheWalkLeavesItsComApartmentAndReleasesWhatItHeld) {
  AddProductEndpoint(kKey1);
  ExtInfIssuePatcher::PatchSupportedDevices();
  // A balanced walk leaves the thread as it found it: the next initialization is the first again.
  EXPECT_EQ(CoInitialize(nullptr), S_OK);
  CoUninitialize();
}

}  // namespace
