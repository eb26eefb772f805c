#include "audio_service/halcyra_daemon_module.h"

#include <gtest/gtest.h>

#include "tests/module_host/test_modules.h"

namespace {

class HalcyraDaemonModuleTest : public ::testing::Test {
protected:
  HalcyraDaemonModuleTest() { module.SetManager(&manager); }

  Testing::RecordingManager manager;
  CHalcyraDaemonModule module;
};

TEST_F(HalcyraDaemonModuleTest, TwoStartsAndOneStopLeaveItRunning) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  module.Stop(&manager);
  EXPECT_TRUE(module.IsStarted());
  EXPECT_EQ(module.GetState(), 2);
}

TEST_F(HalcyraDaemonModuleTest, StopThenStartRunsTheSequenceAgain) {
  ASSERT_EQ(module.Init(&manager), ErrorNone);
  ASSERT_EQ(module.Start(&manager), ErrorNone);
  module.Stop(&manager);
  EXPECT_FALSE(module.IsStarted());
  EXPECT_EQ(module.Start(&manager), ErrorNone);
  EXPECT_TRUE(module.IsStarted());
}

TEST_F(HalcyraDaemonModuleTest, OnStartAndOnStopGuardAgainstRepetition) {
  EXPECT_EQ(module.OnStart(), ErrorNone);
  EXPECT_EQ(module.OnStart(), ErrorNone);
  EXPECT_TRUE(module.IsStarted());
  module.OnStop();
  module.OnStop();
  EXPECT_FALSE(module.IsStarted());
}

TEST_F(HalcyraDaemonModuleTest, ExtensionOneIsTheModulesEventListener) {
  EXPECT_EQ(module.GetExtension(1), static_cast<Daemon::IModuleEventListener*>(&module));
}

TEST_F(HalcyraDaemonModuleTest, NamesAndIdentityAreHalcyras) {
  EXPECT_EQ(std::u16string(module.GetName()), u"Halcyra");
  EXPECT_EQ(std::u16string(module.GetDisplayName()), u"Halcyra");
  EXPECT_EQ(module.GetInterface(&Daemon::IID_IModule), static_cast<Daemon::IModule*>(&module));
}

}  // namespace
