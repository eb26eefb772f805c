// The choice of value class for each declared type.
#include "storage_system/registry/create_value.h"

#include "storage_system/registry/built_in_casters.h"
#include "storage_system/registry/compound_value.h"

#include "foundation/built_in_types.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"
#include "tests/storage_system/registry/test_types.h"

namespace {

using namespace StorageSystem;
using namespace StorageSystem::Registry;
using Testing::Held;

class CreateValueTest : public Testing::RegistryStorageTest {
protected:
  struct Choice {
    ErrorCode code;
    const ITypeDescription* effective;
    const ITypeDescription* declared;
  };

  Choice Create(const ITypeDescription* type) {
    IRegistryValue* value = nullptr;
    const ITypeDescription* effective = nullptr;
    auto* store = static_cast<IStore*>(storage->GetInterface(&IID_IStore));
    const ErrorCode code = CreateValue(store, type, &value, &effective);
    Choice choice{code, effective, value != nullptr ? value->GetDataType() : nullptr};
    if (value != nullptr) value->Release();
    return choice;
  }
};

TEST_F(CreateValueTest, NoTypeOrANativeTypeMakesANativeValue) {
  Choice none = Create(nullptr);
  EXPECT_EQ(none.code, ErrorNone);
  EXPECT_EQ(none.effective, nullptr);
  Choice dword = Create(TypeOfUnsignedInt());
  EXPECT_EQ(dword.code, ErrorNone);
  EXPECT_EQ(dword.effective, TypeOfUnsignedInt());
  EXPECT_EQ(Create(TypeOfWideString()).effective, TypeOfWideString());
}

TEST_F(CreateValueTest, ArithmeticTypeMakesACaster) {
  Choice choice = Create(TypeOfInt());
  EXPECT_EQ(choice.code, ErrorNone);
  EXPECT_EQ(choice.effective, TypeOfUnsignedLong());
  EXPECT_EQ(choice.declared, TypeOfInt());
}

TEST_F(CreateValueTest, StructureMakesACompoundValue) {
  Choice guid = Create(TypeOfCommonGuid());
  EXPECT_EQ(guid.effective, TypeOfWideString());
  Choice point = Create(Testing::TypeOfPoint());
  EXPECT_EQ(point.effective, TypeOfBinary());
  EXPECT_EQ(point.declared, Testing::TypeOfPoint());
}

TEST_F(CreateValueTest, ArrayOfBytesDecaysToAPointerThatNothingTakes) {
  Choice choice = Create(TypeOfArray<TypeOfUnsignedChar, 8>());
  EXPECT_EQ(choice.code, ErrorNotSupported);
  EXPECT_TRUE(
      Logged("Error 15 in function StorageSystem::Registry::CreateValue: Type unsigned char * is not supported"));
}

TEST_F(CreateValueTest, PointerToAStructureIsNotSupported) {
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"pp", SF_READ | SF_CREATE, TypeOfPointer<Testing::TypeOfPoint>(), &value), ErrorNotSupported);
  EXPECT_TRUE(Logged("Error 15 in function StorageSystem::Registry::CreateValue: Type Point * is not supported"));
  EXPECT_EQ(GetRaw(nullptr, u"pp").status, Platform::ERROR_FILE_NOT_FOUND);
}

TEST_F(CreateValueTest, CompoundFactoryWithoutSerializerIsNotSupported) {
  IRegistryValue* value = nullptr;
  const ITypeDescription* effective = nullptr;
  auto* store = static_cast<IStore*>(storage->GetInterface(&IID_IStore));
  EXPECT_EQ(CreateCompoundSerializerValue(TypeOfPointer<Testing::TypeOfPoint>(), store, &value, &effective),
            ErrorNotSupported);
  EXPECT_TRUE(
      Logged("Error 15 in function StorageSystem::Registry::CreateCompoundSerializerValue: Type Point * is not "
             "supported"));
}

TEST_F(CreateValueTest, CasterFactoryWithoutRowIsNotFound) {
  IRegistryValue* value = nullptr;
  const ITypeDescription* effective = nullptr;
  auto* store = static_cast<IStore*>(storage->GetInterface(&IID_IStore));
  EXPECT_EQ(CreateBuiltInCasterValue(0, TypeOfCommonGuid(), store, &value, &effective), ErrorNotFound);
  EXPECT_TRUE(
      Logged("Error 14 in function StorageSystem::Registry::CreateBuiltInCasterValue: Could not find build-in "
             "type caster information"));
}

}  // namespace
