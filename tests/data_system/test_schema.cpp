#include "tests/data_system/test_schema.h"

#include <new>

namespace Testing::Schema {

namespace {
std::uint32_t HundredPlusIndex(std::uint64_t index) { return static_cast<std::uint32_t>(100 + index); }
}  // namespace

CStoreModel& RootModel() {
  static CStoreModel model(kRootGuid, u"TestData", SM_INHERIT);
  return model;
}
CStoreModel& SettingsModel() {
  static CStoreModel model(kSettingsGuid, u"Settings", SM_READ | SM_WRITE | SM_MONITORED);
  return model;
}
CValueModelT<bool>& EnabledModel() {
  static CValueModelT<bool> model(kEnabledGuid, u"Enabled", true);
  return model;
}
CValueModelT<std::uint32_t>& LevelModel() {
  static CValueModelT<std::uint32_t> model(kLevelGuid, u"Level", 5u, 1u, 10u);
  return model;
}
CValueModelT<WideString>& TitleModel() {
  static CValueModelT<WideString> model(kTitleGuid, u"Title", u"Halcyra");
  return model;
}
CValueModelT<Common::GUID>& IdModel() {
  static CValueModelT<Common::GUID> model(kIdGuid, u"Id", kDefaultId);
  return model;
}
CStoreModel& InnerModel() {
  static CStoreModel model(kInnerGuid, u"Inner", SM_INHERIT);
  return model;
}
CValueModelT<std::uint32_t>& CountModel() {
  static CValueModelT<std::uint32_t> model(kCountGuid, u"Count", 0u);
  return model;
}
CStoreModel& ProfileModel() {
  static CStoreModel model(kProfileGuid, u"Profile", SM_INHERIT);
  return model;
}
CValueModelT<bool>& StateModel() {
  static CValueModelT<bool> model(kStateGuid, u"bState", false);
  return model;
}
CValueModelT<WideString>& ExeNameModel() {
  static CValueModelT<WideString> model(kExeNameGuid, u"szExeName", u"");
  return model;
}
CValueModelT<std::uint32_t>& WeightModel() {
  static CValueModelT<std::uint32_t> model(kWeightGuid, u"Weight", 0u);
  return model;
}
CValueModelT<std::uint32_t>& TagModel() {
  static CValueModelT<std::uint32_t> model(kTagGuid, u"Tag", &HundredPlusIndex);
  return model;
}
CStoreModel& ArchiveModel() {
  static CStoreModel model(kArchiveGuid, u"Archive", SM_READ | SM_WRITE);
  return model;
}
CValueModelT<std::uint32_t>& PlainModel() {
  static CValueModelT<std::uint32_t> model(kPlainGuid, u"Plain", 7u);
  return model;
}
CValueModelT<std::uint32_t>& LongModel() {
  static CValueModelT<std::uint32_t> model(kLongGuid, kLongName, 1u);
  return model;
}
CStoreModel& WatchedModel() {
  static CStoreModel model(kWatchedGuid, u"Watched", SM_READ | SM_WRITE | SM_MONITORED);
  return model;
}
CValueModelT<std::uint32_t>& WatchedValueModel() {
  static CValueModelT<std::uint32_t> model(kWatchedValueGuid, u"Value", 0u);
  return model;
}

ErrorCode OpenTestDataSystem(StorageSystem::IStore* storage, std::uint32_t flags, IDataSystem** result,
                             StorageSystem::IReleaseHandler* handler) {
  return CDataSystem::Open(new (std::nothrow) CTestDataSystem(flags, storage, handler), result);
}

}  // namespace Testing::Schema
