#include "module_host/module_base.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/log.h"
#include "tests/module_host/test_modules.h"
#include "tests/support/debug_channel_capture.h"

namespace {

using Testing::RecordingManager;
using Testing::TestModule;

constexpr Common::GUID kFirstId = Common::GuidLiteral("00000001-0000-0000-0000-000000000000");
constexpr Common::GUID kSecondId = Common::GuidLiteral("00000002-0000-0000-0000-000000000000");
constexpr Common::GUID kThirdId = Common::GuidLiteral("00000003-0000-0000-0000-000000000000");
constexpr Common::GUID kWantedInterface = Common::GuidLiteral("0000000A-0000-0000-0000-000000000000");

class ModuleBaseTest : public ::testing::Test {
protected:
  ModuleBaseTest() {
    module.SetManager(&manager);
    manager.observed = &module;
  }

  RecordingManager manager;
  std::vector<std::string> journal;
  TestModule module{u"Main", &journal};
};

TEST_F(ModuleBaseTest, TwoInitsAndOneUninitLeaveTheModuleInitialized) {
  EXPECT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_EQ(module.Init(&manager), ErrorNone);
  module.Uninit(&manager);
  EXPECT_EQ(module.GetState(), 1);
  EXPECT_EQ(manager.statesSeen.size(), 1u);
}

TEST_F(ModuleBaseTest, StartStartStopRunsOnStartOnceAndOnStopNever) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  module.Stop(&manager);
  EXPECT_EQ(module.startRuns, 1);
  EXPECT_EQ(module.stopRuns, 0);
  EXPECT_EQ(module.GetState(), 2);
}

TEST_F(ModuleBaseTest, SecondStartNeverCallsTheDependenciesAgain) {
  TestModule dependency(u"Dep", &journal);
  manager.modules = {{kFirstId, &dependency}};
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, Common::GUID(), nullptr, 0), ErrorNone);
  };
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  ASSERT_EQ(module.Start(&manager), ErrorNone);
  journal.clear();
  ASSERT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(journal, std::vector<std::string>{"Start Main"});
}

TEST_F(ModuleBaseTest, ManagerSeesTheNewStateExceptAtTheFirstInit) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  ASSERT_EQ(module.Start(&manager), ErrorNone);
  module.Stop(&manager);
  module.Uninit(&manager);
  EXPECT_EQ(manager.statesSeen, (std::vector<std::int32_t>{0, 2, 1, 0}));
}

TEST_F(ModuleBaseTest, EventFiveThenADaemonStartThenOneStopStaysStarted) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  Daemon::ModuleEvent start{Daemon::AListeningModule::kEventStart};
  EXPECT_EQ(module.HandleEvent(&start), ErrorNone);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  module.Stop(&manager);
  EXPECT_EQ(module.GetState(), 2);
  EXPECT_EQ(module.startRuns, 1);
}

TEST_F(ModuleBaseTest, EventSixStopsAndOtherEventsAreIgnored) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  Daemon::ModuleEvent start{5}, stop{6}, other{42};
  ASSERT_EQ(module.HandleEvent(&start), ErrorNone);
  EXPECT_EQ(module.HandleEvent(&other), ErrorNone);
  EXPECT_EQ(module.GetState(), 2);
  EXPECT_EQ(module.HandleEvent(&stop), ErrorNone);
  EXPECT_EQ(module.GetState(), 1);
  EXPECT_EQ(module.stopRuns, 1);
}

TEST_F(ModuleBaseTest, ThirdDependencyFailingToStartStopsOnlyTheFirst) {
  TestModule first(u"First", &journal), second(u"Second", &journal), third(u"Third", &journal);
  third.failStart = ErrorGeneric;
  manager.modules = {{kFirstId, &first}, {kSecondId, &second}, {kThirdId, &third}};
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    for (const Common::GUID& id : {kFirstId, kSecondId, kThirdId}) {
      ASSERT_EQ(target.RegisterDependency(id, Common::GUID(), nullptr, 0), ErrorNone);
    }
  };
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  journal.clear();
  EXPECT_EQ(module.Start(&manager), ErrorGeneric);
  EXPECT_EQ(journal,
            (std::vector<std::string>{"Start Main", "Start First", "Start Second", "Start Third", "Stop First"}));
  EXPECT_EQ(second.GetState(), 2);
  EXPECT_EQ(first.GetState(), 1);
  EXPECT_EQ(module.GetState(), 1);
  EXPECT_EQ(module.startRuns, 0);
}

TEST_F(ModuleBaseTest, FailedOnStartStopsEveryDependencyAndNotifiesNothing) {
  TestModule first(u"First", &journal), second(u"Second", &journal);
  manager.modules = {{kFirstId, &first}, {kSecondId, &second}};
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, Common::GUID(), nullptr, 0), ErrorNone);
    ASSERT_EQ(target.RegisterDependency(kSecondId, Common::GUID(), nullptr, 0), ErrorNone);
  };
  module.startResult = ErrorCannotOpen;
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  const std::size_t changesBefore = manager.statesSeen.size();
  EXPECT_EQ(module.Start(&manager), ErrorCannotOpen);
  EXPECT_EQ(first.GetState(), 1);
  EXPECT_EQ(second.GetState(), 1);
  EXPECT_EQ(module.GetState(), 1);
  EXPECT_EQ(manager.statesSeen.size(), changesBefore);
}

TEST_F(ModuleBaseTest, StopWithoutStartTakesTheCountBelowZeroAndTheNextStartOnlyCounts) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  module.Stop(&manager);
  EXPECT_EQ(module.stopRuns, 0);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(module.startRuns, 0);
  EXPECT_EQ(module.GetState(), 1);
}

TEST_F(ModuleBaseTest, TraceOfAStrangerEndsWithUnknownObjectAndItsAddress) {
  Testing::DebugChannelCapture capture;
  LogSetLevel(LogLevelTrace);
  Testing::StrangerCaller stranger;
  ASSERT_EQ(module.Start(&stranger), ErrorNone);
  LogSetLevel(2);
  ASSERT_EQ(capture.Writes().size(), 1u);
  const std::string line = capture.Writes()[0];
  char address[32];
  std::snprintf(
      address, sizeof(address), "%016llX",
      static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(static_cast<Common::IExtensible*>(&stranger))));
  EXPECT_NE(line.find(": Start request on module Main (0x"), std::string::npos) << line;
  const std::string ending = std::string("from unknown object (0x") + address + ")\n";
  ASSERT_GE(line.size(), ending.size());
  EXPECT_EQ(line.substr(line.size() - ending.size()), ending);
}

TEST_F(ModuleBaseTest, TraceNamesTheManagerAndModulesByName) {
  Testing::DebugChannelCapture capture;
  LogSetLevel(LogLevelTrace);
  TestModule other(u"Other");
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  ASSERT_EQ(module.Start(&other), ErrorNone);
  LogSetLevel(2);
  auto writes = capture.Writes();
  ASSERT_EQ(writes.size(), 2u);
  EXPECT_NE(writes[0].find("Init request on module Main"), std::string::npos);
  EXPECT_NE(writes[0].find("from daemon manager (0x"), std::string::npos);
  EXPECT_NE(writes[1].find("from Other (0x"), std::string::npos);
}

TEST_F(ModuleBaseTest, ModuleWithoutDependenciesLoadsThemAtOnce) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_TRUE(module.Flags() & Daemon::AModule::kDependenciesLoaded);
  EXPECT_FALSE(module.Flags() & Daemon::AModule::kLoadingDependencies);
  EXPECT_TRUE(module.Dependencies().empty());
}

TEST_F(ModuleBaseTest, DependencyWithoutSlotKeepsAZeroInterfaceAndIsNeverAsked) {
  TestModule dependency(u"Dep");
  manager.modules = {{kFirstId, &dependency}};
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, kWantedInterface, nullptr, 0), ErrorNone);
  };
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  ASSERT_EQ(module.Dependencies().size(), 1u);
  EXPECT_TRUE(module.Dependencies()[0].interfaceId.IsNull());
  EXPECT_EQ(module.Dependencies()[0].interfaceSlot, nullptr);
}

TEST_F(ModuleBaseTest, UninitWalksTheDependenciesInExactReverse) {
  TestModule first(u"First", &journal), second(u"Second", &journal), third(u"Third", &journal);
  manager.modules = {{kFirstId, &first}, {kSecondId, &second}, {kThirdId, &third}};
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    for (const Common::GUID& id : {kFirstId, kSecondId, kThirdId}) {
      ASSERT_EQ(target.RegisterDependency(id, Common::GUID(), nullptr, 0), ErrorNone);
    }
  };
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_EQ(journal, (std::vector<std::string>{"Init Main", "Init First", "Init Second", "Init Third"}));
  journal.clear();
  module.Uninit(&manager);
  EXPECT_EQ(journal, (std::vector<std::string>{"Uninit Main", "Uninit Third", "Uninit Second", "Uninit First"}));
}

TEST_F(ModuleBaseTest, MissingOptionalDependencyLeavesNoRecordAndKeepsTheOrder) {
  Testing::DebugChannelCapture capture;
  TestModule first(u"First"), third(u"Third");
  manager.modules = {{kFirstId, &first}, {kThirdId, &third}};
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, Common::GUID(), nullptr, 0), ErrorNone);
    ASSERT_EQ(target.RegisterDependency(kSecondId, Common::GUID(), nullptr, Daemon::kDependencyOptional), ErrorNone);
    ASSERT_EQ(target.RegisterDependency(kThirdId, Common::GUID(), nullptr, 0), ErrorNone);
  };
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  ASSERT_EQ(module.Dependencies().size(), 2u);
  EXPECT_EQ(module.Dependencies()[0].module, &first);
  EXPECT_EQ(module.Dependencies()[1].module, &third);
  EXPECT_TRUE(capture.Writes().empty());  // level 3 stays hidden at the default level
}

TEST_F(ModuleBaseTest, MissingRequiredDependencyFailsInitAndLeavesTheModuleAsBefore) {
  Testing::DebugChannelCapture capture;
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kSecondId, Common::GUID(), nullptr, 0), ErrorNone);
  };
  EXPECT_EQ(module.Init(&manager), ErrorNotFound);
  EXPECT_EQ(module.GetState(), 0);
  EXPECT_FALSE(module.Flags() & Daemon::AModule::kDependenciesLoaded);
  EXPECT_EQ(capture.Writes().at(0),
            "Error 14 in function Daemon::AModule::LoadDependencies: Module Main requires dependent module "
            "{00000002-0000-0000-0000-000000000000}, which was not found in the daemon. Update your daemon module "
            "list accordingly.\n");
}

TEST_F(ModuleBaseTest, RequiredInterfaceIsFetchedIntoItsSlotAndClearedByUninit) {
  TestModule dependency(u"Dep");
  manager.modules = {{kFirstId, &dependency}};
  void* slot = nullptr;
  module.declare = [&slot](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, Daemon::IID_IModule, &slot, 0), ErrorNone);
  };
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_EQ(slot, static_cast<Daemon::IModule*>(&dependency));
  module.Uninit(&manager);
  EXPECT_EQ(slot, nullptr);
}

TEST_F(ModuleBaseTest, MissingRequiredInterfaceUninitializesAllAndFails) {
  Testing::DebugChannelCapture capture;
  TestModule dependency(u"Dep");
  manager.modules = {{kFirstId, &dependency}};
  void* slot = nullptr;
  module.declare = [&slot](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, kWantedInterface, &slot, 0), ErrorNone);
  };
  EXPECT_EQ(module.Init(&manager), ErrorNotFound);
  EXPECT_EQ(dependency.GetState(), 0);
  EXPECT_EQ(capture.Writes().at(0),
            "Error 14 in function Daemon::AModule::InitDependencies: Module Main requires interface "
            "{0000000A-0000-0000-0000-000000000000}, which was not found in daemon module Dep.\n");
}

TEST_F(ModuleBaseTest, OptionalDependencyFailingInitIsDroppedAndTheLastIsInitializedOnceMore) {
  Testing::DebugChannelCapture capture;
  LogSetLevel(LogLevelInfo);
  TestModule first(u"First", &journal), optional(u"Optional", &journal), third(u"Third", &journal);
  optional.initResult = ErrorGeneric;
  manager.modules = {{kFirstId, &first}, {kSecondId, &optional}, {kThirdId, &third}};
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, Common::GUID(), nullptr, 0), ErrorNone);
    ASSERT_EQ(target.RegisterDependency(kSecondId, Common::GUID(), nullptr, Daemon::kDependencyOptional), ErrorNone);
    ASSERT_EQ(target.RegisterDependency(kThirdId, Common::GUID(), nullptr, 0), ErrorNone);
  };
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  LogSetLevel(LogLevelWarning);
  // The walk keeps its end of three slots; after the erase the last slot still holds Third.
  EXPECT_EQ(journal,
            (std::vector<std::string>{"Init Main", "Init First", "Init Optional", "Init Third", "Init Third"}));
  ASSERT_EQ(module.Dependencies().size(), 2u);
  EXPECT_EQ(module.Dependencies()[0].module, &first);
  EXPECT_EQ(module.Dependencies()[1].module, &third);
  EXPECT_TRUE(capture.Writes().empty()) << "a dropped record leaves no line, not even at level 3";
  EXPECT_EQ(module.GetState(), 1);

  journal.clear();
  module.Uninit(&manager);
  EXPECT_EQ(journal, (std::vector<std::string>{"Uninit Main", "Uninit Third", "Uninit First"}));
  EXPECT_EQ(first.GetState(), 0);
  EXPECT_EQ(third.GetState(), 1) << "Third was initialized twice and uninitialized once";
  EXPECT_EQ(optional.GetState(), 0);
}

TEST_F(ModuleBaseTest, FourthRequiredDependencyFailingInitUninitializesAllButTheThird) {
  Testing::DebugChannelCapture capture;
  LogSetLevel(LogLevelInfo);
  constexpr Common::GUID kFourthId = Common::GuidLiteral("00000004-0000-0000-0000-000000000000");
  TestModule first(u"First", &journal), second(u"Second", &journal), third(u"Third", &journal),
      fourth(u"Fourth", &journal);
  fourth.initResult = ErrorCannotOpen;
  manager.modules = {{kFirstId, &first}, {kSecondId, &second}, {kThirdId, &third}, {kFourthId, &fourth}};
  module.declare = [&](Daemon::DependencyEnumTarget& target) {
    for (const Common::GUID& id : {kFirstId, kSecondId, kThirdId, kFourthId}) {
      ASSERT_EQ(target.RegisterDependency(id, Common::GUID(), nullptr, 0), ErrorNone);
    }
  };
  EXPECT_EQ(module.Init(&manager), ErrorCannotOpen);
  LogSetLevel(LogLevelWarning);
  // The walk back begins two below the failed position: Third keeps its Init.
  EXPECT_EQ(journal, (std::vector<std::string>{"Init Main", "Init First", "Init Second", "Init Third", "Init Fourth",
                                               "Uninit Second", "Uninit First"}));
  EXPECT_EQ(first.GetState(), 0);
  EXPECT_EQ(second.GetState(), 0);
  EXPECT_EQ(third.GetState(), 1);
  EXPECT_EQ(fourth.GetState(), 0);
  EXPECT_EQ(module.GetState(), 0);
  EXPECT_TRUE(module.Dependencies().empty());
  EXPECT_FALSE(module.Flags() & Daemon::AModule::kDependenciesLoaded);
  EXPECT_FALSE(module.Flags() & Daemon::AModule::kLoadingDependencies);
  EXPECT_TRUE(manager.statesSeen.empty());
  EXPECT_TRUE(capture.Writes().empty()) << "the failing dependency's code passes on without a line of its own";
}

TEST_F(ModuleBaseTest, SecondRequiredDependencyFailingInitUninitializesNothing) {
  TestModule first(u"First", &journal), second(u"Second", &journal);
  second.initResult = ErrorGeneric;
  manager.modules = {{kFirstId, &first}, {kSecondId, &second}};
  module.declare = [](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, Common::GUID(), nullptr, 0), ErrorNone);
    ASSERT_EQ(target.RegisterDependency(kSecondId, Common::GUID(), nullptr, 0), ErrorNone);
  };
  EXPECT_EQ(module.Init(&manager), ErrorGeneric);
  EXPECT_EQ(journal, (std::vector<std::string>{"Init Main", "Init First", "Init Second"}));
  EXPECT_EQ(first.GetState(), 1);
  EXPECT_TRUE(module.Dependencies().empty());
  // The next Init begins afresh and initializes First a second time.
  second.initResult = ErrorNone;
  journal.clear();
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_EQ(journal, (std::vector<std::string>{"Init Main", "Init First", "Init Second"}));
  EXPECT_EQ(module.Dependencies().size(), 2u);
}

TEST_F(ModuleBaseTest, MissingOptionalInterfaceIsLoggedAtLevel3AndTheDependencyStays) {
  Testing::DebugChannelCapture capture;
  TestModule dependency(u"Dep", &journal);
  manager.modules = {{kFirstId, &dependency}};
  int sentinel = 0;
  void* slot = &sentinel;
  module.declare = [&slot](Daemon::DependencyEnumTarget& target) {
    ASSERT_EQ(target.RegisterDependency(kFirstId, kWantedInterface, &slot, Daemon::kDependencyOptional), ErrorNone);
  };
  LogSetLevel(LogLevelInfo);
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  LogSetLevel(LogLevelWarning);
  EXPECT_EQ(capture.Writes(), (std::vector<std::string>{"Optional interface {0000000A-0000-0000-0000-000000000000} not "
                                                        "found in daemon module Dep for module Main.\n"}));
  EXPECT_EQ(slot, nullptr);
  ASSERT_EQ(module.Dependencies().size(), 1u);
  EXPECT_EQ(module.Dependencies()[0].module, &dependency);
  EXPECT_EQ(dependency.GetState(), 1);
  EXPECT_EQ(journal, (std::vector<std::string>{"Init Main", "Init Dep"}));
  // At the default level the line stays hidden.
  capture.Clear();
  module.Uninit(&manager);
  slot = &sentinel;
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_TRUE(capture.Writes().empty());
  EXPECT_EQ(slot, nullptr);
}

TEST_F(ModuleBaseTest, UnknownExtensionCodeIsReportedAndKnownCodesAreQuiet) {
  Testing::DebugChannelCapture capture;
  EXPECT_EQ(module.GetExtension(2), nullptr);
  EXPECT_EQ(module.GetExtension(3), nullptr);
  EXPECT_EQ(module.GetExtension(4), nullptr);
  EXPECT_TRUE(capture.Writes().empty());
  EXPECT_EQ(module.GetExtension(7), nullptr);
  EXPECT_EQ(capture.Writes().at(0),
            "Error 11 in function Daemon::AModule::GetExtension: Asking for unknown extension 7\n");
  EXPECT_EQ(module.GetExtension(1), static_cast<Daemon::IModuleEventListener*>(&module));
}

TEST_F(ModuleBaseTest, ModuleAnswersForItsIdentity) {
  EXPECT_EQ(module.GetInterface(&Daemon::IID_IModule), static_cast<Daemon::IModule*>(&module));
  EXPECT_EQ(module.GetInterface(&Common::IID_IExtensible), static_cast<Common::IExtensible*>(&module));
}

}  // namespace
