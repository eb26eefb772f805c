#include "foundation/current_module.h"

#include <gtest/gtest.h>

#include "platform/module.h"

namespace {

TEST(CurrentModuleTest, IsTheModuleThatHoldsTheCallingCode) {
  Platform::HMODULE executable = nullptr;
  ASSERT_TRUE(Platform::GetModuleHandleExW(0, nullptr, &executable));
  // The test program links the foundation statically, so this code lives in the executable.
  EXPECT_EQ(GetCurrentModule(), executable);
  EXPECT_EQ(GetCurrentModule(), Platform::GetLinkedImageBase());
}

}  // namespace
