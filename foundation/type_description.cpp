// The generic part of every type description: names composed once, and the match of the stored
// words, size and alignment before the class of type has its say.
#include "foundation/type_description.h"

#include "foundation/format.h"
#include "foundation/log.h"

namespace {

// The message of a refusal at typeClass or typeTraits, which names both pairs. A null `other`
// shows as a type with no name and zero words.
bool RefuseAtTraits(const ITypeDescription* self, const ITypeDescription* other) {
  const TypeTraits* own = self->GetTraits();
  static constexpr TypeTraits kNone = {0, 0};
  const TypeTraits* found = other == nullptr ? &kNone : other->GetTraits();
  LogWrite(LogLevelMatch, kLogTag,
           u"Match error when comparing types %s and %s: expected type traits 0x%08X/0x%08X, found 0x%08X/0x%08X",
           self->GetName(), other == nullptr ? nullptr : other->GetName(), own->typeClass, own->typeTraits,
           found->typeClass, found->typeTraits);
  return false;
}

}  // namespace

const char16_t* CTypeDescription::GetName() const { return BuildName(); }

const char16_t* CTypeDescription::ComposeName() const {
  std::call_once(m_nameOnce, [this] { m_name = DecorateName(GetBaseName()); });
  return m_name;
}

const char16_t* CTypeDescription::GetBaseName() const {
  std::call_once(m_baseNameOnce, [this] { m_baseName = GetOwnName(); });
  return m_baseName;
}

const char16_t* CTypeDescription::DecorateName(const char16_t* baseName) const {
  FormatBounded(m_nameBuffer, kTypeNameCapacity, u"%s%s%s", baseName, u"", u"");
  return m_nameBuffer;
}

int CTypeDescription::AppendTo(const char16_t* suffix, char16_t* destination, std::size_t capacity,
                               bool withBlank) const {
  return FormatBounded(destination, capacity, u"%s%s%s", GetName(), withBlank ? u" " : u"", suffix);
}

bool CTypeDescription::Match(const ITypeDescription* other, std::uint32_t flags) const {
  // The other's name is made ready first, so that every diagnostic below can print it.
  if (other != nullptr) other->GetName();
  if (other == nullptr || GetTraits()->typeClass != other->GetTraits()->typeClass) {
    return RefuseAtTraits(this, other);
  }

  const std::uint32_t difference = GetTraits()->typeTraits ^ other->GetTraits()->typeTraits;
  if (difference != 0) {
    std::uint32_t allowed = 0;
    if ((flags & TypeMatchTolerateSignedness) != 0) allowed |= kTypeTraitsSignednessMask;
    if ((flags & TypeMatchTolerateTraits) != 0) allowed |= kTypeTraitsToleratedMask;
    if ((difference & ~allowed) != 0) return RefuseAtTraits(this, other);
    if ((difference & kTypeTraitsSignednessMask) != 0) {
      LogWrite(LogLevelWarning, kLogTag, u"Warning: type signness does not match");
    }
  }

  if (GetSize() != other->GetSize()) {
    LogWrite(LogLevelMatch, kLogTag, u"Match error when comparing types %s and %s: expected size %u, found %u",
             GetName(), other->GetName(), GetSize(), other->GetSize());
    return false;
  }
  if (GetAlignment() != other->GetAlignment()) {
    LogWrite(LogLevelMatch, kLogTag, u"Match error when comparing types %s and %s: expected alignment %u, found %u",
             GetName(), other->GetName(), GetAlignment(), other->GetAlignment());
    return false;
  }
  return MatchCategory(other, flags);
}
