// Run-time descriptions of data types.
//
// The storage and data layers are typed at run time without compiler type records: a value declares
// what it holds by pointing to a type description, an immutable singleton that knows the type's
// name, traits, size, alignment, and its pointee, element or members. Two descriptions are matched
// with a set of tolerance flags, which tells whether data of one may be read as the other; every
// mismatch is explained in the log at LogLevelMatch.
#pragma once

#include <cstdint>
#include <mutex>

class ITypeMember;

// Tolerances of ITypeDescription::Match, one unsigned 32-bit word.
enum TypeMatchFlags : std::uint32_t {
  // Differences of typeTraits within kTypeTraitsToleratedMask are accepted.
  TypeMatchTolerateTraits = 0x1,
  // Differences of signedness (kTypeTraitsSignednessMask) are accepted, with a warning.
  TypeMatchTolerateSignedness = 0x2,
  // Arithmetic types of equal form but different names match, with a diagnostic.
  TypeMatchArithmeticByForm = 0x4,
  // Passed along; looked at by nobody.
  TypeMatchReserved8 = 0x8,
  TypeMatchReserved16 = 0x10,
  // Class names need not be equal.
  TypeMatchIgnoreClassNames = 0x20,
  // Member names need not be equal.
  TypeMatchIgnoreMemberNames = 0x40,
};

// The two flag words in use: finding the native handling, caster or serializer of a type, and
// telling whether a type is one of the two GUID descriptions.
inline constexpr std::uint32_t kTypeMatchNative = 125;
inline constexpr std::uint32_t kTypeMatchGuid = 121;

inline constexpr std::uint32_t kTypeTraitsToleratedMask = 0x802;
inline constexpr std::uint32_t kTypeTraitsSignednessMask = 0x440;
inline constexpr std::uint32_t kTypeTraitsUnsigned = 0x400;
inline constexpr std::uint32_t kTypeTraitsSigned = 0x40;

// Characters of every composed name with its terminator; longer names are cut off.
inline constexpr std::size_t kTypeNameCapacity = 128;

// The two words stored in every description. The low bits of typeClass tell the class of type.
struct TypeTraits {
  std::uint32_t typeClass;
  std::uint32_t typeTraits;
};

// A description of one type. Exactly one object exists per type, built on first use under a
// thread-safe one-time initialization and kept for the process's life; every operation is a pure
// query, safe from any thread. The order of the virtual operations is part of the contract.
class ITypeDescription {
public:
  virtual ~ITypeDescription() = default;

  // The pair typeClass, typeTraits; the pointer stays valid for the process's life.
  virtual const TypeTraits* GetTraits() const = 0;
  // The full name, composed once and kept for the process's life.
  virtual const char16_t* GetName() const = 0;
  // Whether data described by `other` (the type found) may be read as this one (the type
  // expected) under `flags` (TypeMatchFlags). Each reason of a refusal goes to the log at level 5.
  virtual bool Match(const ITypeDescription* other, std::uint32_t flags) const = 0;
  // This description, but for an array the description of the pointer to its element.
  virtual const ITypeDescription* GetDecayedType() const = 0;
  virtual const ITypeDescription* GetSelfType() const = 0;
  // Size and alignment in bytes; 0xFFFFFFFF for "void".
  virtual std::uint32_t GetSize() const = 0;
  virtual std::uint32_t GetAlignment() const = 0;
  virtual const ITypeDescription* QueryTargetA() const = 0;
  // The pointee of a pointer, else null.
  virtual const ITypeDescription* QueryPointee() const = 0;
  // The element of an array, else null.
  virtual const ITypeDescription* QueryElement() const = 0;
  // 0 for an array, -1 otherwise.
  virtual std::int32_t GetArrayLowerBound() const = 0;
  // The element count of an array (0: unsized), -1 otherwise.
  virtual std::int32_t GetArrayCount() const = 0;
  // The null-terminated member records of a class, or null.
  virtual const ITypeMember* const* GetMembers() const = 0;
  virtual const void* GetReserved() const = 0;
  virtual const ITypeDescription* QueryTargetD() const = 0;
  virtual const ITypeDescription* QueryTargetE() const = 0;

protected:
  // The overridable targets of the queries above: a pointer overrides TargetPointee, an array
  // TargetElement.
  virtual const ITypeDescription* TargetA() const = 0;
  virtual const ITypeDescription* TargetPointee() const = 0;
  virtual const ITypeDescription* TargetElement() const = 0;
  virtual const ITypeDescription* TargetD() const = 0;
  virtual const ITypeDescription* TargetE() const = 0;
  // Composes the name once from GetBaseName and DecorateName, and keeps the pointer.
  virtual const char16_t* ComposeName() const = 0;

public:
  // Prints this type's name, a blank when `withBlank`, and `suffix` into `destination` of
  // `capacity` characters. Returns the length, or -1 when the text was cut off.
  virtual int AppendTo(const char16_t* suffix, char16_t* destination, std::size_t capacity, bool withBlank) const = 0;
  // The part of Match that depends on the class of type; called once the generic checks passed.
  virtual bool MatchCategory(const ITypeDescription* other, std::uint32_t flags) const = 0;

protected:
  // The cached result of GetOwnName.
  virtual const char16_t* GetBaseName() const = 0;
  virtual const char16_t* BuildName() const = 0;
  // The literal name of the type, or the qualifier text of a pointer or an array.
  virtual const char16_t* GetOwnName() const = 0;
  // The full name for `baseName`, in a buffer of this description.
  virtual const char16_t* DecorateName(const char16_t* baseName) const = 0;
};

// What every description shares: the two stored words, the name composed once, and the generic
// match. The categories (arithmetic, void, class, pointer, array) derive from it and give the
// rest. Immutable after construction except for the caches, which fill under one-time guards.
class CTypeDescription : public ITypeDescription {
public:
  const TypeTraits* GetTraits() const override { return &m_traits; }
  const char16_t* GetName() const override;
  bool Match(const ITypeDescription* other, std::uint32_t flags) const override;
  const ITypeDescription* GetDecayedType() const override { return this; }
  const ITypeDescription* GetSelfType() const override { return this; }
  const ITypeDescription* QueryTargetA() const override { return TargetA(); }
  const ITypeDescription* QueryPointee() const override { return TargetPointee(); }
  const ITypeDescription* QueryElement() const override { return TargetElement(); }
  std::int32_t GetArrayLowerBound() const override { return -1; }
  std::int32_t GetArrayCount() const override { return -1; }
  const ITypeMember* const* GetMembers() const override { return nullptr; }
  const void* GetReserved() const override { return nullptr; }
  const ITypeDescription* QueryTargetD() const override { return TargetD(); }
  const ITypeDescription* QueryTargetE() const override { return TargetE(); }
  int AppendTo(const char16_t* suffix, char16_t* destination, std::size_t capacity, bool withBlank) const override;

protected:
  CTypeDescription(std::uint32_t typeClass, std::uint32_t typeTraits) : m_traits{typeClass, typeTraits} {}

  const ITypeDescription* TargetA() const override { return nullptr; }
  const ITypeDescription* TargetPointee() const override { return nullptr; }
  const ITypeDescription* TargetElement() const override { return nullptr; }
  const ITypeDescription* TargetD() const override { return nullptr; }
  const ITypeDescription* TargetE() const override { return nullptr; }
  const char16_t* ComposeName() const override;
  const char16_t* GetBaseName() const override;
  const char16_t* BuildName() const override { return ComposeName(); }
  const char16_t* DecorateName(const char16_t* baseName) const override;

  // The buffer that holds this type's composed name.
  char16_t* NameBuffer() const { return m_nameBuffer; }

private:
  const TypeTraits m_traits;
  mutable std::once_flag m_nameOnce;
  mutable const char16_t* m_name = nullptr;
  mutable std::once_flag m_baseNameOnce;
  mutable const char16_t* m_baseName = nullptr;
  mutable char16_t m_nameBuffer[kTypeNameCapacity] = {};
};
