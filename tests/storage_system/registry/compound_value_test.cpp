// Compound values: structures through a serializer, as a binary block or as text.
#include "storage_system/registry/compound_value.h"

#include <cstring>

#include "foundation/built_in_types.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"
#include "tests/storage_system/registry/test_types.h"

namespace {

using namespace StorageSystem;
using namespace StorageSystem::Registry;
using Testing::Held;
using Testing::Point;
using Testing::Text;
using Testing::TypeOfPoint;

class CompoundValueTest : public Testing::RegistryStorageTest {};

TEST_F(CompoundValueTest, StructureIsABinaryBlock) {
  const Point initial = {10, -20};
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"p", SF_READ | SF_CREATE, TypeOfPoint(), &value, &initial, sizeof initial), ErrorNone);
  EXPECT_EQ(value->GetDataType(), TypeOfPoint());
  EXPECT_EQ(value->GetNativeType(), TypeOfBinary());
  RawValue raw = GetRaw(nullptr, u"p");
  EXPECT_EQ(raw.type, Platform::REG_BINARY);
  ASSERT_EQ(raw.data.size(), 8u);
  EXPECT_EQ(std::memcmp(raw.data.data(), &initial, 8), 0);

  Point read = {};
  ASSERT_EQ(value->Read(&read, sizeof read), ErrorNone);
  EXPECT_EQ(read.x, 10);
  EXPECT_EQ(read.y, -20);
}

TEST_F(CompoundValueTest, ReadIntoTooSmallABufferFails) {
  const Point initial = {1, 2};
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"p", SF_READ | SF_CREATE, TypeOfPoint(), &value, &initial, sizeof initial), ErrorNone);
  std::int32_t half = 0;
  EXPECT_EQ(value->Read(&half, sizeof half), ErrorOutOfBounds);
  EXPECT_TRUE(Logged("Buffer too small"));
}

TEST_F(CompoundValueTest, ReadReallocBringsTheBlockToTheConvertedSize) {
  const Point initial = {5, 6};
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"p", SF_READ | SF_CREATE, TypeOfPoint(), &value, &initial, sizeof initial), ErrorNone);
  IAllocator* allocator = storage->GetProperties()->GetAllocator();
  void* buffer = allocator->Alloc(100);
  std::uint32_t capacity = 100;
  std::uint32_t size = 0;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(capacity, 8u) << "a block more than twice too large is replaced";
  EXPECT_EQ(static_cast<Point*>(buffer)->y, 6);
  void* kept = buffer;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(buffer, kept);
  allocator->Free(buffer);
}

TEST_F(CompoundValueTest, EmptyDataIsHandedOverAsRead) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"p", SF_READ | SF_CREATE, TypeOfPoint(), &value), ErrorNone);
  EXPECT_TRUE(GetRaw(nullptr, u"p").data.empty()) << "the binary row's default is empty";
  void* buffer = nullptr;
  std::uint32_t capacity = 0;
  std::uint32_t size = 99;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(size, 0u);
  EXPECT_NE(buffer, nullptr);
  EXPECT_EQ(capacity, 64u);
  storage->GetProperties()->GetAllocator()->Free(buffer);
}

TEST_F(CompoundValueTest, WriteStoresTheConvertedForm) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"p", SF_READ | SF_CREATE, TypeOfPoint(), &value), ErrorNone);
  const Point written = {7, 8};
  ASSERT_EQ(value->Write(&written, sizeof written), ErrorNone);
  RawValue raw = GetRaw(nullptr, u"p");
  ASSERT_EQ(raw.data.size(), 8u);
  EXPECT_EQ(std::memcmp(raw.data.data(), &written, 8), 0);
}

}  // namespace
