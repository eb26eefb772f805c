#include "audio_service/default_noise_reduction.h"

#include <cwctype>
#include <string>

#include "platform/com_ptr.h"
#include "platform/core_audio.h"
#include "platform/registry.h"

using namespace Platform;

namespace {

// The trailing separator stands in the name as the product has always written it.
constexpr const char16_t* kProductKey = u"SOFTWARE\\Velorin\\VelorinV3\\";
constexpr const char16_t* kDefaultNoiseReductionValue = u"DefaultNoiseReduction";
constexpr const char* kSetNoiseReductionRegistry = "SetNoiseReductionRegistry";
// Read and write in the 64-bit view of the registry.
constexpr REGSAM kReadWriteAccess = 0x2011F;

constexpr DWORD kNoiseSuppressionParameter = 11;
constexpr DWORD kNoiseReductionParameter = 106;
constexpr DWORD kParameterOn = 0xFFFFFFFF;

void WriteDefaultNoiseReduction(HKEY key, DWORD value) {
  static_cast<void>(RegSetValueExW(key, kDefaultNoiseReductionValue, 0, REG_DWORD,
                                   reinterpret_cast<const BYTE*>(&value), sizeof(value)));
}

// Sets one parameter; reports and returns the failure. `set` is borrowed.
ErrorCode SetParameter(IAudioParameterSet* set, DWORD number) {
  ComPtr<IAudioParameter> parameter;
  if (FAILED(set->GetParameter(number, parameter.Put()))) {
    return RaiseError(kSetNoiseReductionRegistry, ErrorCannotOpen, nullptr);
  }
  if (FAILED(parameter->SetValue(kParameterOn))) {
    return RaiseError(kSetNoiseReductionRegistry, ErrorCannotWrite, nullptr);
  }
  return ErrorNone;
}

// Whether the hardware id of `device` names the noise-reduction hardware, in any case. The store
// that the walk opens is not released: it stays until the process ends, as the product's step
// always left it.
bool IsNoiseReductionDevice(IMMDevice* device) {
  IPropertyStore* store = nullptr;
  static_cast<void>(device->OpenPropertyStore(STGM_READ, &store));
  if (store == nullptr) return false;
  PROPVARIANT value{};
  static_cast<void>(store->GetValue(PKEY_Device_InstanceId, &value));
  if (value.vt != VT_LPWSTR || value.pwszVal == nullptr) return false;
  std::u16string upper(value.pwszVal);
  for (char16_t& c : upper) c = static_cast<char16_t>(std::towupper(static_cast<std::wint_t>(c)));
  PropVariantClear(&value);
  return upper.find(kDefaultNoiseReductionDevice) != std::u16string::npos;
}

}  // namespace

void ApplyDefaultNoiseReduction() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kProductKey, 0, kReadWriteAccess, &key) == ERROR_SUCCESS) {
    DWORD applied = 0;
    DWORD size = sizeof(applied);
    if (RegQueryValueExW(key, kDefaultNoiseReductionValue, nullptr, nullptr, reinterpret_cast<BYTE*>(&applied),
                         &size) != ERROR_SUCCESS) {
      WriteDefaultNoiseReduction(key, 0);
      RegCloseKey(key);
    } else if (applied == 1) {
      RegCloseKey(key);
      return;
    }
    // DELIBERATE: with a value other than 1 the key stays open for the rest of the process.
    static_cast<void>(CoInitialize(nullptr));
  }
  // DELIBERATE: when the key cannot be opened the search runs without a CoInitialize of its
  // own, and the CoUninitialize calls below then undo one that somebody else made on this thread.

  ComPtr<IAudioProcessingManager> manager;
  if (FAILED(CoCreateInstance(CLSID_AudioProcessingManager, nullptr, CLSCTX_ALL, IID_IAudioProcessingManager,
                              manager.PutVoid()))) {
    CoUninitialize();
    return;
  }
  ComPtr<IMMDeviceEnumerator> enumerator;
  if (FAILED(CoCreateInstance(CLSID_MMDeviceEnumerator, nullptr, CLSCTX_INPROC_SERVER, IID_IMMDeviceEnumerator,
                              enumerator.PutVoid()))) {
    // DELIBERATE: this way out leaves without CoUninitialize.
    return;
  }

  // DELIBERATE: neither result is tested, and the collection, the devices and their stores
  // are not released; they stay until the process ends.
  IMMDeviceCollection* collection = nullptr;
  static_cast<void>(enumerator->EnumAudioEndpoints(eRender, DEVICE_STATE_ACTIVE, &collection));
  UINT count = 0;
  static_cast<void>(collection->GetCount(&count));
  bool matched = false;
  for (UINT index = 0; index < count && !matched; ++index) {
    IMMDevice* device = nullptr;
    if (FAILED(collection->Item(index, &device)) || device == nullptr) continue;
    if (IsNoiseReductionDevice(device)) {
      // The endpoint counts as matched whatever the service answered.
      static_cast<void>(SetNoiseReductionRegistry(manager.Get()));
      matched = true;
    }
  }
  // The apartment is left before the two references are released.
  CoUninitialize();
  enumerator.Reset();
  manager.Reset();
}

ErrorCode SetNoiseReductionRegistry(IAudioProcessingManager* manager) {
  ComPtr<IAudioParameterSet> set;
  if (FAILED(manager->GetParameterSet(set.Put()))) {
    return RaiseError(kSetNoiseReductionRegistry, ErrorCannotOpen, nullptr);
  }
  ErrorCode code = SetParameter(set.Get(), kNoiseSuppressionParameter);
  if (code == ErrorNone) code = SetParameter(set.Get(), kNoiseReductionParameter);
  if (code == ErrorNone) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kProductKey, 0, kReadWriteAccess, &key) == ERROR_SUCCESS) {
      WriteDefaultNoiseReduction(key, 1);
      RegCloseKey(key);
    }
  }
  return code;
}
