// The registry storage system: opening on a predefined key and path, its properties, its
// interfaces, closing, and the release handler.
#include "platform/utf.h"
#include "storage_system/registry/storage_system.h"

#include "foundation/built_in_types.h"
#include "foundation/log.h"
#include "storage_system/enum_items.h"
#include "storage_system/heap_allocator.h"
#include "storage_system/registry/registry_properties.h"
#include "storage_system/registry/registry_store.h"
#include "tests/storage_system/registry/registry_probe.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"
#include "tests/support/system_text.h"

namespace {

using namespace StorageSystem;
using namespace StorageSystem::Registry;
using Testing::Held;
using Testing::Text;

class StorageSystemTest : public Testing::RegistryStorageTest {
protected:
  IRegistryProperties* Properties(IStorageSystem* system) {
    return static_cast<IRegistryProperties*>(system->GetProperties()->GetInterface(&IID_IRegistryProperties));
  }
};

TEST_F(StorageSystemTest, ReadOnAMissingKeyFailsWithTheSystemsText) {
  Held<IStorageSystem> missing;
  EXPECT_EQ(OpenStorage(SF_READ, &missing, u"Missing"), ErrorSystem);
  EXPECT_EQ(missing.get(), nullptr);
  EXPECT_TRUE(
      Logged("Error 2 in function StorageSystem::Registry::CStoreDelegate::OpenOrCreateSubKey: RegOpenKeyExW "
             "raised error 2: " +
             Testing::SystemText(Platform::ERROR_FILE_NOT_FOUND)))
      << capture.Text();
  EXPECT_TRUE(Logged("Error while opening subkey '" + Platform::Utf16ToUtf8(sandbox.RootPath()) +
                     "\\Missing' of Registry key 0x"));
}

TEST_F(StorageSystemTest, CreateMakesTheMissingKey) {
  Held<IStorageSystem> created;
  ASSERT_EQ(OpenStorage(SF_READ | SF_CREATE, &created, u"New\\Deeper"), ErrorNone);
  EXPECT_TRUE(KeyExists(u"New\\Deeper"));
  EXPECT_EQ(created->GetFlags(), SF_READ | SF_CREATE | SF_WRITE);
}

TEST_F(StorageSystemTest, RootHasTheNameSlashNoPathAndNoParent) {
  EXPECT_EQ(Text(storage->GetName()), "/");
  EXPECT_EQ(storage->GetPath(), nullptr);
  EXPECT_EQ(storage->GetParent(), nullptr);
  EXPECT_EQ(storage->GetStorageSystem(), storage);
  EXPECT_EQ(storage->GetFlags(), SF_READ | SF_WRITE);
  char16_t* path = nullptr;
  ASSERT_EQ(storage->QueryAllocAbsolutePath(&path), ErrorNone);
  EXPECT_EQ(Text(path), "/");
  storage->GetProperties()->GetAllocator()->Free(path);
}

TEST_F(StorageSystemTest, AnswersForEachOfItsInterfaces) {
  void* self = storage->GetInterface(&Common::IID_IExtensible);
  EXPECT_NE(self, nullptr);
  EXPECT_EQ(storage->GetInterface(&IID_IStorageSystem), static_cast<void*>(storage));
  EXPECT_EQ(storage->GetInterface(&IID_IStorageItem), static_cast<void*>(static_cast<IStorageItem*>(storage)));
  auto* store = static_cast<IStore*>(storage->GetInterface(&IID_IStore));
  ASSERT_NE(store, nullptr);
  EXPECT_NE(static_cast<void*>(store), static_cast<void*>(storage)) << "the store facet is a second base";
  EXPECT_EQ(store->GetStorageSystem(), storage);
  EXPECT_EQ(Text(store->GetName()), "/");
  EXPECT_NE(storage->GetInterface(&IID_IRegistryStore), nullptr);
  EXPECT_EQ(storage->GetInterface(&IID_IRegistryValue), nullptr);
  const Common::GUID zero;
  EXPECT_EQ(storage->GetInterface(&zero), nullptr);
}

TEST_F(StorageSystemTest, StoreFacetSharesTheReferenceCount) {
  auto* store = static_cast<IStore*>(storage->GetInterface(&IID_IStore));
  EXPECT_EQ(store->AddRef(), 2u);
  EXPECT_EQ(storage->AddRef(), 3u);
  EXPECT_EQ(store->Release(), 2u);
  EXPECT_EQ(storage->Release(), 1u);
}

TEST_F(StorageSystemTest, PropertiesOfTheRegistry) {
  IProperties* properties = storage->GetProperties();
  EXPECT_EQ(properties->GetCapabilities(), 13u);
  EXPECT_EQ(properties->GetTypeMatchFlags(), 125u);
  EXPECT_EQ(properties->GetSeparator(), u'\\');
  EXPECT_EQ(properties->GetAllocator(), GetProcessAllocator());
  EXPECT_NE(properties->GetLock(), nullptr);
  Held<IStorageSystem> other;
  ASSERT_EQ(OpenStorage(SF_READ, &other), ErrorNone);
  EXPECT_NE(other->GetProperties()->GetLock(), properties->GetLock()) << "one lock for each storage system";

  IRegistryProperties* registry = Properties(storage);
  ASSERT_NE(registry, nullptr);
  EXPECT_EQ(static_cast<IProperties*>(registry), properties);
  EXPECT_EQ(registry->GetAccessMask(), 256u);
  EXPECT_EQ(registry->GetSecurityAttributes(), nullptr);
  EXPECT_EQ(registry->GetOptionFlags(), 0u);
  EXPECT_EQ(Text(registry->GetRootText()), "HKEY_CURRENT_USER\\" + Platform::Utf16ToUtf8(sandbox.RootPath()) + "\\");
}

TEST_F(StorageSystemTest, FloatAsStringSetsTheOptionWithANote) {
  LogSetLevel(LogLevelInfo);
  Held<IStorageSystem> text;
  const ErrorCode code = OpenStorage(SF_READ | SF_FLOAT_AS_STRING, &text);
  LogSetLevel(LogLevelWarning);
  ASSERT_EQ(code, ErrorNone);
  EXPECT_EQ(Properties(text.get())->GetOptionFlags(), kOptionFloatAsString);
  EXPECT_TRUE(Logged("Note: floating-point values will be stored as strings in the registry"));
}

TEST_F(StorageSystemTest, InheritOnTheStorageSystemsOwnOpenFails) {
  Held<IStorageSystem> inherited;
  EXPECT_EQ(OpenStorage(SF_READ | SF_INHERIT, &inherited), ErrorInvalidParameter);
  EXPECT_TRUE(Logged("Error 11 (invalid parameter) in function StorageSystem::PrepareAccessMask"));
}

TEST_F(StorageSystemTest, KeyOutsideThePredefinedTableFailsSetPathAndClosesAgain) {
  // An ordinary open key opens fine, but has no text among the predefined keys.
  CStorageSystem system;
  StorageSystemParameters parameters = Parameters();
  parameters.key = sandbox.Root();
  parameters.path = u"";
  EXPECT_EQ(system.Open(&parameters, SF_READ), ErrorInvalidParameter);
  EXPECT_TRUE(
      Logged("Error 11 in function StorageSystem::Registry::CProperties::SetPath: Unknown Registry predefined "
             "key 0x"))
      << capture.Text();
  EXPECT_EQ(system.Delegate().GetKey(), nullptr);
}

Platform::HKEY PredefinedKey8() {
  return reinterpret_cast<Platform::HKEY>(static_cast<std::intptr_t>(static_cast<std::int32_t>(0x80000008u)));
}

TEST_F(StorageSystemTest, PredefinedKeyNumber8IsRefusedByTheRegistryAlreadyAtTheOpen) {
  Held<IStorageSystem> refused;
  StorageSystemParameters parameters = Parameters();
  parameters.key = PredefinedKey8();
  EXPECT_EQ(OpenStorageSystem(parameters, &refused, SF_READ, nullptr, false), ErrorSystem);
  EXPECT_EQ(refused.get(), nullptr);
  EXPECT_TRUE(Logged("Error 2 in function StorageSystem::Registry::CStoreDelegate::OpenOrCreateSubKey: RegOpenKeyExW"))
      << capture.Text();
}

TEST_F(StorageSystemTest, PredefinedKeyNumber8FailsSetPathAndItsKeyIsClosedAgain) {
  // The probe opens the sandbox's hive in place of the key number 8, so that the open succeeds and
  // the storage system's own check of the predefined key has its say.
  Testing::RegistryProbe::OpenKey8As(sandbox.Hive());
  StorageSystemParameters parameters = Parameters();
  parameters.key = PredefinedKey8();
  const std::string report =
      "Error 11 in function StorageSystem::Registry::CProperties::SetPath: Unknown Registry predefined key "
      "0xFFFFFFFF80000008\n";
  {
    CStorageSystem system;
    capture.Clear();
    EXPECT_EQ(system.Open(&parameters, SF_READ), ErrorInvalidParameter);
    // One report, which shows twice on the channel without a debugger.
    EXPECT_EQ(capture.Writes(), (std::vector<std::string>{report, report}));
    EXPECT_NE(Testing::RegistryProbe::Key8Handle(), nullptr) << "the open succeeded";
    EXPECT_TRUE(Testing::RegistryProbe::Key8HandleClosed()) << "and the storage system closed its key again";
    EXPECT_EQ(system.Delegate().GetKey(), nullptr);
  }
  Held<IStorageSystem> refused;
  capture.Clear();
  EXPECT_EQ(OpenStorageSystem(parameters, &refused, SF_READ, nullptr, false), ErrorInvalidParameter);
  Testing::RegistryProbe::OpenKey8As(nullptr);
  EXPECT_EQ(refused.get(), nullptr);
  EXPECT_EQ(capture.Writes(), (std::vector<std::string>{report, report}));
  EXPECT_TRUE(Testing::RegistryProbe::Key8HandleClosed());
}

TEST_F(StorageSystemTest, CloseKeepsTheObjectAndItOpensAgain) {
  CStorageSystem* system = new CStorageSystem();
  StorageSystemParameters parameters = Parameters();
  ASSERT_EQ(system->Open(&parameters, SF_READ), ErrorNone);
  EXPECT_NE(system->Delegate().GetKey(), nullptr);
  system->Close();
  EXPECT_EQ(system->Delegate().GetKey(), nullptr);
  ASSERT_EQ(system->Open(&parameters, SF_READ), ErrorNone);
  EXPECT_NE(system->Delegate().GetKey(), nullptr);
  system->Release();
}

class RecordingReleaseHandler : public IReleaseHandler {
public:
  void OnFinalRelease(Common::IExtensible* storageSystem) override {
    ++calls;
    system = static_cast<IStorageSystem*>(storageSystem->GetInterface(&IID_IStorageSystem));
    auto* delegateOwner = static_cast<CStorageSystem*>(system);
    keyWasClosed = delegateOwner->Delegate().GetKey() == nullptr;
  }
  int calls = 0;
  IStorageSystem* system = nullptr;
  bool keyWasClosed = false;
};

TEST_F(StorageSystemTest, ReleaseHandlerHearsOfTheFinalReleaseAfterTheClose) {
  RecordingReleaseHandler handler;
  IStorageSystem* system = nullptr;
  ASSERT_EQ(OpenStorageSystem(Parameters(), &system, SF_READ, &handler, false), ErrorNone);
  system->AddRef();
  system->Release();
  EXPECT_EQ(handler.calls, 0);
  system->Release();
  EXPECT_EQ(handler.calls, 1);
  EXPECT_EQ(handler.system, system);
  EXPECT_TRUE(handler.keyWasClosed);
}

TEST_F(StorageSystemTest, FailedOpenDoesNotCallTheReleaseHandler) {
  RecordingReleaseHandler handler;
  IStorageSystem* system = nullptr;
  StorageSystemParameters parameters = Parameters(u"Missing");
  EXPECT_EQ(OpenStorageSystem(parameters, &system, SF_READ, &handler, false), ErrorSystem);
  EXPECT_EQ(handler.calls, 0);
}

class TypeCollector : public IEnumTarget {
public:
  ErrorCode OnEnumeratedItem(Common::IExtensible* item, bool* stop) override {
    auto* type = static_cast<ITypeEnumItem*>(item->GetInterface(&IID_ITypeEnumItem));
    names.push_back(Text(type->GetType()->GetName()) + (type->IsNative() ? " native" : ""));
    if (names.size() == stopAfter) *stop = true;
    return ErrorNone;
  }
  std::vector<std::string> names;
  std::size_t stopAfter = 0;
};

TEST_F(StorageSystemTest, EnumTypesOffersTheNativeTypesThenTheCasters) {
  TypeCollector collector;
  ASSERT_EQ(storage->GetProperties()->EnumTypes(&collector), ErrorNone);
  const std::vector<std::string> expected = {"unsigned short * native",
                                             "void * native",
                                             "unsigned long native",
                                             "unsigned short * * native",
                                             "unsigned long long native",
                                             "char",
                                             "signed char",
                                             "unsigned char",
                                             "bool",
                                             "short",
                                             "unsigned short",
                                             "int",
                                             "long",
                                             "long long",
                                             "float",
                                             "double",
                                             "long double",
                                             "__wchar_t"};
  EXPECT_EQ(collector.names, expected);

  TypeCollector stopping;
  stopping.stopAfter = 2;
  ASSERT_EQ(storage->GetProperties()->EnumTypes(&stopping), ErrorNone);
  EXPECT_EQ(stopping.names.size(), 2u);
}

}  // namespace
