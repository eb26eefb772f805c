// DeviceRoutingDataSystem: the routing state of the product's virtual audio device, the data that
// the product's processes share through the registry.
//
//   DeviceRoutingDataSystem (root)
//     Profiles (read, write, monitored: the one store with a place of its own)
//       bGlobalState, bIsActivated, bVacRoutingState, bVacMicRoutingState, szVacMicMMDeviceId,
//       bVacLoopbackState, szVacLoopbackMMDeviceId, nVaclatency
//       Profile[] (one executable each)
//         ID, szExeName, szExeFullPath, szDisplayName, bState, szMMDeviceId, szPckgPath, bIsCreated,
//         nPid, bVacAppRoutingState, bVacAppIsHooked
//
// DELIBERATE: two pairs of values share an id, each pair across the two stores: bVacRoutingState
// with bVacAppRoutingState, and bVacMicRoutingState with nPid. This module reads, writes and
// watches only bVacRoutingState; the rest is declared because a tree is always built whole.
#pragma once

#include <cstdint>

#include "data_system/bounded_value_item.h"
#include "data_system/data_system.h"
#include "data_system/item_vector_indexer.h"
#include "data_system/single_item_indexer.h"
#include "data_system/store_item.h"
#include "data_system/store_model.h"
#include "data_system/value_item.h"
#include "data_system/value_model.h"
#include "storage_system/product_desc.h"
#include "storage_system/release_handler.h"
#include "storage_system/storage_system.h"

namespace DeviceRouting {

using DataSystem::CBoundedValueT;
using DataSystem::CSingleItemIndexerT;
using DataSystem::CStoreModel;
using DataSystem::CValueModelT;
using DataSystem::CValueT;
using DataSystem::WideString;

// The models, one process-wide singleton each, built at first use.
CStoreModel& DeviceRoutingDataSystemModel();
CStoreModel& ProfilesModel();
CStoreModel& ProfileModel();
CValueModelT<Common::GUID>& IdModel();
CValueModelT<bool>& GlobalStateModel();
CValueModelT<bool>& IsActivatedModel();
CValueModelT<bool>& IsCreatedModel();
CValueModelT<bool>& StateModel();
CValueModelT<bool>& VacAppIsHookedModel();
CValueModelT<bool>& VacAppRoutingStateModel();
CValueModelT<bool>& VacRoutingStateModel();
CValueModelT<bool>& VacLoopbackStateModel();
CValueModelT<bool>& VacMicRoutingStateModel();
CValueModelT<std::uint32_t>& PidModel();
CValueModelT<std::uint32_t>& VacLatencyModel();
CValueModelT<WideString>& DisplayNameModel();
CValueModelT<WideString>& ExeFullPathModel();
CValueModelT<WideString>& ExeNameModel();
CValueModelT<WideString>& MMDeviceIdModel();
CValueModelT<WideString>& PckgPathModel();
CValueModelT<WideString>& VacLoopbackMMDeviceIdModel();
CValueModelT<WideString>& VacMicMMDeviceIdModel();

// One executable's routing, an instance of the vector Profile.
class CProfileStore : public DataSystem::CStoreT<> {
public:
  CProfileStore(DataSystem::IStoreModel* model, DataSystem::IItem* parent) : CStoreT(model, parent) {}

  CSingleItemIndexerT<CValueT<Common::GUID>> id{&IdModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> exeName{&ExeNameModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> exeFullPath{&ExeFullPathModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> displayName{&DisplayNameModel(), this};
  CSingleItemIndexerT<CBoundedValueT<bool>> state{&StateModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> mmDeviceId{&MMDeviceIdModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> pckgPath{&PckgPathModel(), this};
  CSingleItemIndexerT<CBoundedValueT<bool>> isCreated{&IsCreatedModel(), this};
  CSingleItemIndexerT<CBoundedValueT<std::uint32_t>> pid{&PidModel(), this};
  CSingleItemIndexerT<CBoundedValueT<bool>> vacAppRoutingState{&VacAppRoutingStateModel(), this};
  CSingleItemIndexerT<CBoundedValueT<bool>> vacAppIsHooked{&VacAppIsHookedModel(), this};
};

// The global values and the vector of profiles.
class CProfilesStore : public DataSystem::CStoreT<> {
public:
  CProfilesStore(DataSystem::IStoreModel* model, DataSystem::IItem* parent) : CStoreT(model, parent) {}

  CSingleItemIndexerT<CBoundedValueT<bool>> globalState{&GlobalStateModel(), this};
  CSingleItemIndexerT<CBoundedValueT<bool>> isActivated{&IsActivatedModel(), this};
  CSingleItemIndexerT<CBoundedValueT<bool>> vacRoutingState{&VacRoutingStateModel(), this};
  CSingleItemIndexerT<CBoundedValueT<bool>> vacMicRoutingState{&VacMicRoutingStateModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> vacMicMMDeviceId{&VacMicMMDeviceIdModel(), this};
  CSingleItemIndexerT<CBoundedValueT<bool>> vacLoopbackState{&VacLoopbackStateModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> vacLoopbackMMDeviceId{&VacLoopbackMMDeviceIdModel(), this};
  CSingleItemIndexerT<CBoundedValueT<std::uint32_t>> vacLatency{&VacLatencyModel(), this};
  DataSystem::CItemVectorIndexerT<CProfileStore> profiles{&ProfileModel(), this};
};

class CDeviceRoutingDataSystem : public DataSystem::CDataSystem {
public:
  CDeviceRoutingDataSystem(std::uint32_t flags, StorageSystem::IStore* storageStore,
                           StorageSystem::IReleaseHandler* finalReleaseHandler)
      : CDataSystem(&DeviceRoutingDataSystemModel(), flags, storageStore, finalReleaseHandler) {}

  CSingleItemIndexerT<CProfilesStore> profiles{&ProfilesModel(), this};
};

// Opens the routing data system of the product that `desc` names (empty strings: the one this
// machine's identity resolves to): resolves the identity, opens the product's storage system (in
// the machine hive; DS_PER_USER in the user's; DS_SHARED_STORAGE through the process's shared one,
// which refuses `attributes`), and builds the tree there. `*out` receives the object with one
// reference. Returns ErrorNone, the code of the storage open or of the build, or ErrorStlException.
// The caller's thread.
[[nodiscard]] ErrorCode CreateDeviceRoutingDataSystem(DataSystem::IDataSystem** out, std::uint32_t flags,
                                                      DataSystem::ProductDesc desc,
                                                      StorageSystem::IReleaseHandler* finalReleaseHandler,
                                                      const Platform::SECURITY_ATTRIBUTES* attributes);

// Builds the tree on `storage` (borrowed): opens the data system's own place there (named by the
// root model's GUID, or its name under DS_STORE_BY_NAME), brings every item up, and hands the
// object to `*out` with one reference. `flags` are DataSystemFlags less the opening bits 0x7000;
// `finalReleaseHandler` may be null. Returns ErrorNone, ErrorOutOfMemory, or the code of the
// storage open or of the failing item. The caller's thread.
[[nodiscard]] ErrorCode BuildDeviceRoutingDataSystem(StorageSystem::IStorageSystem* storage,
                                                     DataSystem::IDataSystem** out, std::uint32_t flags,
                                                     StorageSystem::IReleaseHandler* finalReleaseHandler);

}  // namespace DeviceRouting
