// The serializer of last resort.
#include "storage_system/registry/default_serializer.h"

#include "foundation/built_in_types.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"
#include "tests/storage_system/registry/test_types.h"

namespace {

using namespace StorageSystem;

class DefaultSerializerTest : public Testing::RegistryStorageTest {
protected:
  CDefaultSerializer serializer;
};

TEST_F(DefaultSerializerTest, TakesAnythingButPointersAndNeverAsItsOwn) {
  bool exact = true;
  EXPECT_TRUE(serializer.CanSerialize(Testing::TypeOfPoint(), &exact));
  EXPECT_FALSE(exact);
  EXPECT_TRUE(serializer.CanSerialize(TypeOfCommonGuid(), &exact));
  EXPECT_TRUE(serializer.CanSerialize(TypeOfInt(), &exact));
  EXPECT_FALSE(serializer.CanSerialize(TypeOfWideString(), &exact));
  EXPECT_FALSE(serializer.CanSerialize(TypeOfPointer<Testing::TypeOfPoint>(), &exact));
  EXPECT_EQ(serializer.GetStorageKind(), SerializerStorageBinary);
}

TEST_F(DefaultSerializerTest, HasNoTextForm) {
  std::uint32_t size = 0;
  const Testing::Point point = {1, 2};
  EXPECT_EQ(serializer.ToString(Testing::TypeOfPoint(), &point, 8, nullptr, &size), ErrorNotImplemented);
  EXPECT_TRUE(
      Logged("Error 20 (this feature has not been implemented yet) in function "
             "StorageSystem::CDefaultSerializer::ToString"));
  EXPECT_EQ(serializer.FromString(Testing::TypeOfPoint(), &point, 8, nullptr, &size), ErrorNotImplemented);
  EXPECT_TRUE(Logged("in function StorageSystem::CDefaultSerializer::FromString"));
}

TEST_F(DefaultSerializerTest, BinaryFormIsACopyWithItsSize) {
  const Testing::Point point = {3, -4};
  std::uint32_t size = 0;
  ASSERT_EQ(serializer.ToBinary(Testing::TypeOfPoint(), &point, 8, nullptr, &size), ErrorNone);
  EXPECT_EQ(size, 8u);
  Testing::Point copy = {};
  size = 8;
  ASSERT_EQ(serializer.FromBinary(Testing::TypeOfPoint(), &point, 8, &copy, &size), ErrorNone);
  EXPECT_EQ(copy.x, 3);
  EXPECT_EQ(copy.y, -4);
}

}  // namespace
