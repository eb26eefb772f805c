// The daemon's interfaces called by slot number, as the daemon built by Microsoft's compiler calls
// them, and the daemon's manager given as a bare table of functions in that layout.
#include <gtest/gtest.h>

#include <cstdint>

#include "module_host/dynamic_module.h"
#include "module_host/listening_module.h"
#include "tests/module_host/test_modules.h"
#include "tests/support/call_slot.h"

namespace {

using Testing::CallSlot;
using Testing::RecordingManager;
using Testing::StrangerCaller;
using Testing::TestModule;

constexpr Common::GUID kDependencyId = Common::GuidLiteral("00000001-0000-0000-0000-000000000000");

TEST(BoundarySlotsTest, ModuleOperationsSitAtSlotsOneToTen) {
  TestModule module(u"Main");
  RecordingManager manager;
  manager.observed = &module;
  StrangerCaller caller;
  Daemon::IModule* object = &module;
  EXPECT_EQ(CallSlot<void*>(object, 1, &Daemon::IID_IModule), static_cast<void*>(object));
  CallSlot<void>(object, 2, static_cast<Daemon::IDaemonManager*>(&manager));
  EXPECT_EQ(std::u16string(CallSlot<const char16_t*>(object, 3)), u"Main");
  EXPECT_EQ(std::u16string(CallSlot<const char16_t*>(object, 4)), u"Main");
  EXPECT_EQ(CallSlot<std::int32_t>(object, 5), 0);
  EXPECT_EQ(CallSlot<ErrorCode>(object, 6, static_cast<Common::IExtensible*>(&caller)), ErrorNone);
  EXPECT_EQ(CallSlot<ErrorCode>(object, 8, static_cast<Common::IExtensible*>(&caller)), ErrorNone);
  EXPECT_EQ(module.GetState(), 2);
  CallSlot<void>(object, 9, static_cast<Common::IExtensible*>(&caller));
  EXPECT_EQ(module.GetState(), 1);
  CallSlot<void>(object, 7, static_cast<Common::IExtensible*>(&caller));
  EXPECT_EQ(module.GetState(), 0);
  EXPECT_EQ(CallSlot<std::int32_t>(object, 10), 0);
  EXPECT_EQ(manager.statesSeen, (std::vector<std::int32_t>{0, 2, 1, 0}));
}

TEST(BoundarySlotsTest, HandleGivesItsVersionAtSlotOneAndItsModuleAtSlotTwo) {
  TestModule module(u"Main");
  DynamicModuleHost::CDynamicModule handle(&module);
  DynamicModuleHost::IDynamicModule* object = &handle;
  EXPECT_EQ(CallSlot<std::uint32_t>(object, 1), 0x01010000u);
  EXPECT_EQ(CallSlot<Daemon::IModule*>(object, 2), &module);
}

TEST(BoundarySlotsTest, ExtensionProviderAndEventListenerOperateAtSlotOne) {
  TestModule module(u"Main");
  Daemon::IExtensionProvider* provider = &module;
  void* listener = CallSlot<void*>(provider, 1, std::int32_t{1});
  EXPECT_EQ(listener, static_cast<Daemon::IModuleEventListener*>(&module));
  const Daemon::ModuleEvent start{Daemon::AListeningModule::kEventStart};
  EXPECT_EQ(CallSlot<ErrorCode>(listener, 1, &start), ErrorNone);
  EXPECT_EQ(module.GetState(), 2);
}

// The daemon's manager as the daemon's compiler lays it out: a table of plain functions that take
// the object first, behind the object's first word.
struct TableManager {
  const void* const* slots = kSlots;
  Daemon::IModule* dependency = nullptr;
  Common::GUID soughtId;
  int findCalls = 0;
  int stateChanges = 0;
  int managerQueries = 0;

  static void* ScalarDeletingDestructor(TableManager* self, std::uint32_t) { return self; }
  static void* GetInterface(TableManager* self, const Common::GUID* iid) {
    if (*iid != Daemon::IID_IDaemonManager) return nullptr;
    ++self->managerQueries;
    return self;
  }
  static Daemon::IModule* FindModule(TableManager* self, const Common::GUID* clsid) {
    ++self->findCalls;
    self->soughtId = *clsid;
    return self->dependency;
  }
  static void Unused3(TableManager*) { ADD_FAILURE() << "slot 3 belongs to the daemon"; }
  static void OnModuleStateChanged(TableManager* self) { ++self->stateChanges; }

  static const void* const kSlots[5];
};

const void* const TableManager::kSlots[5] = {
    reinterpret_cast<const void*>(&ScalarDeletingDestructor), reinterpret_cast<const void*>(&GetInterface),
    reinterpret_cast<const void*>(&FindModule), reinterpret_cast<const void*>(&Unused3),
    reinterpret_cast<const void*>(&OnModuleStateChanged)};

TEST(BoundarySlotsTest, ModuleFindsDependenciesAtSlotTwoOfTheManagerAndReportsStatesAtSlotFour) {
  TestModule dependency(u"Dep");
  TableManager table;
  table.dependency = &dependency;
  auto* manager = reinterpret_cast<Daemon::IDaemonManager*>(&table);
  TestModule module(u"Main");
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kDependencyId, Common::GUID(), nullptr, 0), ErrorNone);
  };
  module.SetManager(manager);
  ASSERT_EQ(module.Init(manager), ErrorNone);
  EXPECT_EQ(table.managerQueries, 1);
  EXPECT_EQ(table.findCalls, 1);
  EXPECT_EQ(table.soughtId, kDependencyId);
  EXPECT_EQ(table.stateChanges, 1);
  EXPECT_EQ(dependency.GetState(), 1);
  ASSERT_EQ(module.Start(manager), ErrorNone);
  module.Stop(manager);
  module.Uninit(manager);
  EXPECT_EQ(table.stateChanges, 4);
  EXPECT_EQ(dependency.GetState(), 0);
}

// Counts its destructions in a counter that outlives it.
class CountedModule final : public TestModule {
public:
  explicit CountedModule(int* destroyed) : TestModule(u"Counted"), m_destroyed(destroyed) {}
  ~CountedModule() override { ++*m_destroyed; }

private:
  int* m_destroyed;
};

TEST(BoundarySlotsTest, SlotZeroOfEveryInterfaceOfAModuleDestroysTheWholeModule) {
  int destroyed = 0;
  CallSlot<void*>(static_cast<Daemon::IModule*>(new CountedModule(&destroyed)), 0, Common::kDeleteMemory);
  EXPECT_EQ(destroyed, 1);
  CallSlot<void*>(static_cast<Daemon::IExtensionProvider*>(new CountedModule(&destroyed)), 0, Common::kDeleteMemory);
  EXPECT_EQ(destroyed, 2);
  CallSlot<void*>(static_cast<Daemon::IModuleEventListener*>(new CountedModule(&destroyed)), 0, Common::kDeleteMemory);
  EXPECT_EQ(destroyed, 3);
}

}  // namespace
