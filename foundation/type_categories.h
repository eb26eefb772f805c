// The classes of type that descriptions come in: arithmetic, void, class, pointer and array.
//
// Each fixes its typeClass and typeTraits words, its size and alignment, its name, and the part of
// the match that depends on the class of type. Objects are made only as the singletons of
// foundation/built_in_types.h and never change after construction.
#pragma once

#include <cstdint>

#include "foundation/type_description.h"

// A built-in arithmetic type. Types of equal form match by name, or under
// TypeMatchArithmeticByForm whatever their names.
class CArithmeticTypeDescription : public CTypeDescription {
public:
  CArithmeticTypeDescription(const char16_t* name, std::uint32_t typeClass, std::uint32_t typeTraits,
                             std::uint32_t size, std::uint32_t alignment)
      : CTypeDescription(typeClass, typeTraits), m_ownName(name), m_size(size), m_alignment(alignment) {}

  std::uint32_t GetSize() const override { return m_size; }
  std::uint32_t GetAlignment() const override { return m_alignment; }
  bool MatchCategory(const ITypeDescription* other, std::uint32_t flags) const override;

protected:
  const char16_t* GetOwnName() const override { return m_ownName; }

private:
  const char16_t* const m_ownName;
  const std::uint32_t m_size;
  const std::uint32_t m_alignment;
};

// "void": no size, matches anything of its class.
class CVoidTypeDescription : public CTypeDescription {
public:
  CVoidTypeDescription() : CTypeDescription(0x10000001, 0x00000008) {}

  std::uint32_t GetSize() const override { return 0xFFFFFFFF; }
  std::uint32_t GetAlignment() const override { return 0xFFFFFFFF; }
  bool MatchCategory(const ITypeDescription* other, std::uint32_t flags) const override { return true; }

protected:
  const char16_t* GetOwnName() const override { return u"void"; }
};

// A class, matched by name (unless TypeMatchIgnoreClassNames) and member by member. The member
// array comes from `members`, which builds it once and keeps it; null means no members.
class CClassTypeDescription : public CTypeDescription {
public:
  using MembersFunction = const ITypeMember* const* (*)();

  CClassTypeDescription(const char16_t* name, std::uint32_t typeClass, std::uint32_t typeTraits, std::uint32_t size,
                        std::uint32_t alignment, MembersFunction members)
      : CTypeDescription(typeClass, typeTraits), m_ownName(name), m_size(size), m_alignment(alignment),
        m_members(members) {}

  std::uint32_t GetSize() const override { return m_size; }
  std::uint32_t GetAlignment() const override { return m_alignment; }
  const ITypeMember* const* GetMembers() const override { return m_members == nullptr ? nullptr : m_members(); }
  bool MatchCategory(const ITypeDescription* other, std::uint32_t flags) const override;

protected:
  const char16_t* GetOwnName() const override { return m_ownName; }

private:
  const char16_t* const m_ownName;
  const std::uint32_t m_size;
  const std::uint32_t m_alignment;
  const MembersFunction m_members;
};

// A pointer, named "<pointee> *" and matched through its pointee.
class CPointerTypeDescription : public CTypeDescription {
public:
  explicit CPointerTypeDescription(const ITypeDescription* pointee)
      : CTypeDescription(0x21100010, 0x00000398), m_pointee(pointee) {}

  std::uint32_t GetSize() const override { return 8; }
  std::uint32_t GetAlignment() const override { return 8; }
  bool MatchCategory(const ITypeDescription* other, std::uint32_t flags) const override;

protected:
  const ITypeDescription* TargetPointee() const override { return m_pointee; }
  const char16_t* GetOwnName() const override { return u"*"; }
  const char16_t* DecorateName(const char16_t* baseName) const override;

private:
  const ITypeDescription* const m_pointee;
};

// An array with lower bound 0, named "<element>[count]" ("[]" when unsized), matched by bounds and
// then through its element. It decays to the pointer to its element.
class CArrayTypeDescription : public CTypeDescription {
public:
  CArrayTypeDescription(const ITypeDescription* element, std::uint32_t count, const ITypeDescription* decayed);

  const ITypeDescription* GetDecayedType() const override { return m_decayed; }
  std::uint32_t GetSize() const override { return m_element->GetSize() * m_count; }
  std::uint32_t GetAlignment() const override { return 1; }
  std::int32_t GetArrayLowerBound() const override { return 0; }
  std::int32_t GetArrayCount() const override { return static_cast<std::int32_t>(m_count); }
  bool MatchCategory(const ITypeDescription* other, std::uint32_t flags) const override;

protected:
  const ITypeDescription* TargetElement() const override { return m_element; }
  const char16_t* GetOwnName() const override { return m_ownName; }
  const char16_t* DecorateName(const char16_t* baseName) const override;

private:
  const ITypeDescription* const m_element;
  const std::uint32_t m_count;
  const ITypeDescription* const m_decayed;
  char16_t m_ownName[16] = {};
};
