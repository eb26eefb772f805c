// Registry stores: opening and creating, names and absolute paths, enumeration, emptiness,
// deletion, volatility, and the checks at the head of OpenValue.
#include "platform/utf.h"
#include "storage_system/registry/store.h"

#include "foundation/built_in_types.h"
#include "storage_system/enum_items.h"
#include "storage_system/registry/registry_value_enum_item.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"

namespace {

using namespace StorageSystem;
using namespace StorageSystem::Registry;
using Testing::Held;
using Testing::Text;

class StoreTest : public Testing::RegistryStorageTest {
protected:
  std::string AbsolutePath(IStorageItem* item) {
    char16_t* path = nullptr;
    if (item->QueryAllocAbsolutePath(&path) != ErrorNone) return "<failed>";
    std::string text = Text(path);
    storage->GetProperties()->GetAllocator()->Free(path);
    return text;
  }
};

// Collects what an enumeration offers.
class Collector : public IEnumTarget {
public:
  ErrorCode OnEnumeratedItem(Common::IExtensible* item, bool* stop) override {
    if (auto* store = static_cast<IStoreEnumItem*>(item->GetInterface(&IID_IStoreEnumItem))) {
      names.push_back(Text(store->GetName()));
    }
    if (auto* value = static_cast<IValueEnumItem*>(item->GetInterface(&IID_IValueEnumItem))) {
      auto* registry = static_cast<IRegistryValueEnumItem*>(item->GetInterface(&IID_IRegistryValueEnumItem));
      sameObject = sameObject && static_cast<void*>(registry) == static_cast<void*>(value);
      names.push_back(Text(value->GetName()));
      types.push_back(Text(value->GetType()->GetName()));
      typeIds.push_back(registry->GetNativeTypeId());
    }
    if (names.size() == stopAfter) *stop = true;
    return names.size() == failAfter ? ErrorGeneric : ErrorNone;
  }
  std::vector<std::string> names;
  std::vector<std::string> types;
  std::vector<Platform::DWORD> typeIds;
  bool sameObject = true;
  std::size_t stopAfter = 0;
  std::size_t failAfter = 0;
};

TEST_F(StoreTest, CreateMakesNestedKeysAndReadFindsThem) {
  Held<IStore> created;
  ASSERT_EQ(storage->OpenStore(u"a/b/c", &created, SF_READ | SF_CREATE), ErrorNone);
  EXPECT_TRUE(KeyExists(u"a\\b\\c"));
  Held<IStore> opened;
  ASSERT_EQ(storage->OpenStore(u"a/b", &opened, SF_READ), ErrorNone);
  EXPECT_EQ(opened->GetFlags(), SF_READ);
  EXPECT_EQ(created->GetFlags(), SF_READ | SF_CREATE | SF_WRITE);
}

TEST_F(StoreTest, MissingStoreWithoutCreateIsASystemError) {
  Held<IStore> missing;
  EXPECT_EQ(storage->OpenStore(u"nowhere", &missing, SF_READ), ErrorSystem);
  EXPECT_EQ(missing.get(), nullptr);
  EXPECT_TRUE(Logged("Error while opening subkey 'nowhere' of Registry key 0x"));
  EXPECT_TRUE(Logged("RegOpenKeyExW raised error 2"));
}

TEST_F(StoreTest, StoreNameEndsInASeparatorAndPathHoldsTheParentPart) {
  Held<IStore> single;
  ASSERT_EQ(storage->OpenStore(u"cfg", &single, SF_READ | SF_CREATE), ErrorNone);
  EXPECT_EQ(Text(single->GetName()), "cfg/");
  EXPECT_EQ(single->GetPath(), nullptr);
  Held<IStore> nested;
  ASSERT_EQ(storage->OpenStore(u"a/b/", &nested, SF_READ | SF_CREATE), ErrorNone);
  EXPECT_EQ(Text(nested->GetName()), "b/");
  EXPECT_EQ(Text(nested->GetPath()), "a/");
}

TEST_F(StoreTest, StoreUnderAStoreHasTheAbsolutePathFromTheRoot) {
  Held<IStore> app;
  ASSERT_EQ(storage->OpenStore(u"app", &app, SF_READ | SF_CREATE), ErrorNone);
  EXPECT_EQ(AbsolutePath(app.get()), "/app/");
  Held<IStore> cfg;
  ASSERT_EQ(app->OpenStore(u"cfg/", &cfg, SF_READ | SF_CREATE), ErrorNone);
  EXPECT_EQ(AbsolutePath(cfg.get()), "/app/cfg/");
  EXPECT_TRUE(KeyExists(u"app\\cfg"));
}

TEST_F(StoreTest, ValueOfSeveralPartsHasItsLeafBeforeItsParentPath) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"a/b", SF_READ | SF_CREATE, TypeOfUnsignedInt(), &value), ErrorNone);
  EXPECT_EQ(AbsolutePath(value.get()), "/ba/");
}

TEST_F(StoreTest, ChildHoldsItsParentAlive) {
  IStore* parent = nullptr;
  ASSERT_EQ(storage->OpenStore(u"p", &parent, SF_READ | SF_WRITE | SF_CREATE), ErrorNone);
  IStore* child = nullptr;
  ASSERT_EQ(parent->OpenStore(u"c", &child, SF_READ | SF_WRITE | SF_CREATE), ErrorNone);
  EXPECT_EQ(parent->AddRef(), 3u) << "one of the client, one of the child, one now";
  parent->Release();
  parent->Release();
  EXPECT_EQ(child->GetParent(), parent);
  EXPECT_EQ(child->GetStorageSystem(), storage);
  Held<IStore> grandChild;
  EXPECT_EQ(child->OpenStore(u"g", &grandChild, SF_READ | SF_CREATE), ErrorNone);
  EXPECT_TRUE(KeyExists(u"p\\c\\g"));
  child->Release();
}

TEST_F(StoreTest, StoreAnswersForItsInterfaces) {
  Held<IStore> store;
  ASSERT_EQ(storage->OpenStore(u"s", &store, SF_READ | SF_CREATE), ErrorNone);
  EXPECT_EQ(store->GetInterface(&IID_IStore), static_cast<void*>(store.get()));
  EXPECT_NE(store->GetInterface(&Common::IID_IExtensible), nullptr);
  EXPECT_EQ(store->GetInterface(&IID_IStorageSystem), nullptr);
  void* registryStore = store->GetInterface(&IID_IRegistryStore);
  ASSERT_NE(registryStore, nullptr);
  EXPECT_NE(registryStore, static_cast<void*>(store.get())) << "a secondary base";
  Platform::HKEY key = nullptr;
  ASSERT_EQ(static_cast<IRegistryStore*>(registryStore)->OpenSubKey(sandbox.Root(), u"s", &key), ErrorNone);
  Platform::RegCloseKey(key);
}

TEST_F(StoreTest, PersistentStoreUnderAVolatileParentIsRefused) {
  Held<IStore> volatileStore;
  ASSERT_EQ(storage->OpenStore(u"vol", &volatileStore, SF_READ | SF_CREATE | SF_VOLATILE), ErrorNone);
  Held<IStore> persistent;
  EXPECT_EQ(volatileStore->OpenStore(u"p", &persistent, SF_READ | SF_CREATE), ErrorInvalidParameter);
  EXPECT_TRUE(
      Logged("Error 11 in function StorageSystem::PrepareAccessMask: Cannot create non volatile item in a "
             "volatile store"));
  Held<IStore> inner;
  EXPECT_EQ(volatileStore->OpenStore(u"v", &inner, SF_READ | SF_CREATE | SF_VOLATILE), ErrorNone);
  Held<IStore> inherited;
  EXPECT_EQ(volatileStore->OpenStore(u"i", &inherited, SF_INHERIT), ErrorNone);
  EXPECT_EQ(inherited->GetFlags() & SF_VOLATILE, SF_VOLATILE);
}

TEST_F(StoreTest, DeleteStoreRemovesTheWholeTree) {
  ASSERT_EQ(SetRawDword(u"gone\\deep", u"v", 1), Platform::ERROR_SUCCESS);
  EXPECT_EQ(storage->DeleteStore(u"gone"), ErrorNone);
  EXPECT_FALSE(KeyExists(u"gone"));
}

TEST_F(StoreTest, DeleteOfAMissingStoreIsNotFoundWithoutASystemError) {
  EXPECT_EQ(storage->DeleteStore(u"nothing/here"), ErrorNotFound);
  EXPECT_TRUE(
      Logged("Error 14 in function StorageSystem::Registry::CStoreDelegate::DeleteStore: Store 'nothing/here' "
             "was not found"))
      << capture.Text();
  EXPECT_FALSE(Logged("Error 2 "));
}

TEST_F(StoreTest, DeleteValueRemovesItAndAMissingOneIsNotFound) {
  ASSERT_EQ(SetRawDword(u"k", u"v", 1), Platform::ERROR_SUCCESS);
  EXPECT_EQ(storage->DeleteValue(u"k/v"), ErrorNone);
  EXPECT_EQ(GetRaw(u"k", u"v").status, Platform::ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(storage->DeleteValue(u"k/v"), ErrorNotFound);
  EXPECT_TRUE(
      Logged("Error 14 in function StorageSystem::Registry::CStoreDelegate::DeleteValue: Value 'k/v' was not "
             "found"));
  EXPECT_EQ(storage->DeleteValue(u"k/bad:name"), ErrorInvalidParameter);
}

TEST_F(StoreTest, DeleteWithoutTheRightIsAccessDenied) {
  ASSERT_EQ(SetRawDword(u"ro", u"v", 1), Platform::ERROR_SUCCESS);
  Held<IStore> readOnly;
  ASSERT_EQ(storage->OpenStore(u"ro", &readOnly, SF_READ), ErrorNone);
  EXPECT_EQ(readOnly->DeleteValue(u"v"), ErrorAccessDenied);
  EXPECT_TRUE(
      Logged("Error 8 in function StorageSystem::Registry::CStoreDelegate::DeleteValue: Access to value 'v' was "
             "denied"))
      << capture.Text();
}

TEST_F(StoreTest, EnumStoresOffersEverySubKey) {
  for (const char16_t* name : {u"one", u"two", u"three"})
    ASSERT_EQ(SetRawDword(name, u"v", 1), Platform::ERROR_SUCCESS);
  Collector collector;
  ASSERT_EQ(storage->EnumStores(&collector), ErrorNone);
  std::sort(collector.names.begin(), collector.names.end());
  EXPECT_EQ(collector.names, (std::vector<std::string>{"one", "three", "two"}));

  Collector stopping;
  stopping.stopAfter = 1;
  EXPECT_EQ(storage->EnumStores(&stopping), ErrorNone);
  EXPECT_EQ(stopping.names.size(), 1u);
  Collector failing;
  failing.failAfter = 2;
  EXPECT_EQ(storage->EnumStores(&failing), ErrorGeneric);
  EXPECT_EQ(failing.names.size(), 2u);
}

TEST_F(StoreTest, EnumValuesOffersNameNativeTypeAndTypeNumber) {
  ASSERT_EQ(SetRawDword(nullptr, u"Number", 5), Platform::ERROR_SUCCESS);
  ASSERT_EQ(SetRawString(nullptr, u"Text", u"x"), Platform::ERROR_SUCCESS);
  Collector collector;
  ASSERT_EQ(storage->EnumValues(&collector), ErrorNone);
  ASSERT_EQ(collector.names.size(), 2u);
  EXPECT_TRUE(collector.sameObject);
  for (std::size_t i = 0; i < 2; ++i) {
    if (collector.names[i] == "Number") {
      EXPECT_EQ(collector.types[i], "unsigned long");
      EXPECT_EQ(collector.typeIds[i], Platform::REG_DWORD);
    } else {
      EXPECT_EQ(collector.names[i], "Text");
      EXPECT_EQ(collector.types[i], "unsigned short *");
      EXPECT_EQ(collector.typeIds[i], Platform::REG_SZ);
    }
  }
}

TEST_F(StoreTest, EnumValuesMovesToTheHeapForALongNameAndGivesTheSameItem) {
  const std::u16string longName = u"A" + std::u16string(70, u'x');
  const std::u16string shortName = u"B";
  ASSERT_EQ(SetRawDword(nullptr, longName.c_str(), 1), Platform::ERROR_SUCCESS);
  ASSERT_EQ(SetRawDword(nullptr, shortName.c_str(), 2), Platform::ERROR_SUCCESS);
  Collector collector;
  ASSERT_EQ(storage->EnumValues(&collector), ErrorNone);
  std::sort(collector.names.begin(), collector.names.end());
  EXPECT_EQ(collector.names, (std::vector<std::string>{Platform::Utf16ToUtf8(longName), "B"}));
}

TEST_F(StoreTest, EnumValuesEndsAtATypeWithoutANativeRow) {
  const std::u16string text = u"%PATH%";
  ASSERT_EQ(SetRaw(nullptr, u"Expand", Platform::REG_EXPAND_SZ, text.c_str(), 14), Platform::ERROR_SUCCESS);
  Collector collector;
  EXPECT_EQ(storage->EnumValues(&collector), ErrorNotSupported);
  EXPECT_TRUE(
      Logged("Error 15 in function StorageSystem::Registry::GetNativeTypeInfo: Value type 2 is not currently "
             "supported"));
}

TEST_F(StoreTest, IsEmptyLooksAtValuesFirstAndStopsAtTheFirstItem) {
  Held<IStore> store;
  ASSERT_EQ(storage->OpenStore(u"e", &store, SF_READ | SF_CREATE), ErrorNone);
  EXPECT_TRUE(store->IsEmpty());
  ASSERT_EQ(SetRawDword(u"e\\sub", u"v", 1), Platform::ERROR_SUCCESS);
  EXPECT_FALSE(store->IsEmpty());

  // A value that enumeration cannot offer is met before the sub-store: values come first.
  const std::u16string text = u"%X%";
  ASSERT_EQ(SetRaw(u"e", u"B", Platform::REG_EXPAND_SZ, text.c_str(), 8), Platform::ERROR_SUCCESS);
  capture.Clear();
  EXPECT_FALSE(store->IsEmpty());
  EXPECT_TRUE(Logged("Value type 2 is not currently supported"));

  // With a good value in front, the enumeration ends before it gets to the bad one.
  ASSERT_EQ(SetRawDword(u"f", u"A", 1), Platform::ERROR_SUCCESS);
  ASSERT_EQ(SetRaw(u"f", u"B", Platform::REG_EXPAND_SZ, text.c_str(), 8), Platform::ERROR_SUCCESS);
  capture.Clear();
  Held<IStore> fresh;
  ASSERT_EQ(storage->OpenStore(u"f", &fresh, SF_READ), ErrorNone);
  EXPECT_FALSE(fresh->IsEmpty());
  EXPECT_FALSE(Logged("Value type 2")) << capture.Text();
}

TEST_F(StoreTest, OpenValueWithoutTypeForWritingFailsBeforeTouchingAnything) {
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"sub/x", SF_READ | SF_WRITE | SF_CREATE, nullptr, &value), ErrorCannotOpen);
  EXPECT_EQ(value.get(), nullptr);
  EXPECT_TRUE(
      Logged("Error 5 in function StorageSystem::Registry::CStoreDelegate::OpenValue: Write access denied for "
             "Registry key 'sub/x'. You must specify a data type."))
      << capture.Text();
  EXPECT_FALSE(KeyExists(u"sub"));
}

TEST_F(StoreTest, OpenValueWithoutTypeDoesNotInheritWriteRights) {
  ASSERT_EQ(SetRawDword(u"w", u"v", 7), Platform::ERROR_SUCCESS);
  Held<IStore> writable;
  ASSERT_EQ(storage->OpenStore(u"w", &writable, SF_READ | SF_WRITE), ErrorNone);
  Held<IRegistryValue> value;
  ASSERT_EQ(writable->OpenValue(u"v", &value, SF_INHERIT, nullptr, nullptr, 0), ErrorNone);
  EXPECT_TRUE(Logged("WARNING: All access rights could not be inherited when opening Registry value"));
  EXPECT_EQ(value->GetFlags(), SF_READ);
  std::uint32_t data = 0;
  EXPECT_EQ(value->Read(&data, sizeof data), ErrorNone);
  EXPECT_EQ(data, 7u);
  EXPECT_EQ(value->Write(&data, sizeof data), ErrorCannotWrite);
}

TEST_F(StoreTest, ForbiddenCharacterInAValuePathIsRefused) {
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"a\\b", SF_READ | SF_CREATE, TypeOfUnsignedInt(), &value), ErrorInvalidParameter);
  EXPECT_TRUE(
      Logged("Error 11 in function StorageSystem::CPathHelper::CheckPath: Path 'a\\b' contains forbiden "
             "character '\\'"));
  EXPECT_EQ(OpenValue(u"a\"b<c", SF_READ | SF_CREATE, TypeOfUnsignedInt(), &value), ErrorInvalidParameter);
  EXPECT_TRUE(Logged("contains forbiden character '\"'"));
}

}  // namespace
