#include "audio_service/device_routing_data_system.h"

#include <exception>
#include <new>
#include <utility>

#include "audio_service/product_identity.h"
#include "data_system/access_flags.h"
#include "data_system/flags.h"
#include "data_system/friendly_storage.h"
#include "foundation/format.h"
#include "platform/com_ptr.h"

namespace DeviceRouting {

using namespace DataSystem;

// Each model is a function-local static: built once under the thread-safe initialization of
// statics, and kept for the process's life.
#define HALCYRA_VALUE_MODEL(function, type, id, name, defaultValue)        \
  CValueModelT<type>& function() {                                         \
    static CValueModelT<type> model(Common::GUID(id), name, defaultValue); \
    return model;                                                          \
  }

CStoreModel& DeviceRoutingDataSystemModel() {
  static CStoreModel model(Common::GUID(u"a7faf9d6-cd2f-4b99-89c3-5b8cf5451651"), u"DeviceRoutingDataSystem",
                           SM_INHERIT);
  return model;
}
CStoreModel& ProfilesModel() {
  static CStoreModel model(Common::GUID(u"2d892500-1f2c-4141-b46b-2a6bd660e61d"), u"Profiles",
                           SM_READ | SM_WRITE | SM_MONITORED);
  return model;
}
CStoreModel& ProfileModel() {
  static CStoreModel model(Common::GUID(u"2d892501-1f2c-4141-b46b-2a6bd660e61d"), u"Profile", SM_INHERIT);
  return model;
}

HALCYRA_VALUE_MODEL(IdModel, Common::GUID, u"2d892502-1f2c-4141-b46b-2a6bd660e61d", u"ID", Common::GUID())
HALCYRA_VALUE_MODEL(GlobalStateModel, bool, u"82E8CB63-42B6-48D0-9DA5-B12555D06D22", u"bGlobalState", false)
HALCYRA_VALUE_MODEL(IsActivatedModel, bool, u"0d1c34c5-f6e7-4aa5-97f5-baa1df31dad9", u"bIsActivated", false)
HALCYRA_VALUE_MODEL(IsCreatedModel, bool, u"2d892506-1f2c-4141-b46b-2a6bd660e61d", u"bIsCreated", false)
HALCYRA_VALUE_MODEL(StateModel, bool, u"2d892504-1f2c-4141-b46b-2a6bd660e61d", u"bState", false)
HALCYRA_VALUE_MODEL(VacAppIsHookedModel, bool, u"b598faec-cfe1-4819-b42d-c19440e62f4f", u"bVacAppIsHooked", false)
HALCYRA_VALUE_MODEL(VacAppRoutingStateModel, bool, u"e3c373ee-abab-4d5f-81e3-fc4607fd963a", u"bVacAppRoutingState",
                    false)
HALCYRA_VALUE_MODEL(VacRoutingStateModel, bool, u"e3c373ee-abab-4d5f-81e3-fc4607fd963a", u"bVacRoutingState", false)
HALCYRA_VALUE_MODEL(VacLoopbackStateModel, bool, u"EDBC3E1F-7BA3-46E4-8FA2-6ECDC154B2E0", u"bVacLoopbackState", false)
HALCYRA_VALUE_MODEL(VacMicRoutingStateModel, bool, u"2d892507-1f2c-4141-b46b-2a6bd660e61d", u"bVacMicRoutingState",
                    false)
HALCYRA_VALUE_MODEL(PidModel, std::uint32_t, u"2d892507-1f2c-4141-b46b-2a6bd660e61d", u"nPid", 0u)
HALCYRA_VALUE_MODEL(VacLatencyModel, std::uint32_t, u"E0A0E3DF-EDC7-4A43-9B2A-24517031C6B6", u"nVaclatency", 0u)
HALCYRA_VALUE_MODEL(DisplayNameModel, WideString, u"155da21d-4150-42f1-93e0-0414ddb64b7f", u"szDisplayName", u"")
HALCYRA_VALUE_MODEL(ExeFullPathModel, WideString, u"a51cbb03-c801-4f08-9f25-575393822209", u"szExeFullPath", u"")
HALCYRA_VALUE_MODEL(ExeNameModel, WideString, u"2d892503-1f2c-4141-b46b-2a6bd660e61d", u"szExeName", u"")
HALCYRA_VALUE_MODEL(MMDeviceIdModel, WideString, u"2d892505-1f2c-4141-b46b-2a6bd660e61d", u"szMMDeviceId", u"")
HALCYRA_VALUE_MODEL(PckgPathModel, WideString, u"44fbe40a-1f2d-49d2-93f0-d50a0425f08a", u"szPckgPath", u"")
HALCYRA_VALUE_MODEL(VacLoopbackMMDeviceIdModel, WideString, u"F39B37F3-9F3A-4B52-BAE4-5B2D34A3C10C",
                    u"szVacLoopbackMMDeviceId", u"")
HALCYRA_VALUE_MODEL(VacMicMMDeviceIdModel, WideString, u"240AFE80-699C-4B2A-BFA7-7C4CB32DA40B", u"szVacMicMMDeviceId",
                    u"")

#undef HALCYRA_VALUE_MODEL

ErrorCode CreateDeviceRoutingDataSystem(IDataSystem** out, std::uint32_t flags, ProductDesc desc,
                                        StorageSystem::IReleaseHandler* finalReleaseHandler,
                                        const Platform::SECURITY_ATTRIBUTES* attributes) {
  // The bits that choose how the storage opens are spent there and kept from the data system.
  constexpr std::uint32_t kOpeningFlags = DS_SHARED_STORAGE | DS_PER_USER | DS_MACHINE_WIDE;
  try {
    const ProductDesc resolved = ResolveProductDesc(std::move(desc));
    flags = ApplyFriendlyStorage(flags);
    Platform::ComPtr<StorageSystem::IStorageSystem> storage;
    if (ErrorCode status = OpenProductStorage(storage.Put(), flags, attributes, resolved); status != ErrorNone) {
      return status;
    }
    return BuildDeviceRoutingDataSystem(storage.Get(), out, flags & ~kOpeningFlags, finalReleaseHandler);
  } catch (const std::exception& e) {
    return RaiseStlException("DeviceRouting::CreateDeviceRoutingDataSystem", e.what());
  }
}

ErrorCode BuildDeviceRoutingDataSystem(StorageSystem::IStorageSystem* storage, IDataSystem** out, std::uint32_t flags,
                                       StorageSystem::IReleaseHandler* finalReleaseHandler) {
  flags = ApplyFriendlyStorage(flags);
  CStoreModel& model = DeviceRoutingDataSystemModel();
  char16_t path[256];
  if ((flags & DS_STORE_BY_NAME) != 0) {
    static_cast<void>(FormatBounded(path, 256, u"%s", model.GetName()));
  } else if (ErrorCode status = model.GetGuid()->ToString(path, 256); status != ErrorNone) {
    return status;
  }
  Platform::ComPtr<StorageSystem::IStore> store;
  if (ErrorCode status = storage->OpenStore(path, store.Put(), AccessFromFlags(&model, flags)); status != ErrorNone) {
    return status;
  }
  auto* object = new (std::nothrow) CDeviceRoutingDataSystem(flags, store.Get(), finalReleaseHandler);
  // The object holds a reference of its own from here on.
  store.Reset();
  if (object == nullptr) return ErrorOutOfMemory;
  return CDataSystem::Open(object, out);
}

}  // namespace DeviceRouting
