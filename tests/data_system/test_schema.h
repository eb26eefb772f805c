// A small schema of its own for the data system's tests, with every kind of item:
//
//   TestData (SM_INHERIT root)
//     Settings (7: monitored, a place of its own)
//       Enabled   bool, bounded, default true
//       Level     unsigned int, bounded 1..10, default 5
//       Title     wide string, default "Halcyra"
//       Id        GUID, default {6B1C0D2E-3F40-4A5B-8C6D-7E8F90A1B2C3}
//       Inner (SM_INHERIT)
//         Count   unsigned int, bounded, default 0
//       Profile[] vector of stores (SM_INHERIT)
//         bState    bool, bounded, default false
//         szExeName wide string, default ""
//         Weight    unsigned int, default 0
//       Tag[]     vector of unsigned int values, computed default 100 + index
//     Archive (3: a place of its own, not monitored)
//       Plain     unsigned int, bounded, default 7
//       LongName… unsigned int named by 130 characters, default 1
//       Watched (7: a place of its own and, below an unwatched parent, a subscription of its own)
//         Value   unsigned int, bounded, default 0
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
#include "storage_system/store.h"

namespace Testing::Schema {

using namespace DataSystem;

inline constexpr Common::GUID kRootGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1001");
inline constexpr Common::GUID kSettingsGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1002");
inline constexpr Common::GUID kEnabledGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1003");
inline constexpr Common::GUID kLevelGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1004");
inline constexpr Common::GUID kTitleGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1005");
inline constexpr Common::GUID kIdGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1006");
inline constexpr Common::GUID kInnerGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1007");
inline constexpr Common::GUID kCountGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1008");
inline constexpr Common::GUID kProfileGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1009");
inline constexpr Common::GUID kStateGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D100A");
inline constexpr Common::GUID kExeNameGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D100B");
inline constexpr Common::GUID kWeightGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D100C");
inline constexpr Common::GUID kTagGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D100D");
inline constexpr Common::GUID kArchiveGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D100E");
inline constexpr Common::GUID kPlainGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D100F");
inline constexpr Common::GUID kWatchedGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1010");
inline constexpr Common::GUID kWatchedValueGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1011");
inline constexpr Common::GUID kLongGuid = Common::GuidLiteral("0B6D31C2-1F2A-4E57-9C9B-2A5A0E7D1012");
// The 130 characters of the long name.
inline constexpr const char16_t* kLongName =
    u"LongNamexxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"
    u"xxxxxxxxxxxxxxxxx";
inline constexpr Common::GUID kDefaultId = Common::GuidLiteral("6B1C0D2E-3F40-4A5B-8C6D-7E8F90A1B2C3");

CStoreModel& RootModel();
CStoreModel& SettingsModel();
CValueModelT<bool>& EnabledModel();
CValueModelT<std::uint32_t>& LevelModel();
CValueModelT<WideString>& TitleModel();
CValueModelT<Common::GUID>& IdModel();
CStoreModel& InnerModel();
CValueModelT<std::uint32_t>& CountModel();
CStoreModel& ProfileModel();
CValueModelT<bool>& StateModel();
CValueModelT<WideString>& ExeNameModel();
CValueModelT<std::uint32_t>& WeightModel();
CValueModelT<std::uint32_t>& TagModel();
CStoreModel& ArchiveModel();
CValueModelT<std::uint32_t>& PlainModel();
CValueModelT<std::uint32_t>& LongModel();
CStoreModel& WatchedModel();
CValueModelT<std::uint32_t>& WatchedValueModel();

class CInnerStore : public CStoreT<> {
public:
  CInnerStore(IStoreModel* model, IItem* parent) : CStoreT(model, parent) {}
  CSingleItemIndexerT<CBoundedValueT<std::uint32_t>> count{&CountModel(), this};
};

class CProfileStore : public CStoreT<> {
public:
  CProfileStore(IStoreModel* model, IItem* parent) : CStoreT(model, parent) {}
  CSingleItemIndexerT<CBoundedValueT<bool>> state{&StateModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> exeName{&ExeNameModel(), this};
  CSingleItemIndexerT<CValueT<std::uint32_t>> weight{&WeightModel(), this};
};

class CSettingsStore : public CStoreT<> {
public:
  CSettingsStore(IStoreModel* model, IItem* parent) : CStoreT(model, parent) {}
  CSingleItemIndexerT<CBoundedValueT<bool>> enabled{&EnabledModel(), this};
  CSingleItemIndexerT<CBoundedValueT<std::uint32_t>> level{&LevelModel(), this};
  CSingleItemIndexerT<CValueT<WideString>> title{&TitleModel(), this};
  CSingleItemIndexerT<CValueT<Common::GUID>> id{&IdModel(), this};
  CSingleItemIndexerT<CInnerStore> inner{&InnerModel(), this};
  CItemVectorIndexerT<CProfileStore> profiles{&ProfileModel(), this};
  CItemVectorIndexerT<CValueT<std::uint32_t>> tags{&TagModel(), this};
};

class CWatchedStore : public CStoreT<> {
public:
  CWatchedStore(IStoreModel* model, IItem* parent) : CStoreT(model, parent) {}
  CSingleItemIndexerT<CBoundedValueT<std::uint32_t>> value{&WatchedValueModel(), this};
};

class CArchiveStore : public CStoreT<> {
public:
  CArchiveStore(IStoreModel* model, IItem* parent) : CStoreT(model, parent) {}
  CSingleItemIndexerT<CBoundedValueT<std::uint32_t>> plain{&PlainModel(), this};
  CSingleItemIndexerT<CValueT<std::uint32_t>> longNamed{&LongModel(), this};
  CSingleItemIndexerT<CWatchedStore> watched{&WatchedModel(), this};
};

class CTestDataSystem : public CDataSystem {
public:
  CTestDataSystem(std::uint32_t flags, StorageSystem::IStore* storage,
                  StorageSystem::IReleaseHandler* handler = nullptr)
      : CDataSystem(&RootModel(), flags, storage, handler) {}
  CSingleItemIndexerT<CSettingsStore> settings{&SettingsModel(), this};
  CSingleItemIndexerT<CArchiveStore> archive{&ArchiveModel(), this};
};

// Builds and opens the test data system on `storage` (borrowed; the data system takes its own
// reference) with `flags`. The opener's reference goes to `*result`.
ErrorCode OpenTestDataSystem(StorageSystem::IStore* storage, std::uint32_t flags, IDataSystem** result,
                             StorageSystem::IReleaseHandler* handler = nullptr);

}  // namespace Testing::Schema
