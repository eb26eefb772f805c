// Class descriptions for the tests of compound values: a structure that no serializer is made for.
#pragma once

#include <cstdint>

#include "foundation/built_in_types.h"
#include "foundation/type_member.h"

namespace Testing {

struct Point {
  std::int32_t x;
  std::int32_t y;
};

inline const ITypeMember* const* PointMembers();

inline const ITypeDescription* TypeOfPoint() {
  static const CClassTypeDescription description(u"Point", 0x21000200, 0x398, 8, 4, PointMembers);
  return &description;
}

inline const ITypeMember* const* PointMembers() {
  static const ITypeMember* const members[] = {CreateTypeMember(u"x", TypeOfInt(), 0, TypeOfPoint()),
                                               CreateTypeMember(u"y", TypeOfInt(), 4, TypeOfPoint()), nullptr};
  return members;
}

}  // namespace Testing
