// Casters: built-in arithmetic types in a native form of at least their width, raw or as text.
#include "storage_system/registry/built_in_casters.h"

#include <cstring>

#include "foundation/built_in_types.h"
#include "storage_system/registry/registry_properties.h"
#include "tests/storage_system/registry/registry_probe.h"
#include "tests/storage_system/registry/registry_storage_fixture.h"
#include "tests/support/platform_kind.h"
#include "tests/support/system_text.h"

namespace {

using namespace StorageSystem;
using namespace StorageSystem::Registry;
using Testing::Held;
using Testing::Text;

class BuiltInCastersTest : public Testing::RegistryStorageTest {
protected:
  // A storage system on the same key that stores floating-point values as text.
  void OpenTextStorage() { ASSERT_EQ(OpenStorage(SF_READ | SF_WRITE | SF_FLOAT_AS_STRING, &textStorage), ErrorNone); }
  void TearDown() override {
    if (textStorage != nullptr) textStorage->Release();
    RegistryStorageTest::TearDown();
  }

  std::uint64_t RawNumber(const char16_t* name) {
    RawValue raw = GetRaw(nullptr, name);
    std::uint64_t value = 0;
    std::memcpy(&value, raw.data.data(), std::min<std::size_t>(raw.data.size(), 8));
    return value;
  }

  IStorageSystem* textStorage = nullptr;
};

TEST_F(BuiltInCastersTest, TablesHaveThirteenRowsInOrder) {
  const char* declared[] = {"char", "signed char", "unsigned char", "bool",   "short",       "unsigned short", "int",
                            "long", "long long",   "float",         "double", "long double", "__wchar_t"};
  const char* raw[] = {"unsigned long",      "unsigned long", "unsigned long",      "unsigned long",
                       "unsigned long",      "unsigned long", "unsigned long",      "unsigned long",
                       "unsigned long long", "unsigned long", "unsigned long long", "unsigned long long",
                       "unsigned long"};
  const CasterInfo* plain = GetCasterTable(0);
  const CasterInfo* text = GetCasterTable(kOptionFloatAsString);
  for (int i = 0; i < 13; ++i) {
    EXPECT_EQ(Text(plain[i].declaredType->GetName()), declared[i]);
    EXPECT_EQ(Text(plain[i].nativeType->GetName()), raw[i]);
    EXPECT_EQ(text[i].declaredType, plain[i].declaredType);
    const bool floating = i >= 9 && i <= 11;
    EXPECT_EQ(Text(text[i].nativeType->GetName()), floating ? "unsigned short *" : raw[i]);
  }
  EXPECT_EQ(plain[13].declaredType, nullptr);
  EXPECT_EQ(text[13].declaredType, nullptr);
}

TEST_F(BuiltInCastersTest, FirstMatchingRowWins) {
  EXPECT_EQ(FindCaster(0, TypeOfShort())->declaredType, TypeOfShort());
  EXPECT_EQ(FindCaster(0, TypeOfLong())->declaredType, TypeOfInt());
  EXPECT_EQ(FindCaster(0, TypeOfBool())->declaredType, TypeOfUnsignedChar());
  EXPECT_EQ(FindCaster(0, TypeOfLongDouble())->declaredType, TypeOfDouble());
  EXPECT_EQ(FindCaster(0, TypeOfCommonGuid()), nullptr);
}

TEST_F(BuiltInCastersTest, BoolIsADwordAndReadsTheLowByteOnly) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"flag", SF_READ | SF_CREATE, TypeOfBool(), &value), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"flag").type, Platform::REG_DWORD);
  EXPECT_EQ(value->GetDataType(), TypeOfUnsignedChar()) << "the row's type, not the client's";
  EXPECT_EQ(value->GetNativeType(), TypeOfUnsignedLong());
  const bool on = true;
  ASSERT_EQ(value->Write(&on, 1), ErrorNone);
  EXPECT_EQ(RawNumber(u"flag"), 1u);
  ASSERT_EQ(SetRawDword(nullptr, u"flag", 256), Platform::ERROR_SUCCESS);
  unsigned char read = 0xFF;
  ASSERT_EQ(value->Read(&read, 1), ErrorNone);
  EXPECT_EQ(read, 0) << "256 reads as false";
}

TEST_F(BuiltInCastersTest, UnsignedShortMaximumIsStoredAsIs) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"u16", SF_READ | SF_CREATE, TypeOfUnsignedShort(), &value), ErrorNone);
  const std::uint16_t maximum = 65535;
  ASSERT_EQ(value->Write(&maximum, 2), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"u16").type, Platform::REG_DWORD);
  EXPECT_EQ(RawNumber(u"u16"), 65535u);
}

TEST_F(BuiltInCastersTest, ShortHasNoSignExtensionAndIsTruncatedOnReading) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"s16", SF_READ | SF_CREATE, TypeOfShort(), &value), ErrorNone);
  const std::int16_t minusOne = -1;
  ASSERT_EQ(value->Write(&minusOne, 2), ErrorNone);
  EXPECT_EQ(RawNumber(u"s16"), 0x0000FFFFu);
  std::int16_t read = 0;
  ASSERT_EQ(value->Read(&read, 2), ErrorNone);
  EXPECT_EQ(read, -1);
  ASSERT_EQ(SetRawDword(nullptr, u"s16", 70000), Platform::ERROR_SUCCESS);
  ASSERT_EQ(value->Read(&read, 2), ErrorNone);
  EXPECT_EQ(read, 4464);
}

TEST_F(BuiltInCastersTest, LongIsStoredThroughTheRowOfInt) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"l", SF_READ | SF_CREATE, TypeOfLong(), &value), ErrorNone);
  EXPECT_EQ(value->GetDataType(), TypeOfInt());
  const std::int32_t written = -5;
  ASSERT_EQ(value->Write(&written, 4), ErrorNone);
  EXPECT_EQ(RawNumber(u"l"), 0xFFFFFFFBu);
}

TEST_F(BuiltInCastersTest, LongLongIsAQword) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"ll", SF_READ | SF_CREATE, TypeOfLongLong(), &value), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"ll").type, Platform::REG_QWORD);
  const std::int64_t written = -2;
  ASSERT_EQ(value->Write(&written, 8), ErrorNone);
  std::int64_t read = 0;
  ASSERT_EQ(value->Read(&read, 8), ErrorNone);
  EXPECT_EQ(read, -2);
}

TEST_F(BuiltInCastersTest, FloatIsADwordOfItsBitsWithTheOptionClear) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"f", SF_READ | SF_CREATE, TypeOfFloat(), &value), ErrorNone);
  const float written = 1.5f;
  ASSERT_EQ(value->Write(&written, 4), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"f").type, Platform::REG_DWORD);
  EXPECT_EQ(RawNumber(u"f"), 0x3FC00000u);
  float read = 0;
  ASSERT_EQ(value->Read(&read, 4), ErrorNone);
  EXPECT_EQ(read, 1.5f);
}

TEST_F(BuiltInCastersTest, DoubleIsAQwordOfItsBitsWithTheOptionClear) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"d", SF_READ | SF_CREATE, TypeOfDouble(), &value), ErrorNone);
  const double written = -0.25;
  ASSERT_EQ(value->Write(&written, 8), ErrorNone);
  std::uint64_t bits = 0;
  std::memcpy(&bits, &written, 8);
  EXPECT_EQ(RawNumber(u"d"), bits);
}

TEST_F(BuiltInCastersTest, FloatIsTextWithTheOptionSet) {
  OpenTextStorage();
  Held<IRegistryValue> value;
  ASSERT_EQ(textStorage->OpenValue(u"f", &value, SF_READ | SF_CREATE, TypeOfFloat(), nullptr, 0), ErrorNone);
  EXPECT_EQ(value->GetNativeType(), TypeOfWideString());
  const float written = 1.5f;
  ASSERT_EQ(value->Write(&written, 4), ErrorNone);
  RawValue raw = GetRaw(nullptr, u"f");
  EXPECT_EQ(raw.type, Platform::REG_SZ);
  EXPECT_EQ(raw.AsText(), "1.500000");
  // The text is written without its terminator; the registry stores the one that follows it.
  EXPECT_EQ(raw.data.size(), 18u);
}

TEST_F(BuiltInCastersTest, TextIsScannedBackWithTheRowsFormat) {
  OpenTextStorage();
  Held<IRegistryValue> single;
  ASSERT_EQ(textStorage->OpenValue(u"f", &single, SF_READ | SF_CREATE, TypeOfFloat(), nullptr, 0), ErrorNone);
  ASSERT_EQ(SetRawString(nullptr, u"f", u"2.25"), Platform::ERROR_SUCCESS);
  float read = 0;
  ASSERT_EQ(single->Read(&read, 4), ErrorNone) << capture.Text();
  EXPECT_EQ(read, 2.25f);

  Held<IRegistryValue> twice;
  ASSERT_EQ(textStorage->OpenValue(u"d", &twice, SF_READ | SF_CREATE, TypeOfDouble(), nullptr, 0), ErrorNone);
  const double written = 3.125;
  ASSERT_EQ(twice->Write(&written, 8), ErrorNone);
  EXPECT_EQ(GetRaw(nullptr, u"d").AsText(), "3.125000");
  double back = 0;
  ASSERT_EQ(twice->Read(&back, 8), ErrorNone);
  EXPECT_EQ(back, 3.125);
}

TEST_F(BuiltInCastersTest, TextThatDoesNotScanCannotBeRead) {
  OpenTextStorage();
  Held<IRegistryValue> value;
  ASSERT_EQ(textStorage->OpenValue(u"f", &value, SF_READ | SF_CREATE, TypeOfFloat(), nullptr, 0), ErrorNone);
  ASSERT_EQ(SetRawString(nullptr, u"f", u"not a number"), Platform::ERROR_SUCCESS);
  float read = 0;
  EXPECT_EQ(value->Read(&read, 4), ErrorCannotRead);
  EXPECT_TRUE(
      Logged("Error 6 (cannot read resource) in function StorageSystem::BuiltInCasterCategory<unsigned short "
             "*>::CBuiltInCasterValue<float,class StorageSystem::Registry::CNativeValue>::Read"));
}

TEST_F(BuiltInCastersTest, TextThatDoesNotFitGoesToTheRegistryAsTwiceMinusOneBytesAndTheWriteFails) {
  OpenTextStorage();
  Held<IRegistryValue> value;
  ASSERT_EQ(textStorage->OpenValue(u"d", &value, SF_READ | SF_WRITE | SF_CREATE, TypeOfDouble(), nullptr, 0),
            ErrorNone);
  const RawValue before = GetRaw(nullptr, u"d");
  capture.Clear();
  // 1e300 takes 308 characters in "%lf": the formatter answers -1, and twice that goes on as the
  // size. The probe answers for the registry, which could not read that much.
  Testing::RegistryProbe::RefuseNextWriteAbove(64);
  const double huge = 1e300;
  EXPECT_EQ(value->Write(&huge, 8), ErrorSystem);
  EXPECT_EQ(Testing::RegistryProbe::RefusedWriteSize(), 0xFFFFFFFEu);
  const std::string systemText = Testing::SystemText(Platform::ERROR_NOACCESS);
  const std::string report =
      "Error 2 in function StorageSystem::Registry::ATypeIOHandlerBase<1,1>::Write: "
      "RegSetKeyValueW raised error 998: " +
      (systemText.empty() ? std::string("Unknown system error") : systemText) + "\n";
  // One report, which shows twice on the channel without a debugger.
  EXPECT_EQ(capture.Writes(), (std::vector<std::string>{report, report}));
  const RawValue after = GetRaw(nullptr, u"d");
  EXPECT_EQ(after.type, before.type);
  EXPECT_EQ(after.data, before.data);
}

TEST_F(BuiltInCastersTest, ReadReallocGivesABlockOfTheDeclaredWidth) {
  ASSERT_EQ(SetRawDword(nullptr, u"c", 0x141), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"c", SF_READ, TypeOfUnsignedChar(), &value), ErrorNone);
  void* buffer = nullptr;
  std::uint32_t capacity = 0;
  std::uint32_t size = 0;
  ASSERT_EQ(value->ReadRealloc(&buffer, &capacity, &size), ErrorNone);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(capacity, 1u);
  EXPECT_EQ(*static_cast<unsigned char*>(buffer), 0x41);
  storage->GetProperties()->GetAllocator()->Free(buffer);
}

TEST_F(BuiltInCastersTest, WideCharacterIsADword) {
  Held<IRegistryValue> value;
  ASSERT_EQ(OpenValue(u"w", SF_READ | SF_CREATE, TypeOfWchar(), &value), ErrorNone);
  const char16_t letter = u'Z';
  ASSERT_EQ(value->Write(&letter, 2), ErrorNone);
  EXPECT_EQ(RawNumber(u"w"), static_cast<std::uint64_t>(u'Z'));
}

TEST_F(BuiltInCastersTest, CasterValueOnAStringOfAnotherTypeIsRefused) {
  ASSERT_EQ(SetRawString(nullptr, u"i", u"12"), Platform::ERROR_SUCCESS);
  Held<IRegistryValue> value;
  EXPECT_EQ(OpenValue(u"i", SF_READ, TypeOfInt(), &value), ErrorCannotOpen);
  EXPECT_TRUE(Logged("cannot store type unsigned long: registry type already set to 1 (unsigned short *)."));
}

}  // namespace
