// The part of a type match that depends on the class of type.
#include <string_view>

#include "foundation/log.h"
#include "foundation/type_categories.h"
#include "foundation/type_member.h"

namespace {

bool SameName(const char16_t* a, const char16_t* b) { return std::u16string_view(a) == std::u16string_view(b); }

}  // namespace

bool CArithmeticTypeDescription::MatchCategory(const ITypeDescription* other, std::uint32_t flags) const {
  if (SameName(GetName(), other->GetName())) return true;
  if ((flags & TypeMatchArithmeticByForm) != 0) {
    LogWrite(LogLevelMatch, kLogTag,
             u"Warning: arithmetic types are binary compatible but they are different (%s vs %s)", GetName(),
             other->GetName());
    return true;
  }
  LogWrite(LogLevelMatch, kLogTag, u"Match error when comparing types %s and %s: type names are different", GetName(),
           other->GetName());
  return false;
}

bool CPointerTypeDescription::MatchCategory(const ITypeDescription* other, std::uint32_t flags) const {
  const ITypeDescription* theirs = other->QueryPointee();
  // A pointer without a pointee stands for the null description, which matches only itself.
  if (m_pointee == nullptr) return theirs == nullptr;
  return m_pointee->Match(theirs, flags);
}

bool CArrayTypeDescription::MatchCategory(const ITypeDescription* other, std::uint32_t flags) const {
  if (GetArrayLowerBound() != other->GetArrayLowerBound()) return false;
  if (GetArrayCount() != other->GetArrayCount()) return false;
  return m_element->Match(other->QueryElement(), flags);
}

bool CClassTypeDescription::MatchCategory(const ITypeDescription* other, std::uint32_t flags) const {
  if ((flags & TypeMatchIgnoreClassNames) == 0 && !SameName(GetName(), other->GetName())) {
    LogWrite(LogLevelMatch, kLogTag, u"Match error when comparing types %s and %s: classes have different names",
             GetName(), other->GetName());
    return false;
  }

  const ITypeMember* const* own = GetMembers();
  const ITypeMember* const* theirs = other->GetMembers();
  static const ITypeMember* const kNoMembers[] = {nullptr};
  if (own == nullptr) own = kNoMembers;
  if (theirs == nullptr) theirs = kNoMembers;

  for (; *own != nullptr && *theirs != nullptr; ++own, ++theirs) {
    if (!(*own)->Match(*theirs, flags)) return false;
  }
  if (*own != nullptr) {
    LogWrite(LogLevelMatch, kLogTag, u"Match error when comparing types %s and %s: member %s not found in %s",
             GetName(), other->GetName(), (*own)->GetName(), other->GetName());
    return false;
  }
  if (*theirs != nullptr) {
    LogWrite(LogLevelMatch, kLogTag, u"Match error when comparing types %s and %s: unexpected member %s found in %s",
             GetName(), other->GetName(), (*theirs)->GetName(), other->GetName());
    return false;
  }
  return true;
}
