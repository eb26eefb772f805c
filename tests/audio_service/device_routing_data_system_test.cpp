// The routing schema: its tree, its ids and its place in a storage system.
#include "audio_service/device_routing_data_system.h"

#include <gtest/gtest.h>

#include "data_system/access_flags.h"
#include "data_system/interface_ids.h"
#include "platform/registry.h"
#include "storage_system/heap_allocator.h"
#include "storage_system/registry/storage_system.h"
#include "tests/support/debug_channel_capture.h"

namespace Testing {
namespace {

using namespace DataSystem;
using namespace DeviceRouting;

constexpr const char16_t* kRoutingTestKey = u"Software\\HalcyraTests\\Routing";

class DeviceRoutingDataSystemTest : public ::testing::Test {
protected:
  DeviceRoutingDataSystemTest() { Platform::RegDeleteTreeW(Platform::HKEY_CURRENT_USER, kRoutingTestKey); }
  void SetUp() override {
    const StorageSystem::Registry::StorageSystemParameters parameters = {Platform::HKEY_CURRENT_USER,
                                                                         kRoutingTestKey,
                                                                         Platform::KEY_WOW64_64KEY,
                                                                         nullptr,
                                                                         StorageSystem::GetProcessAllocator(),
                                                                         0};
    ASSERT_EQ(StorageSystem::Registry::OpenStorageSystem(
                  parameters, &storage, AccessFromFlags(&DeviceRoutingDataSystemModel(), 0), nullptr, false),
              ErrorNone);
  }
  ~DeviceRoutingDataSystemTest() override {
    if (storage != nullptr) storage->Release();
    Platform::RegDeleteTreeW(Platform::HKEY_CURRENT_USER, kRoutingTestKey);
  }
  IDataSystem* Build() {
    IDataSystem* dataSystem = nullptr;
    EXPECT_EQ(BuildDeviceRoutingDataSystem(storage, &dataSystem, 0, nullptr), ErrorNone) << capture.Text();
    return dataSystem;
  }

  DebugChannelCapture capture;
  StorageSystem::IStorageSystem* storage = nullptr;
};

TEST_F(DeviceRoutingDataSystemTest, BuildsTheTreeBelowTheRootModelsGuidWithEveryDefault) {
  IDataSystem* dataSystem = Build();
  ASSERT_NE(dataSystem, nullptr);
  IItem* routing = nullptr;
  ASSERT_EQ(dataSystem->GetItem(u"Profiles.bVacRoutingState", &routing), ErrorNone);
  EXPECT_EQ(*static_cast<IValueT<bool>*>(routing->GetInterface(&IID_IValueBool))->Get(), false);
  Platform::DWORD stored = 7, size = sizeof stored;
  EXPECT_EQ(
      Platform::RegGetValueW(Platform::HKEY_CURRENT_USER,
                             u"Software\\HalcyraTests\\Routing\\{A7FAF9D6-CD2F-4B99-89C3-5B8CF5451651}\\"
                             u"{2D892500-1F2C-4141-B46B-2A6BD660E61D}",
                             u"{E3C373EE-ABAB-4D5F-81E3-FC4607FD963A}", Platform::RRF_RT_ANY, nullptr, &stored, &size),
      Platform::ERROR_SUCCESS);
  EXPECT_EQ(stored & 0xFF, 0u);
  EXPECT_EQ(dataSystem->GetFlags(), 0u);
  dataSystem->Release();
}

TEST_F(DeviceRoutingDataSystemTest, TwoDataSystemObjectsInOneProcessShareTheModels) {
  IDataSystem* first = Build();
  IDataSystem* second = Build();
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(first, second);
  IItem* a = nullptr;
  IItem* b = nullptr;
  ASSERT_EQ(first->GetItem(u"Profiles.nVaclatency", &a), ErrorNone);
  ASSERT_EQ(second->GetItem(u"Profiles.nVaclatency", &b), ErrorNone);
  EXPECT_NE(a, b);
  EXPECT_EQ(a->GetModel(), b->GetModel());
  EXPECT_EQ(first->GetModel(), second->GetModel());
  second->Release();
  first->Release();
}

TEST_F(DeviceRoutingDataSystemTest, RoutingStateAndAppRoutingStateCompareEqualByModelId) {
  EXPECT_EQ(*VacRoutingStateModel().GetGuid(), *VacAppRoutingStateModel().GetGuid());
  EXPECT_EQ(*VacMicRoutingStateModel().GetGuid(), *PidModel().GetGuid());
  EXPECT_NE(&VacRoutingStateModel(), &VacAppRoutingStateModel());
}

// Collects the model names of enumerated items.
class NameCollector : public IItemEnumTarget {
public:
  ErrorCode OnEnumeratedItem(IItem* item, bool*) override {
    std::string name;
    for (const char16_t* c = item->GetModelName(); *c != 0; ++c) name += static_cast<char>(*c);
    names.push_back(name);
    return ErrorNone;
  }
  std::vector<std::string> names;
};

TEST_F(DeviceRoutingDataSystemTest, AProfileMadeByTheFactoryHoldsElevenValuesWithIdFirst) {
  IDataSystem* dataSystem = Build();
  ASSERT_NE(dataSystem, nullptr);
  IItem* profiles = nullptr;
  ASSERT_EQ(dataSystem->GetItem(u"Profiles", &profiles), ErrorNone);
  IItem* profile = nullptr;
  ASSERT_EQ(static_cast<IStore*>(profiles->GetInterface(&IID_IStore))->InsertDefaultItem(u"Profile", &profile),
            ErrorNone);
  NameCollector collector;
  ItemEnumFilter filter{0, nullptr, nullptr};
  ASSERT_EQ(static_cast<IStore*>(profile->GetInterface(&IID_IStore))->EnumItems(&collector, &filter), ErrorNone);
  EXPECT_EQ(collector.names,
            (std::vector<std::string>{"ID", "szExeName", "szExeFullPath", "szDisplayName", "bState", "szMMDeviceId",
                                      "szPckgPath", "bIsCreated", "nPid", "bVacAppRoutingState", "bVacAppIsHooked"}));
  EXPECT_EQ(profile->GetModel(), static_cast<IModel*>(&ProfileModel()));
  dataSystem->Release();
}

TEST_F(DeviceRoutingDataSystemTest, PidAcceptsTheFullRangeOf32Bits) {
  IDataSystem* dataSystem = Build();
  ASSERT_NE(dataSystem, nullptr);
  IItem* profiles = nullptr;
  ASSERT_EQ(dataSystem->GetItem(u"Profiles", &profiles), ErrorNone);
  IItem* item = nullptr;
  ASSERT_EQ(static_cast<IStore*>(profiles->GetInterface(&IID_IStore))->InsertDefaultItem(u"Profile", &item), ErrorNone);
  IItem* pidItem = nullptr;
  ASSERT_EQ(dataSystem->GetItem(u"Profiles.Profile[0].nPid", &pidItem), ErrorNone);
  auto* pid = static_cast<IValueT<std::uint32_t>*>(pidItem->GetInterface(&IID_IValueUInt));
  const std::uint32_t highest = 0xFFFFFFFFu;
  ASSERT_EQ(pid->Set(&highest), ErrorNone);
  EXPECT_EQ(*pid->Get(), highest);
  EXPECT_EQ(*pid->GetMaximum(), highest);
  dataSystem->Release();
}

TEST_F(DeviceRoutingDataSystemTest, TheProfilesStoreHasItsValuesInOrderAndThenTheVector) {
  IDataSystem* dataSystem = Build();
  ASSERT_NE(dataSystem, nullptr);
  IItem* profiles = nullptr;
  ASSERT_EQ(dataSystem->GetItem(u"Profiles", &profiles), ErrorNone);
  NameCollector collector;
  ItemEnumFilter filter{0, nullptr, nullptr};
  ASSERT_EQ(static_cast<IStore*>(profiles->GetInterface(&IID_IStore))->EnumItems(&collector, &filter), ErrorNone);
  EXPECT_EQ(collector.names, (std::vector<std::string>{"bGlobalState", "bIsActivated", "bVacRoutingState",
                                                       "bVacMicRoutingState", "szVacMicMMDeviceId", "bVacLoopbackState",
                                                       "szVacLoopbackMMDeviceId", "nVaclatency"}));
  EXPECT_EQ(static_cast<IStore*>(profiles->GetInterface(&IID_IStore))->GetItemCount(ProfileModel().GetGuid()), 0u);
  dataSystem->Release();
}

}  // namespace
}  // namespace Testing
