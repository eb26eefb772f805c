// GUIDs stored as their braced text, and the bad texts that other parties may leave.
#include "storage_system/registry/guid_serializer.h"

#include <cstring>

#include "foundation/built_in_types.h"
#include "foundation/guid.h"
#include "tests/support/child_process.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"

namespace {

using namespace StorageSystem;
using namespace StorageSystem::Registry;
using Testing::Held;
using Testing::Text;

constexpr Common::GUID kGuid = Common::GuidLiteral("2d892502-1f2c-4141-b46b-2a6bd660e61d");

class GuidSerializerTest : public Testing::RegistryStorageTest {
protected:
  CGuidSerializer serializer;
};

TEST_F(GuidSerializerTest, TakesBothGuidLayoutsAsItsOwnAndNothingElse) {
  bool exact = false;
  EXPECT_TRUE(serializer.CanSerialize(TypeOfCommonGuid(), &exact));
  EXPECT_TRUE(exact);
  exact = false;
  EXPECT_TRUE(serializer.CanSerialize(TypeOfGuid(), &exact));
  EXPECT_TRUE(exact);
  EXPECT_FALSE(serializer.CanSerialize(TypeOfInt(), &exact));
  EXPECT_FALSE(serializer.CanSerialize(TypeOfWideString(), &exact));
  EXPECT_EQ(serializer.GetStorageKind(), SerializerStorageText);
  EXPECT_NE(serializer.GetInterface(&IID_ISerializer), nullptr);
}

TEST_F(GuidSerializerTest, TextFormHasItsSizeAndNeedsItsRoom) {
  std::uint32_t size = 0;
  ASSERT_EQ(serializer.ToString(TypeOfCommonGuid(), &kGuid, 16, nullptr, &size), ErrorNone);
  EXPECT_EQ(size, 78u);
  char16_t text[39];
  size = 77;
  EXPECT_EQ(serializer.ToString(TypeOfCommonGuid(), &kGuid, 16, text, &size), ErrorOutOfBounds);
  EXPECT_TRUE(Logged("Error 10 in function StorageSystem::CGuidSerializer::ToString: Buffer too small"));
  size = 78;
  ASSERT_EQ(serializer.ToString(TypeOfCommonGuid(), &kGuid, 16, text, &size), ErrorNone);
  EXPECT_EQ(Text(text), "{2D892502-1F2C-4141-B46B-2A6BD660E61D}");

  Common::GUID back;
  size = 15;
  EXPECT_EQ(serializer.FromString(TypeOfCommonGuid(), text, 78, &back, &size), ErrorOutOfBounds);
  EXPECT_TRUE(Logged("Error 10 in function StorageSystem::CGuidSerializer::FromString: Buffer too small"));
  size = 16;
  ASSERT_EQ(serializer.FromString(TypeOfCommonGuid(), text, 78, &back, &size), ErrorNone);
  EXPECT_EQ(back, kGuid);
  size = 0;
  ASSERT_EQ(serializer.FromString(TypeOfCommonGuid(), text, 78, nullptr, &size), ErrorNone);
  EXPECT_EQ(size, 16u);
}

TEST_F(GuidSerializerTest, BinaryFormIsACopy) {
  unsigned char bytes[16];
  std::uint32_t size = sizeof bytes;
  ASSERT_EQ(serializer.ToBinary(TypeOfCommonGuid(), &kGuid, 16, bytes, &size), ErrorNone);
  EXPECT_EQ(std::memcmp(bytes, &kGuid, 16), 0);
  size = 8;
  EXPECT_EQ(serializer.FromBinary(TypeOfCommonGuid(), &kGuid, 16, bytes, &size), ErrorOutOfBounds);
  EXPECT_TRUE(
      Logged("Error 10 in function StorageSystem::ASerializerBase<class Common::CExtensible<class "
             "StorageSystem::ISerializer> >::RawBinaryCopy: Buffer too small"));
}

TEST_F(GuidSerializerTest, DeclaredCommonGuidIsStoredAsBracedText) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"id", SF_READ | SF_CREATE, TypeOfCommonGuid(), &value, &kGuid, 16), ErrorNone);
  EXPECT_EQ(value->GetDataType(), TypeOfCommonGuid());
  EXPECT_EQ(value->GetNativeType(), TypeOfWideString());
  RawValue raw = GetRaw(nullptr, u"id");
  EXPECT_EQ(raw.type, Platform::REG_SZ);
  EXPECT_EQ(raw.data.size(), 78u);
  EXPECT_EQ(raw.AsText(), "{2D892502-1F2C-4141-B46B-2A6BD660E61D}");
  Common::GUID read;
  ASSERT_EQ(value->Read(&read, 16), ErrorNone);
  EXPECT_EQ(read, kGuid);
}

TEST_F(GuidSerializerTest, DeclaredPlatformGuidIsStoredAsTextToo) {
  const Platform::GUID platformGuid = kGuid;
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"pid", SF_READ | SF_CREATE, TypeOfGuid(), &value, &platformGuid, 16), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"pid").type, Platform::REG_SZ);
  EXPECT_EQ(value->GetDataType(), TypeOfGuid());
}

TEST_F(GuidSerializerTest, TextEditedToNonsenseFailsOnReading) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"id", SF_READ | SF_CREATE, TypeOfCommonGuid(), &value, &kGuid, 16), ErrorNone);
  ASSERT_EQ(SetRawString(nullptr, u"id", u"{2D892502-1F2C-4141-B46B}"), Platform::ERROR_SUCCESS);
  Common::GUID read;
  EXPECT_EQ(value->Read(&read, 16), ErrorInvalidParameter);
  EXPECT_TRUE(Logged("Error 11 in function Common::GUID::StringToGuid: Guid string bad format")) << capture.Text();
  // The caller owns whatever block it holds afterwards, even after a failure.
  void* buffer = nullptr;
  std::uint32_t capacity = 0;
  EXPECT_EQ(value->ReadRealloc(&buffer, &capacity, nullptr), ErrorInvalidParameter);
  storage->GetProperties()->GetAllocator()->Free(buffer);
}

TEST_F(GuidSerializerTest, TextInAnyCaseWithoutBracesIsRead) {
  Held<IRegistryValue> value;
  ASSERT_EQ(SetRawString(nullptr, u"id", u"2d892502-1f2c-4141-b46b-2a6bd660e61d"), Platform::ERROR_SUCCESS);
  ASSERT_EQ(OpenValue(u"id", SF_READ, TypeOfCommonGuid(), &value), ErrorNone);
  void* buffer = nullptr;
  std::uint32_t capacity = 0;
  std::uint32_t size = 0;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(std::memcmp(buffer, &kGuid, 16), 0);
  storage->GetProperties()->GetAllocator()->Free(buffer);
}

#ifdef HALCYRA_REG_TOOL
TEST_F(GuidSerializerTest, TextEditedToNonsenseByAnotherProcessFailsOnReading) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"id", SF_READ | SF_CREATE, TypeOfCommonGuid(), &value, &kGuid, 16), ErrorNone);
  Testing::ChildProcess::Result added = Testing::ChildProcess::Run(
      HALCYRA_REG_TOOL, {"add", sandbox.RootCommandPath(), "/v", "id", "/t", "REG_SZ", "/d", "not-a-guid", "/f"});
  ASSERT_EQ(added.exitCode, 0) << added.output << added.error;
  Common::GUID read;
  EXPECT_EQ(value->Read(&read, 16), ErrorInvalidParameter);
  EXPECT_TRUE(Logged("Error 11 in function Common::GUID::StringToGuid: Guid string bad format"));
}
#endif

}  // namespace
