// The description singletons of the built-in types and of the two GUID layouts.
#include "foundation/built_in_types.h"

#include <mutex>

#include "foundation/type_member.h"

namespace {

constexpr std::uint32_t kIntegerClass = 0x11110004;
constexpr std::uint32_t kFloatingClass = 0x11110008;
constexpr std::uint32_t kUnsignedTraits = 0x00000798;
constexpr std::uint32_t kSignedTraits = 0x000003D8;
constexpr std::uint32_t kPlainClass = 0x21000000;
constexpr std::uint32_t kStructClass = 0x21000200;

// The member array of a GUID layout whose Data1 is described by `data1`, built once per owner.
struct GuidMembers {
  std::once_flag once;
  const ITypeMember* members[5] = {};

  const ITypeMember* const* Get(const ITypeDescription* owner, const ITypeDescription* data1) {
    std::call_once(once, [&] {
      members[0] = CreateTypeMember(u"Data1", data1, 0, owner);
      members[1] = CreateTypeMember(u"Data2", TypeOfUnsignedShort(), 4, owner);
      members[2] = CreateTypeMember(u"Data3", TypeOfUnsignedShort(), 6, owner);
      members[3] = CreateTypeMember(u"Data4", TypeOfArray<TypeOfUnsignedChar, 8>(), 8, owner);
      members[4] = nullptr;
    });
    return members;
  }
};

const ITypeMember* const* CommonGuidMembers() {
  static GuidMembers members;
  return members.Get(TypeOfCommonGuid(), TypeOfUnsignedInt());
}

const ITypeMember* const* GuidMembersOfPlatform() {
  static GuidMembers members;
  return members.Get(TypeOfGuid(), TypeOfUnsignedLong());
}

}  // namespace

#define HALCYRA_ARITHMETIC_TYPE(function, name, typeClass, traits, size)                      \
  const ITypeDescription* function() {                                                        \
    static const CArithmeticTypeDescription description(name, typeClass, traits, size, size); \
    return &description;                                                                      \
  }

HALCYRA_ARITHMETIC_TYPE(TypeOfBool, u"bool", kIntegerClass, kUnsignedTraits, 1)
HALCYRA_ARITHMETIC_TYPE(TypeOfUnsignedChar, u"unsigned char", kIntegerClass, kUnsignedTraits, 1)
HALCYRA_ARITHMETIC_TYPE(TypeOfUnsignedShort, u"unsigned short", kIntegerClass, kUnsignedTraits, 2)
HALCYRA_ARITHMETIC_TYPE(TypeOfUnsignedInt, u"unsigned int", kIntegerClass, kUnsignedTraits, 4)
HALCYRA_ARITHMETIC_TYPE(TypeOfUnsignedLong, u"unsigned long", kIntegerClass, kUnsignedTraits, 4)
HALCYRA_ARITHMETIC_TYPE(TypeOfUnsignedLongLong, u"unsigned long long", kIntegerClass, kUnsignedTraits, 8)
HALCYRA_ARITHMETIC_TYPE(TypeOfSignedChar, u"signed char", kIntegerClass, kSignedTraits, 1)
HALCYRA_ARITHMETIC_TYPE(TypeOfChar, u"char", kIntegerClass, kSignedTraits, 1)
HALCYRA_ARITHMETIC_TYPE(TypeOfShort, u"short", kIntegerClass, kSignedTraits, 2)
HALCYRA_ARITHMETIC_TYPE(TypeOfInt, u"int", kIntegerClass, kSignedTraits, 4)
HALCYRA_ARITHMETIC_TYPE(TypeOfLong, u"long", kIntegerClass, kSignedTraits, 4)
HALCYRA_ARITHMETIC_TYPE(TypeOfLongLong, u"long long", kIntegerClass, kSignedTraits, 8)
HALCYRA_ARITHMETIC_TYPE(TypeOfFloat, u"float", kFloatingClass, kSignedTraits, 4)
HALCYRA_ARITHMETIC_TYPE(TypeOfDouble, u"double", kFloatingClass, kSignedTraits, 8)
HALCYRA_ARITHMETIC_TYPE(TypeOfLongDouble, u"long double", kFloatingClass, kSignedTraits, 8)

#undef HALCYRA_ARITHMETIC_TYPE

const ITypeDescription* TypeOfVoid() {
  static const CVoidTypeDescription description;
  return &description;
}

const ITypeDescription* TypeOfWchar() {
  static const CClassTypeDescription description(u"__wchar_t", kPlainClass, 0x00000398, 2, 2, nullptr);
  return &description;
}

const ITypeDescription* TypeOfCommonGuid() {
  static const CClassTypeDescription description(u"Common::GUID", kStructClass, 0x00000080, 16, 1, CommonGuidMembers);
  return &description;
}

const ITypeDescription* TypeOfGuid() {
  static const CClassTypeDescription description(u"GUID", kStructClass, 0x00000398, 16, 4, GuidMembersOfPlatform);
  return &description;
}
