#include "audio_service/ext_inf_issue_patcher.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/error.h"
#include "foundation/log.h"
#include "foundation/result_check.h"
#include "platform/com_ptr.h"
#include "platform/core_audio.h"
#include "platform/policy_config.h"

using namespace Platform;

namespace {

// DELIBERATE: the reports of failed checks name fixed source lines, the ones they have always named,
// whatever the lines of this file are.
constexpr const char* kSource = "extinfissuepatcher";
constexpr int kKeyFromStringLine = 214;
constexpr int kCreateEnumeratorLine = 150;
constexpr int kEnumAudioEndpointsLine = 152;
constexpr int kGetCountLine = 154;

// Active, disabled and unplugged; endpoints that are absent are left out.
constexpr DWORD kWalkedStates = DEVICE_STATE_ACTIVE | DEVICE_STATE_DISABLED | DEVICE_STATE_UNPLUGGED;

constexpr std::int32_t kKindNumber = 0;
constexpr std::int32_t kKindText = 1;

// One marker property and the value it gets when it is missing.
struct SupportedDeviceProperty {
  PROPERTYKEY key;
  std::int32_t kind;
  std::u16string text;
  DWORD number;
};

struct Configuration {
  std::vector<PROPERTYKEY> effectKeys;
  std::vector<std::u16string> effectClsids;
  std::vector<SupportedDeviceProperty> requiredProperties;
};

PROPERTYKEY KeyFromString(const char16_t* text) {
  PROPERTYKEY key{};
  wil::ThrowIfFailed(PSPropertyKeyFromString(text, &key), kSource, kKeyFromStringLine);
  return key;
}

// Keys in order: the effect keys, then the markers. Throws a wil::ResultException when a key text
// does not parse.
Configuration BuildConfiguration(const ExtInfIssuePatcher::Texts& texts) {
  Configuration configuration;
  for (const char16_t* text : texts.effectKeys) configuration.effectKeys.push_back(KeyFromString(text));
  for (const char16_t* clsid : texts.effectClsids) configuration.effectClsids.emplace_back(clsid);
  for (const ExtInfIssuePatcher::MarkerText& marker : texts.markers) {
    configuration.requiredProperties.push_back(SupportedDeviceProperty{
        KeyFromString(marker.key), marker.kind, marker.text != nullptr ? marker.text : u"", marker.number});
  }
  return configuration;
}

// CLSID texts are ASCII, so ASCII case folding is the whole of "ignoring case" here.
bool EqualsIgnoringCase(const char16_t* a, const std::u16string& b) {
  if (a == nullptr) return false;
  auto fold = [](char16_t c) { return (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 0x20) : c; };
  std::size_t i = 0;
  for (; a[i] != 0 && i < b.size(); ++i) {
    if (fold(a[i]) != fold(b[i])) return false;
  }
  return a[i] == 0 && i == b.size();
}

// A new policy configuration client for each call, as the system's is used; null when none can be
// made.
ComPtr<IPolicyConfig> CreatePolicyConfig() {
  ComPtr<IPolicyConfig> policy;
  if (FAILED(CoCreateInstance(CLSID_PolicyConfigClient, nullptr, CLSCTX_ALL, IID_IPolicyConfig, policy.PutVoid()))) {
    policy.Reset();
  }
  return policy;
}

// Reads `key` of the device's effects store through the policy configuration client.
HRESULT ReadEffectProperty(IMMDevice* device, const PROPERTYKEY& key, PROPVARIANT& value) {
  LPWSTR id = nullptr;
  HRESULT result = device->GetId(&id);
  if (FAILED(result)) return result;
  result = E_POINTER;
  if (id != nullptr) {
    if (ComPtr<IPolicyConfig> policy = CreatePolicyConfig()) {
      result = policy->GetPropertyValue(id, TRUE, key, &value);
    } else {
      result = E_FAIL;
    }
  }
  CoTaskMemFree(id);
  return result;
}

bool MatchesAnyClsid(const PROPVARIANT& value, const std::vector<std::u16string>& clsids) {
  if (value.vt == VT_LPWSTR) {
    for (const std::u16string& clsid : clsids) {
      if (EqualsIgnoringCase(value.pwszVal, clsid)) return true;
    }
  } else if (value.vt == (VT_VECTOR | VT_LPWSTR) && value.calpwstr.pElems != nullptr) {
    for (const std::u16string& clsid : clsids) {
      for (ULONG i = 0; i < value.calpwstr.cElems; ++i) {
        if (EqualsIgnoringCase(value.calpwstr.pElems[i], clsid)) return true;
      }
    }
  }
  return false;
}

// Whether any effect key of the device's effects store holds one of the product's CLSIDs. A key
// that cannot be read counts as no match.
bool HoldsProductEffect(IMMDevice* device, std::vector<PROPERTYKEY> effectKeys, std::vector<std::u16string> clsids) {
  for (const PROPERTYKEY& key : effectKeys) {
    PROPVARIANT value{};
    if (FAILED(ReadEffectProperty(device, key, value))) continue;
    const bool matches = MatchesAnyClsid(value, clsids);
    PropVariantClear(&value);
    if (matches) return true;
  }
  return false;
}

// Reads `key` of the device's own endpoint store; a failure leaves the value empty.
PROPVARIANT ReadEndpointProperty(IMMDevice* device, const PROPERTYKEY& key) {
  PROPVARIANT value{};
  ComPtr<IPropertyStore> store;
  if (SUCCEEDED(device->OpenPropertyStore(STGM_READ, store.Put())) && store) {
    if (FAILED(store->GetValue(key, &value))) value = PROPVARIANT{};
  }
  return value;
}

PROPVARIANT MarkerValue(const SupportedDeviceProperty& marker) {
  PROPVARIANT value{};
  if (marker.kind == kKindNumber) {
    value.vt = VT_UI4;
    value.ulVal = marker.number;
  } else if (marker.kind == kKindText) {
    const std::size_t bytes = (marker.text.size() + 1) * sizeof(char16_t);
    if (auto* copy = static_cast<LPWSTR>(CoTaskMemAlloc(bytes))) {
      std::char_traits<char16_t>::copy(copy, marker.text.c_str(), marker.text.size() + 1);
      value.vt = VT_LPWSTR;
      value.pwszVal = copy;
    }
  }
  return value;
}

// Writes the missing markers to the device's endpoint store. Presence alone counts: a marker of
// another type or value is left alone. The write's result is not looked at.
void RepairDevice(IMMDevice* device, const std::vector<SupportedDeviceProperty>& markers, bool& matched,
                  bool& patched) {
  for (const SupportedDeviceProperty& marker : markers) {
    matched = true;
    PROPVARIANT value = ReadEndpointProperty(device, marker.key);
    if (value.vt != VT_EMPTY) {
      PropVariantClear(&value);
      continue;
    }
    value = MarkerValue(marker);
    LPWSTR id = nullptr;
    if (SUCCEEDED(device->GetId(&id)) && id != nullptr) {
      if (ComPtr<IPolicyConfig> policy = CreatePolicyConfig()) {
        static_cast<void>(policy->SetPropertyValue(id, FALSE, marker.key, &value));
      }
    }
    CoTaskMemFree(id);
    patched = true;
    PropVariantClear(&value);
  }
}

// Calls `callback` with each endpoint, in index order, whose effects hold a product CLSID. Throws
// a wil::ResultException when the enumerator, the collection or its count cannot be had.
void WalkSupportedDevices(const Configuration& configuration, const std::function<void(IMMDevice*)>& callback) {
  // Declared first: every reference below is released before the apartment is left, on every
  // way out of the walk.
  ComInitializeScope apartment;
  ComPtr<IMMDeviceEnumerator> enumerator;
  wil::ThrowIfFailed(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator,
                                      enumerator.PutVoid()),
                     kSource, kCreateEnumeratorLine);
  ComPtr<IMMDeviceCollection> collection;
  wil::ThrowIfFailed(enumerator->EnumAudioEndpoints(eAll, kWalkedStates, collection.Put()), kSource,
                     kEnumAudioEndpointsLine);
  UINT count = 0;
  wil::ThrowIfFailed(collection->GetCount(&count), kSource, kGetCountLine);
  for (UINT index = 0; index < count; ++index) {
    ComPtr<IMMDevice> device;
    if (FAILED(collection->Item(index, device.Put())) || !device) continue;
    if (HoldsProductEffect(device.Get(), configuration.effectKeys, configuration.effectClsids)) callback(device.Get());
  }
}

}  // namespace

const ExtInfIssuePatcher::Texts& ExtInfIssuePatcher::ProductTexts() {
  // The last CLSID breaks the row's pattern (F4 where E5 would follow); it is the product's.
  static const Texts texts{{u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},5", u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},6",
                            u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},11", u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},12",
                            u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},13", u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},14",
                            u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},19", u"{D04E05A6-594B-4fb6-A80D-01AF5EED7D1D},20"},
                           {u"{670173E1-78CF-11E5-A837-0800200C9A66}", u"{670173E2-78CF-11E5-A837-0800200C9A66}",
                            u"{670173E3-78CF-11E5-A837-0800200C9A66}", u"{670173E4-78CF-11E5-A837-0800200C9A66}",
                            u"{670173F4-78CF-11E5-A837-0800200C9A66}"},
                           {{u"{F363DF17-A750-4AC3-B7B5-2BBEFFA9085F},11", kKindText, u"Quillon.Halcyra3", 0},
                            {u"{9b8844fe-1650-40e5-a5ea-11b8c83821a1},12", kKindText, u"Quillon.Halcyra3", 0},
                            {u"{8A80F57F-E31A-40BB-BB7B-B1F6F5AA9369},0", kKindNumber, nullptr, 1}}};
  return texts;
}

void ExtInfIssuePatcher::PatchSupportedDevices() { PatchSupportedDevices(ProductTexts()); }

void ExtInfIssuePatcher::PatchSupportedDevices(const Texts& texts) {
  try {
    Configuration configuration = BuildConfiguration(texts);
    bool matched = false;
    bool patched = false;
    WalkSupportedDevices(configuration, [&](IMMDevice* device) {
      RepairDevice(device, configuration.requiredProperties, matched, patched);
    });
    if (matched && patched) {
      LogWrite(LogLevelInfo, kLogTag,
               u"ExtInfIssuePatcher::PatchSupportedDevices() : The Ext INF did not set the properties correctly, I "
               u"have fixed it.");
    }
  } catch (const wil::ResultException&) {
    LogWrite(LogLevelError, kLogTag, u"ExtInfIssuePatcher::PatchSupportedDevices() : thrown exception");
  } catch (const std::exception& e) {
    static_cast<void>(RaiseStlException("ExtInfIssuePatcher::PatchSupportedDevices", e.what()));
  }
}
