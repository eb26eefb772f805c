#include "module_host/dynamic_module.h"

#include <gtest/gtest.h>

#include "tests/module_host/test_modules.h"

namespace {

TEST(DynamicModuleTest, ManagerGivesOneHandlePerModule) {
  Testing::TestModule first(u"First"), second(u"Second");
  auto* handle = DynamicModuleHost::CDynamicModuleManager::GetDynamicModuleM(&first);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(DynamicModuleHost::CDynamicModuleManager::GetDynamicModuleM(&first), handle);
  EXPECT_NE(DynamicModuleHost::CDynamicModuleManager::GetDynamicModuleM(&second), handle);
  EXPECT_EQ(handle->GetModule(), &first);
  EXPECT_EQ(handle->GetVersion(), DynamicModuleHost::kDynamicModuleVersion);
}

}  // namespace
