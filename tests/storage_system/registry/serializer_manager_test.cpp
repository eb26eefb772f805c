// The process-wide list of serializers: its order of search and its registration.
#include "storage_system/registry/serializer_manager.h"

#include "foundation/built_in_types.h"
#include "storage_system/registry/default_serializer.h"
#include "storage_system/registry/guid_serializer.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"
#include "tests/storage_system/registry/test_types.h"

namespace {

using namespace StorageSystem;

// Takes the test's Point as its own, or every type without being made for it.
class PointSerializer : public ASerializerBase<Common::CExtensible<ISerializer>> {
public:
  explicit PointSerializer(bool exactForPoint) : ASerializerBase(SerializerStorageBinary), m_exact(exactForPoint) {}
  bool CanSerialize(const ITypeDescription* type, bool* exact) override {
    *exact = m_exact && type == Testing::TypeOfPoint();
    return m_exact ? *exact : type->QueryPointee() == nullptr;
  }
  ErrorCode ToString(const ITypeDescription*, const void*, std::uint32_t, void*, std::uint32_t*) override {
    return ErrorNotImplemented;
  }
  ErrorCode FromString(const ITypeDescription*, const void*, std::uint32_t, void*, std::uint32_t*) override {
    return ErrorNotImplemented;
  }

private:
  bool m_exact;
};

class SerializerManagerTest : public Testing::RegistryStorageTest {};

TEST_F(SerializerManagerTest, GuidsGoToTheGuidSerializerAsItsOwn) {
  bool exact = false;
  ISerializer* found = CSerializerManager::Get().FindSerializer(TypeOfCommonGuid(), &exact);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->GetStorageKind(), SerializerStorageText);
  EXPECT_TRUE(exact);
}

TEST_F(SerializerManagerTest, OtherStructuresGoToTheDefaultSerializer) {
  bool exact = true;
  ISerializer* found = CSerializerManager::Get().FindSerializer(TypeOfWchar(), &exact);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->GetStorageKind(), SerializerStorageBinary);
  EXPECT_FALSE(exact);
  EXPECT_EQ(CSerializerManager::Get().FindSerializer(TypeOfPointer<TypeOfWchar>(), &exact), nullptr);
}

TEST_F(SerializerManagerTest, ArraysAreLookedUpByTheirDecayedType) {
  bool exact = true;
  EXPECT_EQ((CSerializerManager::Get().FindSerializer(TypeOfArray<TypeOfCommonGuid, 2>(), &exact)), nullptr)
      << "an array decays to a pointer, which nobody takes";
}

TEST_F(SerializerManagerTest, LaterRegistrationsGoFirstAndExactOnesWin) {
  // Registered for the rest of the process: the list only grows.
  static PointSerializer generic(false);
  static PointSerializer exactForPoint(true);
  ASSERT_EQ(CSerializerManager::Get().RegisterSerializer(&exactForPoint), ErrorNone);
  ASSERT_EQ(CSerializerManager::Get().RegisterSerializer(&generic), ErrorNone);

  bool exact = false;
  EXPECT_EQ(CSerializerManager::Get().FindSerializer(Testing::TypeOfPoint(), &exact), &exactForPoint)
      << "an exact one behind a generic later one still wins";
  EXPECT_TRUE(exact);
  EXPECT_EQ(CSerializerManager::Get().FindSerializer(TypeOfWchar(), &exact), &generic)
      << "the latest generic one goes before the default serializer";
  EXPECT_FALSE(exact);
  EXPECT_NE(CSerializerManager::Get().FindSerializer(TypeOfCommonGuid(), &exact), &generic);
  EXPECT_TRUE(exact);

  EXPECT_EQ(CSerializerManager::Get().RegisterSerializer(&generic), ErrorAlreadyExists);
  EXPECT_TRUE(
      Logged("Error 13 (resource or object already exists) in function "
             "StorageSystem::CSerializerManager::RegisterSerializer"));
}

}  // namespace
