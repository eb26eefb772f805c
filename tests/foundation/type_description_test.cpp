// Type descriptions: the table of built-in types, composed names, and every diagnostic of the
// match under the flag words in use.
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/built_in_types.h"
#include "foundation/guid.h"
#include "foundation/log.h"
#include "foundation/type_member.h"
#include "platform/utf.h"

namespace {

// Collects the log lines of the test at every level up to the match diagnostics.
class LogCapture : public ILogSink {
public:
  LogCapture() : m_oldLevel(LogGetLevel()) {
    LogSetLevel(LogLevelMatch);
    LogSetSink(this);
  }
  ~LogCapture() override {
    LogSetSink(nullptr);
    LogSetLevel(m_oldLevel);
  }
  void WriteLine(const char16_t* line, const char* tag) override {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_lines.push_back(Platform::Utf16ToUtf8(line));
  }
  void WriteLineA(const char* line, const char* tag) override {
    std::lock_guard<std::mutex> guard(m_mutex);
    m_lines.emplace_back(line);
  }
  std::vector<std::string> Lines() {
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_lines;
  }
  bool Contains(const std::string& line) {
    for (const std::string& candidate : Lines()) {
      if (candidate == line) return true;
    }
    return false;
  }

private:
  int m_oldLevel;
  std::mutex m_mutex;
  std::vector<std::string> m_lines;
};

std::string Name(const ITypeDescription* type) { return Platform::Utf16ToUtf8(type->GetName()); }

class TypeDescriptionTest : public ::testing::Test {
protected:
  LogCapture log;
};

struct Row {
  const ITypeDescription* type;
  const char* name;
  std::uint32_t typeClass;
  std::uint32_t typeTraits;
  std::uint32_t size;
  std::uint32_t alignment;
};

TEST_F(TypeDescriptionTest, BuiltInTypesHaveTheWordsSizesAndAlignmentsOfTheTable) {
  const Row rows[] = {
      {TypeOfVoid(), "void", 0x10000001, 0x8, 0xFFFFFFFF, 0xFFFFFFFF},
      {TypeOfBool(), "bool", 0x11110004, 0x798, 1, 1},
      {TypeOfUnsignedChar(), "unsigned char", 0x11110004, 0x798, 1, 1},
      {TypeOfUnsignedShort(), "unsigned short", 0x11110004, 0x798, 2, 2},
      {TypeOfUnsignedInt(), "unsigned int", 0x11110004, 0x798, 4, 4},
      {TypeOfUnsignedLong(), "unsigned long", 0x11110004, 0x798, 4, 4},
      {TypeOfUnsignedLongLong(), "unsigned long long", 0x11110004, 0x798, 8, 8},
      {TypeOfSignedChar(), "signed char", 0x11110004, 0x3D8, 1, 1},
      {TypeOfChar(), "char", 0x11110004, 0x3D8, 1, 1},
      {TypeOfShort(), "short", 0x11110004, 0x3D8, 2, 2},
      {TypeOfInt(), "int", 0x11110004, 0x3D8, 4, 4},
      {TypeOfLong(), "long", 0x11110004, 0x3D8, 4, 4},
      {TypeOfLongLong(), "long long", 0x11110004, 0x3D8, 8, 8},
      {TypeOfFloat(), "float", 0x11110008, 0x3D8, 4, 4},
      {TypeOfDouble(), "double", 0x11110008, 0x3D8, 8, 8},
      {TypeOfLongDouble(), "long double", 0x11110008, 0x3D8, 8, 8},
      {TypeOfWchar(), "__wchar_t", 0x21000000, 0x398, 2, 2},
      {TypeOfCommonGuid(), "Common::GUID", 0x21000200, 0x80, 16, 1},
      {TypeOfGuid(), "GUID", 0x21000200, 0x398, 16, 4},
      {TypeOfWideString(), "unsigned short *", 0x21100010, 0x398, 8, 8},
      {TypeOfBinary(), "void *", 0x21100010, 0x398, 8, 8},
      {TypeOfWideStringArray(), "unsigned short * *", 0x21100010, 0x398, 8, 8},
      {TypeOfWcharPointer(), "__wchar_t *", 0x21100010, 0x398, 8, 8},
      {TypeOfArray<TypeOfUnsignedChar, 8>(), "unsigned char[8]", 0x21000400, 0x398, 8, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Name(row.type), row.name);
    EXPECT_EQ(row.type->GetTraits()->typeClass, row.typeClass);
    EXPECT_EQ(row.type->GetTraits()->typeTraits, row.typeTraits);
    EXPECT_EQ(row.type->GetSize(), row.size);
    EXPECT_EQ(row.type->GetAlignment(), row.alignment);
    EXPECT_EQ(row.type->GetSelfType(), row.type);
    EXPECT_EQ(row.type->GetReserved(), nullptr);
    EXPECT_EQ(row.type->QueryTargetA(), nullptr);
    EXPECT_EQ(row.type->QueryTargetD(), nullptr);
    EXPECT_EQ(row.type->QueryTargetE(), nullptr);
  }
}

TEST_F(TypeDescriptionTest, EachTypeHasExactlyOneDescription) {
  EXPECT_EQ(TypeOfInt(), TypeOfInt());
  EXPECT_EQ(TypeOfWideString(), TypeOfPointer<TypeOfUnsignedShort>());
  EXPECT_EQ(TypeDescriptionOf<std::uint32_t>(), TypeOfUnsignedInt());
  EXPECT_EQ(TypeDescriptionOf<const char16_t*>(), TypeOfWideString());
  EXPECT_EQ(TypeDescriptionOf<Common::GUID>(), TypeOfCommonGuid());
  EXPECT_EQ(TypeDescriptionOf<Platform::GUID>(), TypeOfGuid());
  EXPECT_NE(TypeOfUnsignedInt(), TypeOfUnsignedLong());
}

TEST_F(TypeDescriptionTest, SingletonsAndNamesCanBeAskedForFirstFromManyThreads) {
  std::vector<std::thread> threads;
  std::vector<const char16_t*> names(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&names, i] { names[i] = TypeOfPointer<TypeOfWideStringArray>()->GetName(); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const char16_t* name : names) EXPECT_EQ(name, names[0]);
  EXPECT_EQ(Platform::Utf16ToUtf8(names[0]), "unsigned short * * *");
}

TEST_F(TypeDescriptionTest, PointersKnowTheirPointeeAndArraysTheirElementAndBounds) {
  EXPECT_EQ(TypeOfWideString()->QueryPointee(), TypeOfUnsignedShort());
  EXPECT_EQ(TypeOfWideString()->QueryElement(), nullptr);
  EXPECT_EQ(TypeOfWideString()->GetArrayLowerBound(), -1);
  EXPECT_EQ(TypeOfWideString()->GetArrayCount(), -1);
  const ITypeDescription* data4 = TypeOfArray<TypeOfUnsignedChar, 8>();
  EXPECT_EQ(data4->QueryElement(), TypeOfUnsignedChar());
  EXPECT_EQ(data4->QueryPointee(), nullptr);
  EXPECT_EQ(data4->GetArrayLowerBound(), 0);
  EXPECT_EQ(data4->GetArrayCount(), 8);
  EXPECT_EQ(data4->GetDecayedType(), TypeOfPointer<TypeOfUnsignedChar>());
  EXPECT_EQ(Name(data4->GetDecayedType()), "unsigned char *");
  EXPECT_EQ(TypeOfInt()->GetDecayedType(), TypeOfInt());
  EXPECT_EQ(Name(TypeOfArray<TypeOfInt, 0>()), std::string("int[]"));
  EXPECT_EQ((TypeOfArray<TypeOfInt, 0>()->GetArrayCount()), 0);
}

TEST_F(TypeDescriptionTest, AppendToPutsABlankOnlyWhenAsked) {
  char16_t buffer[kTypeNameCapacity];
  EXPECT_EQ(TypeOfInt()->AppendTo(u"*", buffer, kTypeNameCapacity, true), 5);
  EXPECT_EQ(std::u16string(buffer), u"int *");
  EXPECT_EQ(TypeOfInt()->AppendTo(u"[3]", buffer, kTypeNameCapacity, false), 6);
  EXPECT_EQ(std::u16string(buffer), u"int[3]");
}

const char16_t kLongName[] =
    u"AVeryLongClassNameThatGoesOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOnAndOn"
    u"AndOnAndOnAndOnAndOnAndOn";

const ITypeDescription* LongNamedClass() {
  static const CClassTypeDescription description(kLongName, 0x21000200, 0x398, 4, 4, nullptr);
  return &description;
}

TEST_F(TypeDescriptionTest, ComposedNamesAreCutOffAt127Characters) {
  ASSERT_GT(std::u16string(kLongName).size(), 127u);
  EXPECT_EQ(std::u16string(LongNamedClass()->GetName()).size(), 127u);
  EXPECT_EQ(std::u16string(TypeOfPointer<LongNamedClass>()->GetName()).size(), 127u);
}

TEST_F(TypeDescriptionTest, IntAgainstLongFailsUnder121AndPassesUnder125WithTheArithmeticWarning) {
  EXPECT_FALSE(TypeOfInt()->Match(TypeOfLong(), kTypeMatchGuid));
  EXPECT_TRUE(log.Contains("Match error when comparing types int and long: type names are different"));
  EXPECT_TRUE(TypeOfInt()->Match(TypeOfLong(), kTypeMatchNative));
  EXPECT_TRUE(log.Contains("Warning: arithmetic types are binary compatible but they are different (int vs long)"));
}

TEST_F(TypeDescriptionTest, UnsignedIntAndUnsignedLongMatchUnder125Only) {
  EXPECT_TRUE(TypeOfUnsignedInt()->Match(TypeOfUnsignedLong(), kTypeMatchNative));
  EXPECT_FALSE(TypeOfUnsignedInt()->Match(TypeOfUnsignedLong(), kTypeMatchGuid));
}

TEST_F(TypeDescriptionTest, SignednessFailsAtTheTraitsUnlessFlag2IsSet) {
  const std::string traits =
      "Match error when comparing types int and unsigned int: expected type traits 0x11110004/0x000003D8, found "
      "0x11110004/0x00000798";
  EXPECT_FALSE(TypeOfInt()->Match(TypeOfUnsignedInt(), kTypeMatchNative));
  EXPECT_FALSE(TypeOfInt()->Match(TypeOfUnsignedInt(), kTypeMatchGuid));
  EXPECT_TRUE(log.Contains(traits));
  EXPECT_FALSE(log.Contains("Warning: type signness does not match"));

  EXPECT_TRUE(TypeOfInt()->Match(TypeOfUnsignedInt(), kTypeMatchNative | TypeMatchTolerateSignedness));
  EXPECT_TRUE(log.Contains("Warning: type signness does not match"));
}

TEST_F(TypeDescriptionTest, SignednessWarningIsVisibleAtTheDefaultLevel) {
  LogSetLevel(LogLevelWarning);
  // The arithmetic diagnostic of the differing names stays at level 5, out of sight.
  EXPECT_TRUE(TypeOfUnsignedShort()->Match(TypeOfShort(), TypeMatchTolerateSignedness | TypeMatchArithmeticByForm));
  EXPECT_FALSE(TypeOfUnsignedShort()->Match(TypeOfShort(), 0));
  const std::vector<std::string> lines = log.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "Warning: type signness does not match");
}

TEST_F(TypeDescriptionTest, FloatAgainstIntFailsAtTypeClassWhateverTheFlags) {
  for (std::uint32_t flags : {0u, 1u, 2u, 4u, 121u, 125u, 127u}) {
    EXPECT_FALSE(TypeOfFloat()->Match(TypeOfInt(), flags));
  }
  EXPECT_TRUE(
      log.Contains("Match error when comparing types float and int: expected type traits 0x11110008/0x000003D8, found "
                   "0x11110004/0x000003D8"));
}

TEST_F(TypeDescriptionTest, DoubleAndLongDoubleDifferOnlyByName) {
  EXPECT_FALSE(TypeOfDouble()->Match(TypeOfLongDouble(), kTypeMatchGuid));
  EXPECT_TRUE(log.Contains("Match error when comparing types double and long double: type names are different"));
  EXPECT_TRUE(TypeOfDouble()->Match(TypeOfLongDouble(), kTypeMatchNative));
}

TEST_F(TypeDescriptionTest, SizesAndAlignmentsAreCheckedAfterTheTraits) {
  EXPECT_FALSE(TypeOfInt()->Match(TypeOfShort(), kTypeMatchNative));
  EXPECT_TRUE(log.Contains("Match error when comparing types int and short: expected size 4, found 2"));
  EXPECT_FALSE(TypeOfUnsignedChar()->Match(TypeOfUnsignedShort(), kTypeMatchNative));
  EXPECT_TRUE(
      log.Contains("Match error when comparing types unsigned char and unsigned short: expected size 1, found 2"));
}

TEST_F(TypeDescriptionTest, CommonGuidAndGuidNeverMatchEachOther) {
  for (std::uint32_t flags : {0u, 1u, 2u, 3u, 121u, 125u, 127u}) {
    EXPECT_FALSE(TypeOfCommonGuid()->Match(TypeOfGuid(), flags));
    EXPECT_FALSE(TypeOfGuid()->Match(TypeOfCommonGuid(), flags));
  }
  EXPECT_TRUE(TypeOfCommonGuid()->Match(TypeOfCommonGuid(), kTypeMatchGuid));
  EXPECT_TRUE(TypeOfGuid()->Match(TypeOfGuid(), kTypeMatchGuid));
}

TEST_F(TypeDescriptionTest, PointerToUnsignedShortAgainstPointerToVoidFailsAtThePointeesTraits) {
  EXPECT_FALSE(TypeOfWideString()->Match(TypeOfBinary(), kTypeMatchNative));
  EXPECT_TRUE(log.Contains(
      "Match error when comparing types unsigned short and void: expected type traits 0x11110004/0x00000798, found "
      "0x10000001/0x00000008"));
  EXPECT_TRUE(TypeOfWideString()->Match(TypeOfWideString(), kTypeMatchGuid));
  EXPECT_FALSE(TypeOfWideString()->Match(TypeOfWideStringArray(), kTypeMatchNative));
}

TEST_F(TypeDescriptionTest, ArraysCompareBoundsSilentlyThenElements) {
  const std::size_t before = log.Lines().size();
  EXPECT_FALSE((TypeOfArray<TypeOfUnsignedChar, 8>()->Match(TypeOfArray<TypeOfUnsignedChar, 0>(), kTypeMatchNative)));
  EXPECT_TRUE(
      log.Contains("Match error when comparing types unsigned char[8] and unsigned char[]: expected size 8, found 0"));
  EXPECT_FALSE((TypeOfArray<TypeOfShort, 2>()->Match(TypeOfArray<TypeOfInt, 1>(), kTypeMatchNative)));
  EXPECT_TRUE(log.Lines().size() == before + 1) << "a difference of counts has no message";
  EXPECT_TRUE((TypeOfArray<TypeOfShort, 2>()->Match(TypeOfArray<TypeOfUnsignedShort, 2>(),
                                                    kTypeMatchNative | TypeMatchTolerateSignedness)));
}

TEST_F(TypeDescriptionTest, VoidMatchesOnlyVoid) {
  EXPECT_TRUE(TypeOfVoid()->Match(TypeOfVoid(), 0));
  EXPECT_FALSE(TypeOfVoid()->Match(TypeOfInt(), kTypeMatchNative));
}

TEST_F(TypeDescriptionTest, ANullTypeFoundFailsAtTheTraits) {
  EXPECT_FALSE(TypeOfInt()->Match(nullptr, kTypeMatchNative));
}

TEST_F(TypeDescriptionTest, GuidLayoutsHaveTheirFourMembersInOrder) {
  struct Expected {
    const char16_t* name;
    const ITypeDescription* type;
    std::uint32_t offset;
  };
  const Expected common[] = {{u"Data1", TypeOfUnsignedInt(), 0},
                             {u"Data2", TypeOfUnsignedShort(), 4},
                             {u"Data3", TypeOfUnsignedShort(), 6},
                             {u"Data4", TypeOfArray<TypeOfUnsignedChar, 8>(), 8}};
  const ITypeMember* const* members = TypeOfCommonGuid()->GetMembers();
  ASSERT_NE(members, nullptr);
  for (int i = 0; i < 4; ++i) {
    ASSERT_NE(members[i], nullptr);
    EXPECT_EQ(std::u16string(members[i]->GetName()), common[i].name);
    EXPECT_EQ(members[i]->GetType(), common[i].type);
    EXPECT_EQ(members[i]->GetOffset(), common[i].offset);
    EXPECT_EQ(members[i]->GetOwner(), TypeOfCommonGuid());
  }
  EXPECT_EQ(members[4], nullptr);
  EXPECT_EQ(members, TypeOfCommonGuid()->GetMembers());

  const ITypeMember* const* platform = TypeOfGuid()->GetMembers();
  EXPECT_EQ(platform[0]->GetType(), TypeOfUnsignedLong());
  EXPECT_EQ(platform[0]->GetOwner(), TypeOfGuid());
  EXPECT_EQ(platform[4], nullptr);
  EXPECT_EQ(TypeOfWchar()->GetMembers(), nullptr);
  EXPECT_EQ(TypeOfInt()->GetMembers(), nullptr);
}

// Classes built for the member diagnostics: same layout under other names and member lists.
const ITypeMember* const* PairMembers();
const ITypeMember* const* RenamedPairMembers();
const ITypeMember* const* ShiftedPairMembers();
const ITypeMember* const* RetypedPairMembers();
const ITypeMember* const* LongerPairMembers();

const ITypeDescription* Pair() {
  static const CClassTypeDescription description(u"Pair", 0x21000200, 0x398, 8, 4, PairMembers);
  return &description;
}
const ITypeDescription* RenamedPair() {
  static const CClassTypeDescription description(u"Other", 0x21000200, 0x398, 8, 4, RenamedPairMembers);
  return &description;
}
const ITypeDescription* ShiftedPair() {
  static const CClassTypeDescription description(u"Pair", 0x21000200, 0x398, 8, 4, ShiftedPairMembers);
  return &description;
}
const ITypeDescription* RetypedPair() {
  static const CClassTypeDescription description(u"Pair", 0x21000200, 0x398, 8, 4, RetypedPairMembers);
  return &description;
}
const ITypeDescription* LongerPair() {
  static const CClassTypeDescription description(u"Pair", 0x21000200, 0x398, 8, 4, LongerPairMembers);
  return &description;
}

const ITypeMember* const* PairMembers() {
  static const ITypeMember* members[] = {CreateTypeMember(u"a", TypeOfInt(), 0, Pair()),
                                         CreateTypeMember(u"b", TypeOfInt(), 4, Pair()), nullptr};
  return members;
}
const ITypeMember* const* RenamedPairMembers() {
  static const ITypeMember* members[] = {CreateTypeMember(u"x", TypeOfInt(), 0, RenamedPair()),
                                         CreateTypeMember(u"y", TypeOfInt(), 4, RenamedPair()), nullptr};
  return members;
}
const ITypeMember* const* ShiftedPairMembers() {
  static const ITypeMember* members[] = {CreateTypeMember(u"a", TypeOfInt(), 0, ShiftedPair()),
                                         CreateTypeMember(u"b", TypeOfInt(), 6, ShiftedPair()), nullptr};
  return members;
}
const ITypeMember* const* RetypedPairMembers() {
  static const ITypeMember* members[] = {CreateTypeMember(u"a", TypeOfInt(), 0, RetypedPair()),
                                         CreateTypeMember(u"b", TypeOfFloat(), 4, RetypedPair()), nullptr};
  return members;
}
const ITypeMember* const* LongerPairMembers() {
  static const ITypeMember* members[] = {CreateTypeMember(u"a", TypeOfInt(), 0, LongerPair()),
                                         CreateTypeMember(u"b", TypeOfInt(), 4, LongerPair()),
                                         CreateTypeMember(u"c", TypeOfInt(), 8, LongerPair()), nullptr};
  return members;
}

TEST_F(TypeDescriptionTest, ClassNamesMustBeEqualUnlessFlag32) {
  EXPECT_FALSE(Pair()->Match(RenamedPair(), 0));
  EXPECT_TRUE(log.Contains("Match error when comparing types Pair and Other: classes have different names"));
}

TEST_F(TypeDescriptionTest, MemberNamesMustBeEqualUnlessFlag64) {
  EXPECT_FALSE(Pair()->Match(RenamedPair(), TypeMatchIgnoreClassNames));
  EXPECT_TRUE(log.Contains("Match error when comparing members Pair::a and Other::x: members have different names"));
  EXPECT_TRUE(Pair()->Match(RenamedPair(), kTypeMatchGuid));
}

TEST_F(TypeDescriptionTest, MemberOffsetsAndTypesAreCompared) {
  EXPECT_FALSE(Pair()->Match(ShiftedPair(), kTypeMatchNative));
  EXPECT_TRUE(log.Contains("Match error when comparing members Pair::b and Pair::b: expected offset 0x4, found 0x6"));
  EXPECT_FALSE(Pair()->Match(RetypedPair(), kTypeMatchNative));
  EXPECT_TRUE(log.Contains("Match error when comparing members Pair::b and Pair::b: expected type int, found float"));
}

TEST_F(TypeDescriptionTest, MissingAndUnexpectedMembersAreNamed) {
  // Same size so that the walk is reached; the third member lies outside on purpose.
  EXPECT_FALSE(LongerPair()->Match(Pair(), kTypeMatchNative));
  EXPECT_TRUE(log.Contains("Match error when comparing types Pair and Pair: member c not found in Pair"));
  EXPECT_FALSE(Pair()->Match(LongerPair(), kTypeMatchNative));
  EXPECT_TRUE(log.Contains("Match error when comparing types Pair and Pair: unexpected member c found in Pair"));
}

TEST_F(TypeDescriptionTest, ClassWithoutMembersMatchesItself) {
  EXPECT_TRUE(TypeOfWchar()->Match(TypeOfWchar(), 0));
  EXPECT_FALSE(TypeOfWchar()->Match(TypeOfUnsignedShort(), kTypeMatchNative));
}

}  // namespace
