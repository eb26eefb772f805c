// The common check of every open: inheritance, volatility against the capabilities and the parent,
// and SF_CREATE implying SF_WRITE.
#include "storage_system/prepare_access_mask.h"

#include <gtest/gtest.h>

#include "storage_system/storage_flags.h"
#include "tests/storage_system/fake_storage.h"
#include "tests/support/debug_channel_capture.h"

namespace {

using namespace StorageSystem;

class PrepareAccessMaskTest : public ::testing::Test {
protected:
  Testing::FakeStorageSystem root;
  Testing::FakeItem parent{&root, nullptr, true};
  Testing::FakeItem child{&root, &parent, true};
  Testing::DebugChannelCapture capture;
};

TEST_F(PrepareAccessMaskTest, InheritOnARootFailsWithInvalidParameter) {
  std::uint32_t flags = SF_READ | SF_INHERIT;
  EXPECT_EQ(PrepareAccessMask(&root, &flags), ErrorInvalidParameter);
  EXPECT_NE(capture.Text().find("Error 11 (invalid parameter) in function StorageSystem::PrepareAccessMask"),
            std::string::npos)
      << capture.Text();
}

TEST_F(PrepareAccessMaskTest, InheritTakesOverTheParentsFlags) {
  parent.flags = SF_READ | SF_WRITE | SF_KEEP_OPEN;
  std::uint32_t flags = SF_INHERIT;
  ASSERT_EQ(PrepareAccessMask(&child, &flags), ErrorNone);
  EXPECT_EQ(flags, SF_INHERIT | SF_READ | SF_WRITE | SF_KEEP_OPEN);
}

TEST_F(PrepareAccessMaskTest, CreateImpliesWrite) {
  std::uint32_t flags = SF_READ | SF_CREATE;
  ASSERT_EQ(PrepareAccessMask(&child, &flags), ErrorNone);
  EXPECT_EQ(flags, SF_READ | SF_CREATE | SF_WRITE);
}

TEST_F(PrepareAccessMaskTest, RootIsCheckedAgainstItsOwnCapabilities) {
  std::uint32_t flags = SF_READ;
  EXPECT_EQ(PrepareAccessMask(&root, &flags), ErrorNone);
  root.properties.capabilities = StorageCapabilityVolatile;
  EXPECT_EQ(PrepareAccessMask(&root, &flags), ErrorNotSupported);
  EXPECT_NE(capture.Text().find("Error 15 in function StorageSystem::PrepareAccessMask: Persistent stores are not "
                                "supported"),
            std::string::npos);
}

TEST_F(PrepareAccessMaskTest, VolatileItemNeedsTheCapability) {
  root.properties.capabilities = StorageCapabilityPersistent;
  std::uint32_t flags = SF_READ | SF_VOLATILE;
  EXPECT_EQ(PrepareAccessMask(&child, &flags), ErrorNotSupported);
  EXPECT_NE(capture.Text().find("Error 15 in function StorageSystem::PrepareAccessMask: Volatiles stores are not "
                                "supported"),
            std::string::npos);
}

TEST_F(PrepareAccessMaskTest, PersistentItemInAVolatileStoreIsRefused) {
  parent.flags = SF_READ | SF_VOLATILE;
  std::uint32_t flags = SF_READ;
  EXPECT_EQ(PrepareAccessMask(&child, &flags), ErrorInvalidParameter);
  EXPECT_NE(capture.Text().find("Error 11 in function StorageSystem::PrepareAccessMask: Cannot create non volatile "
                                "item in a volatile store"),
            std::string::npos);
  std::uint32_t volatileFlags = SF_READ | SF_VOLATILE;
  EXPECT_EQ(PrepareAccessMask(&child, &volatileFlags), ErrorNone);
  std::uint32_t inherited = SF_INHERIT;
  EXPECT_EQ(PrepareAccessMask(&child, &inherited), ErrorNone);
}

}  // namespace
