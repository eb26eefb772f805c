// The system calls the policy configuration client, the Realtek object and the audio processing
// service by slot: their operations must sit at the places the real objects have them.
#include <gtest/gtest.h>

#include "platform/audio_processing.h"
#include "platform/core_audio.h"
#include "platform/policy_config.h"
#include "platform/rtk_bss_api.h"

namespace {

using namespace Platform;

// Calls slot `slot` of `object`'s table as a function of the object and `arguments`, as a caller
// that knows only the slot numbers does.
template <class... Arguments>
HRESULT CallSlot(void* object, int slot, Arguments... arguments) {
  using Function = HRESULT (*)(void*, Arguments...);
  auto** table = *reinterpret_cast<Function**>(object);
  return table[slot](object, arguments...);
}

template <class Interface>
class Unknown : public Interface {
public:
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
};

class PolicyConfig final : public Unknown<IPolicyConfig> {
public:
  HRESULT GetPropertyValue(LPCWSTR, BOOL fxStore, REFPROPERTYKEY, PROPVARIANT*) override { return 1100 + fxStore; }
  HRESULT SetPropertyValue(LPCWSTR, BOOL fxStore, REFPROPERTYKEY, PROPVARIANT*) override { return 1200 + fxStore; }
  HRESULT SetEndpointVisibility(LPCWSTR, BOOL visible) override { return 1400 + visible; }
};

class RtkBssApi final : public Unknown<IRtkBssApi> {
public:
  HRESULT Initialize(LPCWSTR) override { return 700; }
  HRESULT SetBssMode(DWORD mode) override { return 800 + static_cast<HRESULT>(mode); }
  HRESULT GetBssMode(DWORD*) override { return 900; }
  HRESULT ClearBss(DWORD) override { return 1000; }
};

class RtkBssApi2 final : public Unknown<IRtkBssApi2> {
public:
  HRESULT IsGen3Supported(BOOL*) override { return 300; }
};

class Parameter final : public Unknown<IAudioParameter> {
public:
  HRESULT SetValue(DWORD) override { return 2500; }
};

class ParameterSet final : public Unknown<IAudioParameterSet> {
public:
  HRESULT GetParameter(DWORD, IAudioParameter**) override { return 900; }
};

class ProcessingManager final : public Unknown<IAudioProcessingManager> {
public:
  HRESULT GetParameterSet(IAudioParameterSet**) override { return 2000; }
};

TEST(InterfaceSlotsTest, PolicyConfigReadsAtElevenWritesAtTwelveAndShowsAtFourteen) {
  PolicyConfig policy;
  PROPERTYKEY key{};
  PROPVARIANT value{};
  EXPECT_EQ(CallSlot(&policy, 11, u"id", BOOL{1}, &key, &value), 1101);
  EXPECT_EQ(CallSlot(&policy, 12, u"id", BOOL{0}, &key, &value), 1200);
  EXPECT_EQ(CallSlot(&policy, 14, u"id", BOOL{1}), 1401);
  EXPECT_EQ(CallSlot(&policy, 13), E_NOTIMPL);
}

TEST(InterfaceSlotsTest, RealtekOperationsSitAtSevenToTenAndGen3AtThree) {
  RtkBssApi api;
  DWORD mode = 0;
  EXPECT_EQ(CallSlot(&api, 7, u"id"), 700);
  EXPECT_EQ(CallSlot(&api, 8, DWORD{3}), 803);
  EXPECT_EQ(CallSlot(&api, 9, &mode), 900);
  EXPECT_EQ(CallSlot(&api, 10, DWORD{0}), 1000);
  RtkBssApi2 api2;
  BOOL supported = FALSE;
  EXPECT_EQ(CallSlot(&api2, 3, &supported), 300);
}

TEST(InterfaceSlotsTest, AudioProcessingOperationsSitAtTwentyNineAndTwentyFive) {
  ProcessingManager manager;
  ParameterSet set;
  Parameter parameter;
  EXPECT_EQ(CallSlot(&manager, 20, static_cast<IAudioParameterSet**>(nullptr)), 2000);
  EXPECT_EQ(CallSlot(&set, 9, DWORD{11}, static_cast<IAudioParameter**>(nullptr)), 900);
  EXPECT_EQ(CallSlot(&parameter, 25, DWORD{0xFFFFFFFF}), 2500);
}

}  // namespace
