// Native registry values: type reconciliation, defaults, access checks, and the five types read and
// written through their handlers.
#include "storage_system/registry/native_value.h"

#include <cstring>

#include "foundation/built_in_types.h"
#include "foundation/log.h"
#include "platform/environment.h"
#include "storage_system/registry/native_type_table.h"
#include "tests/support/child_process.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"
#include "tests/support/system_text.h"
#include "tests/support/wine.h"

namespace {

using namespace StorageSystem;
using namespace StorageSystem::Registry;
using Testing::Held;
using Testing::Text;

class NativeValueTest : public Testing::RegistryStorageTest {
protected:
  Platform::DWORD RawDword(const char16_t* subKey, const char16_t* name) {
    RawValue raw = GetRaw(subKey, name);
    Platform::DWORD value = 0;
    if (raw.status == 0 && raw.data.size() >= 4) std::memcpy(&value, raw.data.data(), 4);
    return value;
  }
};

TEST_F(NativeValueTest, NativeTableHasTheFiveTypesInOrder) {
  const NativeTypeInfo* row = GetNativeTypeTable();
  const Platform::DWORD ids[] = {1, 3, 4, 7, 11};
  const char* names[] = {"unsigned short *", "void *", "unsigned long", "unsigned short * *", "unsigned long long"};
  const std::uint32_t defaults[] = {2, 0, 4, 4, 8};
  const bool variable[] = {true, true, false, true, false};
  for (int i = 0; i < 5; ++i, ++row) {
    EXPECT_EQ(row->id, ids[i]);
    EXPECT_EQ(Text(row->type->GetName()), names[i]);
    EXPECT_EQ(row->defaultSize, defaults[i]);
    EXPECT_EQ(row->variableSize, variable[i]);
  }
  EXPECT_EQ(row->id, 0u);
}

TEST_F(NativeValueTest, UnsignedIntIsNativeAndIntIsNot) {
  EXPECT_TRUE(IsNativeType(TypeOfUnsignedInt()));
  EXPECT_FALSE(IsNativeType(TypeOfInt()));
  EXPECT_FALSE(IsNativeType(TypeOfCommonGuid()));
  const NativeTypeInfo* row = nullptr;
  EXPECT_EQ(GetNativeTypeInfo(TypeOfInt(), &row), ErrorNotSupported);
  EXPECT_TRUE(
      Logged("Error 15 in function StorageSystem::Registry::GetNativeTypeInfo: No native support for data type "
             "int"));
}

TEST_F(NativeValueTest, DeclaredUnsignedIntIsStoredAsDword) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"n", SF_READ | SF_CREATE, TypeOfUnsignedInt(), &value), ErrorNone) << capture.Text();
  RawValue raw = GetRaw(nullptr, u"n");
  EXPECT_EQ(raw.type, Platform::REG_DWORD);
  EXPECT_EQ(raw.data, std::vector<unsigned char>(4, 0)) << "the default of the row";
  EXPECT_EQ(value->GetNativeType(), TypeOfUnsignedLong());
  EXPECT_EQ(value->GetDataType(), TypeOfUnsignedLong());
  EXPECT_TRUE(value->MatchType(TypeOfUnsignedInt()));
  EXPECT_FALSE(value->MatchType(TypeOfInt()));
  const std::uint32_t written = 0xDEADBEEF;
  ASSERT_EQ(value->Write(&written, 4), ErrorNone);
  EXPECT_EQ(RawDword(nullptr, u"n"), 0xDEADBEEF);
  std::uint32_t read = 0;
  ASSERT_EQ(value->Read(&read, 4), ErrorNone);
  EXPECT_EQ(read, 0xDEADBEEF);
}

TEST_F(NativeValueTest, StringOpenedAsUnsignedLongForReadingFailsNamingBothTypes) {
  ASSERT_EQ(SetRawString(nullptr, u"s", u"text"), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"s", SF_READ, TypeOfUnsignedLong(), &value), ErrorCannotOpen);
  EXPECT_TRUE(
      Logged("Error 5 in function StorageSystem::Registry::CNativeValue::RegTestValue: Registry value 's' cannot "
             "store type unsigned long: registry type already set to 1 (unsigned short *)."))
      << capture.Text();
  EXPECT_EQ(GetRaw(nullptr, u"s").type, Platform::REG_SZ);
}

TEST_F(NativeValueTest, StringIsResetToADwordWhenAllThreeFlagsAskForIt) {
  ASSERT_EQ(SetRawString(u"k", u"s", u"text"), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"k/s", SF_READ | SF_WRITE | SF_CREATE | SF_RESET_ON_TYPE_MISMATCH, TypeOfUnsignedLong(), &value),
            ErrorNone);
  EXPECT_TRUE(
      Logged("WARNING: Registry value 'k\\s' has unexpected type ID 1 (unsigned short *). Trying to reset the "
             "value in order to store type unsigned long."))
      << capture.Text();
  RawValue raw = GetRaw(u"k", u"s");
  EXPECT_EQ(raw.type, Platform::REG_DWORD);
  EXPECT_EQ(raw.data, std::vector<unsigned char>(4, 0));
}

TEST_F(NativeValueTest, MissingValueWithoutCreateIsNotFound) {
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"a/missing", SF_READ, TypeOfUnsignedInt(), &value), ErrorNotFound);
  EXPECT_TRUE(
      Logged("Error 14 in function StorageSystem::Registry::CNativeValue::RegTestValue: Value 'a\\missing' does "
             "not exist"))
      << capture.Text();
}

TEST_F(NativeValueTest, OpenAlwaysDoesNotCreateAndTheFirstReadFailsWithTheSystemsNotFound) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"later", SF_READ | SF_OPEN_ALWAYS, TypeOfUnsignedInt(), &value), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"later").status, Platform::ERROR_FILE_NOT_FOUND);
  std::uint32_t data = 0;
  EXPECT_EQ(value->Read(&data, 4), ErrorSystem);
  EXPECT_TRUE(
      Logged("Error 2 in function StorageSystem::Registry::ATypeIOHandlerBase<4,0>::Read: RegGetValueW raised "
             "error 2: " +
             Testing::SystemText(Platform::ERROR_FILE_NOT_FOUND)))
      << capture.Text();
  // Created later by someone else, the next read sees it.
  ASSERT_EQ(SetRawDword(nullptr, u"later", 42), Platform::ERROR_SUCCESS);
  EXPECT_EQ(value->Read(&data, 4), ErrorNone);
  EXPECT_EQ(data, 42u);
}

TEST_F(NativeValueTest, OpenAlwaysWithCreateStillDoesNotCreate) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"maybe", SF_READ | SF_CREATE | SF_OPEN_ALWAYS, TypeOfUnsignedInt(), &value), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"maybe").status, Platform::ERROR_FILE_NOT_FOUND);
}

TEST_F(NativeValueTest, WithoutTypeTheRegistryTypeIsTaken) {
  ASSERT_EQ(SetRawString(nullptr, u"s", u"hello"), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"s", SF_READ, nullptr, &value), ErrorNone);
  EXPECT_EQ(value->GetDataType(), TypeOfWideString());
  char16_t text[16] = {};
  ASSERT_EQ(value->Read(text, sizeof text), ErrorNone);
  EXPECT_EQ(Text(text), "hello");
}

TEST_F(NativeValueTest, WithoutTypeAMissingValueCannotBeDeduced) {
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"k/none", SF_READ | SF_OPEN_ALWAYS, nullptr, &value), ErrorCannotOpen);
  EXPECT_TRUE(
      Logged("Error 5 in function StorageSystem::Registry::CNativeValue::Initialize: Cannot deduce data type "
             "from Registry for value 'k\\none'"));
}

TEST_F(NativeValueTest, TypeWithoutARowCannotBeOpened) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine's RegGetValueW refuses types without a restriction flag even under RRF_RT_ANY";
  }
  const unsigned char bigEndian[4] = {0, 0, 0, 1};
  ASSERT_EQ(SetRaw(nullptr, u"x", Platform::REG_DWORD_BIG_ENDIAN, bigEndian, 4), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"x", SF_READ, nullptr, &value), ErrorNotSupported);
  EXPECT_TRUE(
      Logged("Error 15 in function StorageSystem::Registry::GetNativeTypeInfo: Value type 5 is not currently "
             "supported"));
  ASSERT_EQ(SetRaw(nullptr, u"none", Platform::REG_NONE, nullptr, 0), Platform::ERROR_SUCCESS);
  EXPECT_EQ(OpenValue(u"none", SF_READ, nullptr, &value), ErrorNotSupported);
  EXPECT_TRUE(Logged("Value type 0 is not currently supported"));
}

TEST_F(NativeValueTest, ExpandStringOpensAsAPlainStringBecauseTheTypeTestReadsItExpanded) {
  // The type test reads with any type allowed and without RRF_NOEXPAND, so the registry hands an
  // expandable string over expanded, as REG_SZ, and the value opens as a string; reads expand it
  // too. Enumeration alone shows its own type.
  ASSERT_TRUE(Platform::SetEnvironmentVariableW(u"HALCYRA_EXPAND_TEST", u"expanded"));
  const std::u16string text = u"%HALCYRA_EXPAND_TEST%/x";
  ASSERT_EQ(SetRaw(nullptr, u"x", Platform::REG_EXPAND_SZ, text.c_str(),
                   static_cast<Platform::DWORD>((text.size() + 1) * sizeof(char16_t))),
            Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"x", SF_READ, nullptr, &value), ErrorNone);
  EXPECT_EQ(value->GetNativeType(), TypeOfWideString());
  char16_t read[32] = {};
  ASSERT_EQ(value->Read(read, sizeof read), ErrorNone);
  EXPECT_EQ(Text(read), "expanded/x");
  EXPECT_EQ(GetRaw(nullptr, u"x").type, static_cast<Platform::DWORD>(Platform::REG_EXPAND_SZ)) << "stored as it was";
  Platform::SetEnvironmentVariableW(u"HALCYRA_EXPAND_TEST", nullptr);
}

TEST_F(NativeValueTest, ReadAndWriteNeedTheirRights) {
  ASSERT_EQ(SetRawDword(nullptr, u"v", 1), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> writeOnly;
  ASSERT_EQ(OpenValue(u"v", SF_WRITE, TypeOfUnsignedInt(), &writeOnly), ErrorNone);
  std::uint32_t data = 0;
  EXPECT_EQ(writeOnly->Read(&data, 4), ErrorCannotRead);
  EXPECT_TRUE(
      Logged("Error 6 in function StorageSystem::Registry::CNativeValue::Read: Read access denied for Registry "
             "value 'v'"));
  void* buffer = nullptr;
  std::uint32_t capacity = 0;
  EXPECT_EQ(writeOnly->ReadRealloc(&buffer, &capacity, nullptr), ErrorCannotRead);
  EXPECT_TRUE(Logged("Error 6 in function StorageSystem::Registry::CNativeValue::ReadRealloc"));
  Held<IRegistryValue> readOnly;
  ASSERT_EQ(OpenValue(u"v", SF_READ, TypeOfUnsignedInt(), &readOnly), ErrorNone);
  EXPECT_EQ(readOnly->Write(&data, 4), ErrorCannotWrite);
  EXPECT_TRUE(
      Logged("Error 7 in function StorageSystem::Registry::CNativeValue::Write: Write access denied for Registry "
             "value 'v'"));
}

TEST_F(NativeValueTest, DefaultDataGoesThroughWrite) {
  const std::uint64_t initial = 0x0102030405060708ull;
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"q", SF_READ | SF_CREATE, TypeOfUnsignedLongLong(), &value, &initial, 8), ErrorNone);
  RawValue raw = GetRaw(nullptr, u"q");
  EXPECT_EQ(raw.type, Platform::REG_QWORD);
  std::uint64_t stored = 0;
  std::memcpy(&stored, raw.data.data(), 8);
  EXPECT_EQ(stored, initial);
  // An existing value keeps what it holds.
  const std::uint64_t other = 5;
  Held<IRegistryValue> again;
  ASSERT_EQ(OpenValue(u"q", SF_READ | SF_CREATE, TypeOfUnsignedLongLong(), &again, &other, 8), ErrorNone);
  std::uint64_t read = 0;
  ASSERT_EQ(again->Read(&read, 8), ErrorNone);
  EXPECT_EQ(read, initial);
}

TEST_F(NativeValueTest, ValueWithItsOwnKeyReadsAndWrites) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"own/v", SF_READ | SF_CREATE | SF_KEEP_OPEN, TypeOfUnsignedInt(), &value), ErrorNone);
  const std::uint32_t written = 99;
  ASSERT_EQ(value->Write(&written, 4), ErrorNone);
  EXPECT_EQ(RawDword(u"own", u"v"), 99u);
}

TEST_F(NativeValueTest, MissingSubKeyOfAValueInAVolatileStoreIsCreatedVolatile) {
  Held<IStore> volatileStore;
  ASSERT_EQ(storage->OpenStore(u"vol", &volatileStore, SF_READ | SF_WRITE | SF_CREATE | SF_VOLATILE), ErrorNone);
  Held<IRegistryValue> value;
  ASSERT_EQ(
      volatileStore->OpenValue(u"sub/v", &value, SF_READ | SF_CREATE | SF_VOLATILE, TypeOfUnsignedInt(), nullptr, 0),
      ErrorNone)
      << capture.Text();
  EXPECT_EQ(GetRaw(u"vol\\sub", u"v").type, Platform::REG_DWORD);
  // Only a volatile key refuses a persistent child.
  Platform::HKEY sub = nullptr;
  ASSERT_EQ(Platform::RegOpenKeyExW(sandbox.Root(), u"vol\\sub", 0, Platform::KEY_ALL_ACCESS, &sub), 0);
  Platform::HKEY child = nullptr;
  EXPECT_EQ(Platform::RegCreateKeyExW(sub, u"persistent", 0, nullptr, Platform::REG_OPTION_NON_VOLATILE,
                                      Platform::KEY_ALL_ACCESS, nullptr, &child, nullptr),
            Platform::ERROR_CHILD_MUST_BE_VOLATILE);
  Platform::RegCloseKey(sub);
}

TEST_F(NativeValueTest, StringReadReallocRoundsUpToAPowerOfTwoOfAtLeast64) {
  ASSERT_EQ(SetRawString(nullptr, u"long", std::u16string(49, u'x')), Platform::ERROR_SUCCESS);
  ASSERT_EQ(SetRawString(nullptr, u"short", u"abcd"), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> longValue;
  Held<IRegistryValue> shortValue;
  ASSERT_EQ(OpenValue(u"long", SF_READ, TypeOfWideString(), &longValue), ErrorNone);
  ASSERT_EQ(OpenValue(u"short", SF_READ, TypeOfWideString(), &shortValue), ErrorNone);

  void* buffer = nullptr;
  std::uint32_t capacity = 0;
  std::uint32_t size = 0;
  ASSERT_EQ(longValue->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(size, 100u);
  EXPECT_EQ(capacity, 128u);
  EXPECT_EQ(Text(static_cast<char16_t*>(buffer)), std::string(49, 'x'));
  storage->GetProperties()->GetAllocator()->Free(buffer);

  buffer = nullptr;
  capacity = 0;
  ASSERT_EQ(shortValue->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(size, 10u);
  EXPECT_EQ(capacity, 64u);
  // The block is large enough for the long one next time only after one more round.
  ASSERT_EQ(longValue->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(capacity, 128u);
  EXPECT_EQ(size, 100u);
  // And it is kept when the value fits.
  void* kept = buffer;
  ASSERT_EQ(shortValue->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(buffer, kept);
  EXPECT_EQ(size, 10u);
  storage->GetProperties()->GetAllocator()->Free(buffer);
}

TEST_F(NativeValueTest, DwordReadReallocIntoASmallBlockAllocatesAndLeavesTheCapacity) {
  ASSERT_EQ(SetRawDword(nullptr, u"d", 1234), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"d", SF_READ, TypeOfUnsignedInt(), &value), ErrorNone);
  IAllocator* allocator = storage->GetProperties()->GetAllocator();
  void* buffer = allocator->Alloc(2);
  std::uint32_t capacity = 2;
  std::uint32_t size = 0;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(capacity, 2u) << "left as it was, on purpose";
  std::uint32_t read = 0;
  std::memcpy(&read, buffer, 4);
  EXPECT_EQ(read, 1234u);
  void* first = buffer;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_NE(buffer, first) << "a second call reallocates again";
  allocator->Free(buffer);
}

TEST_F(NativeValueTest, BinaryRoundTrip) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"b", SF_READ | SF_CREATE, TypeOfBinary(), &value), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"b").type, Platform::REG_BINARY);
  EXPECT_TRUE(GetRaw(nullptr, u"b").data.empty());
  const unsigned char bytes[5] = {1, 2, 3, 4, 5};
  ASSERT_EQ(value->Write(bytes, 5), ErrorNone);
  unsigned char read[8] = {};
  ASSERT_EQ(value->Read(read, sizeof read), ErrorNone);
  EXPECT_EQ(std::memcmp(read, bytes, 5), 0);
  unsigned char small[2];
  EXPECT_EQ(value->Read(small, sizeof small), ErrorSystem);
  EXPECT_TRUE(Logged("RegGetValueW raised error 234"));
}

TEST_F(NativeValueTest, MultiStringRoundTrip) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"m", SF_READ | SF_CREATE, TypeOfWideStringArray(), &value), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"m").type, Platform::REG_MULTI_SZ);
  const char16_t* strings[] = {u"one", u"two", u"", u"ignored", nullptr};
  ASSERT_EQ(value->Write(strings, 0), ErrorNone);
  RawValue raw = GetRaw(nullptr, u"m");
  const std::u16string expected(u"one\0two\0\0", 9);
  ASSERT_EQ(raw.data.size(), expected.size() * 2);
  EXPECT_EQ(std::memcmp(raw.data.data(), expected.data(), raw.data.size()), 0);

  void* buffer = nullptr;
  std::uint32_t capacity = 0;
  std::uint32_t size = 0;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  auto** read = static_cast<char16_t**>(buffer);
  ASSERT_NE(read[0], nullptr);
  EXPECT_EQ(Text(read[0]), "one");
  ASSERT_NE(read[1], nullptr);
  EXPECT_EQ(Text(read[1]), "two");
  EXPECT_EQ(read[2], nullptr);
  EXPECT_EQ(size, (8u + 4 * 3) * 2);
  EXPECT_EQ(capacity, size);
  storage->GetProperties()->GetAllocator()->Free(buffer);

  char16_t plain[8];
  EXPECT_EQ(value->Read(plain, sizeof plain), ErrorNotSupported);
  EXPECT_TRUE(
      Logged("Error 15 (this feature is not supported) in function "
             "StorageSystem::Registry::CMultiSZIOHandler::Read"));
}

TEST_F(NativeValueTest, MultiStringOfNoStringsReadsAsOnlyTheNullPointer) {
  const char16_t empty[2] = {0, 0};
  ASSERT_EQ(SetRaw(nullptr, u"m", Platform::REG_MULTI_SZ, empty, 4), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"m", SF_READ, nullptr, &value), ErrorNone);
  void* buffer = nullptr;
  std::uint32_t capacity = 0;
  std::uint32_t size = 0;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(static_cast<char16_t**>(buffer)[0], nullptr);
  EXPECT_EQ(size, 8u);
  storage->GetProperties()->GetAllocator()->Free(buffer);

  Held<IRegistryValue> writable;
  ASSERT_EQ(OpenValue(u"m2", SF_READ | SF_CREATE, TypeOfWideStringArray(), &writable), ErrorNone);
  ASSERT_EQ(writable->Write(nullptr, 0), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"m2").data.size(), 2u) << "a null array is an empty one: one terminator";
}

TEST_F(NativeValueTest, ValueEditedByAnotherPartyToAnotherTypeBeforeTheOpenIsRefused) {
  ASSERT_EQ(SetRawString(nullptr, u"d", u"oops"), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"d", SF_READ | SF_WRITE, TypeOfUnsignedInt(), &value), ErrorCannotOpen);
  EXPECT_TRUE(Logged("registry type already set to 1 (unsigned short *)."));
}

TEST_F(NativeValueTest, ValueEditedByAnotherPartyToAnotherTypeAfterTheOpenFailsToRead) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"d", SF_READ | SF_CREATE, TypeOfUnsignedInt(), &value), ErrorNone);
  ASSERT_EQ(SetRawString(nullptr, u"d", u"oops"), Platform::ERROR_SUCCESS);
  std::uint32_t data = 0;
  // The type restriction of the read refuses the value before its type can be looked at.
  EXPECT_EQ(value->Read(&data, 4), ErrorSystem);
  EXPECT_TRUE(
      Logged("Error 2 in function StorageSystem::Registry::ATypeIOHandlerBase<4,0>::Read: RegGetValueW raised "
             "error 1630"))
      << capture.Text();
}

TEST_F(NativeValueTest, UninitializeReleasesNamesAndKeepsTheObject) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"u/v", SF_READ | SF_CREATE | SF_KEEP_OPEN, TypeOfUnsignedInt(), &value), ErrorNone);
  EXPECT_EQ(Text(value->GetName()), "v");
  value->Uninitialize();
  EXPECT_EQ(value->GetName(), nullptr);
  EXPECT_EQ(value->GetNativeType(), nullptr);
  EXPECT_EQ(value->GetFlags(), 0u);
}

#ifdef HALCYRA_REG_TOOL
TEST_F(NativeValueTest, ValueRetypedByAnotherProcessFailsToRead) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"retyped", SF_READ | SF_CREATE, TypeOfUnsignedInt(), &value), ErrorNone);
  Testing::ChildProcess::Result added = Testing::ChildProcess::Run(
      HALCYRA_REG_TOOL, {"add", sandbox.RootCommandPath(), "/v", "retyped", "/t", "REG_SZ", "/d", "text", "/f"});
  ASSERT_EQ(added.exitCode, 0) << added.output << added.error;
  std::uint32_t data = 0;
  EXPECT_EQ(value->Read(&data, 4), ErrorSystem);
  EXPECT_TRUE(
      Logged("Error 2 in function StorageSystem::Registry::ATypeIOHandlerBase<4,0>::Read: RegGetValueW raised "
             "error 1630"))
      << capture.Text();
  Held<IRegistryValue> reopened;
  EXPECT_EQ(OpenValue(u"retyped", SF_READ, TypeOfUnsignedInt(), &reopened), ErrorCannotOpen);
  EXPECT_TRUE(
      Logged("Registry value 'retyped' cannot store type unsigned int: registry type already set to 1 "
             "(unsigned short *)."));
}
#endif

}  // namespace
