// The description singletons of the built-in types, of the two GUID layouts, and of pointers and
// arrays.
//
// Each function returns the one description of its type, built on first use under a thread-safe
// one-time initialization and kept for the process's life. The names are those of the platform's
// compiler, on every platform: "unsigned long" and "long" are 4 bytes and "long double" 8, as on
// Windows, whatever the local compiler makes of those words. So a C++ `unsigned long` of Linux has
// no description of its own; use the fixed-width mapping of TypeDescriptionOf<T>.
#pragma once

#include <cstdint>

#include "foundation/type_categories.h"
#include "foundation/type_description.h"

namespace Common {
struct GUID;
}  // namespace Common
namespace Platform {
struct GUID;
}  // namespace Platform

using TypeDescriptionFunction = const ITypeDescription* (*)();

const ITypeDescription* TypeOfVoid();
const ITypeDescription* TypeOfBool();
const ITypeDescription* TypeOfUnsignedChar();
const ITypeDescription* TypeOfUnsignedShort();
const ITypeDescription* TypeOfUnsignedInt();
const ITypeDescription* TypeOfUnsignedLong();
const ITypeDescription* TypeOfUnsignedLongLong();
const ITypeDescription* TypeOfSignedChar();
const ITypeDescription* TypeOfChar();
const ITypeDescription* TypeOfShort();
const ITypeDescription* TypeOfInt();
const ITypeDescription* TypeOfLong();
const ITypeDescription* TypeOfLongLong();
const ITypeDescription* TypeOfFloat();
const ITypeDescription* TypeOfDouble();
const ITypeDescription* TypeOfLongDouble();
// "__wchar_t": the 16-bit wide character of the platform, a class with no members.
const ITypeDescription* TypeOfWchar();
// "Common::GUID" (alignment 1, Data1 "unsigned int") and "GUID" (alignment 4, Data1 "unsigned
// long"): the same bytes. DELIBERATE: the two do not match each other.
const ITypeDescription* TypeOfCommonGuid();
const ITypeDescription* TypeOfGuid();

// The pointer to the type of `Pointee`, named "<pointee> *".
template <TypeDescriptionFunction Pointee>
const ITypeDescription* TypeOfPointer() {
  static const CPointerTypeDescription description(Pointee());
  return &description;
}

// The array of `Count` elements (0: unsized) of the type of `Element`.
template <TypeDescriptionFunction Element, std::uint32_t Count>
const ITypeDescription* TypeOfArray() {
  static const CArrayTypeDescription description(Element(), Count, TypeOfPointer<Element>());
  return &description;
}

// The pointers in use: "unsigned short *" (a wide string), "void *" (a binary block),
// "unsigned short * *" (a null-terminated array of wide strings), "__wchar_t *".
inline const ITypeDescription* TypeOfWideString() { return TypeOfPointer<TypeOfUnsignedShort>(); }
inline const ITypeDescription* TypeOfBinary() { return TypeOfPointer<TypeOfVoid>(); }
inline const ITypeDescription* TypeOfWideStringArray() { return TypeOfPointer<TypeOfWideString>(); }
inline const ITypeDescription* TypeOfWcharPointer() { return TypeOfPointer<TypeOfWchar>(); }

// The description of a C++ type whose meaning is the same on every platform: the fixed-width
// integers by their width (std::uint32_t is "unsigned int"), char16_t as "unsigned short",
// `const char16_t*` as the wide string, and the two GUID layouts.
template <class T>
const ITypeDescription* TypeDescriptionOf() = delete;
template <>
inline const ITypeDescription* TypeDescriptionOf<bool>() {
  return TypeOfBool();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<char>() {
  return TypeOfChar();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<signed char>() {
  return TypeOfSignedChar();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<unsigned char>() {
  return TypeOfUnsignedChar();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<std::int16_t>() {
  return TypeOfShort();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<std::uint16_t>() {
  return TypeOfUnsignedShort();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<char16_t>() {
  return TypeOfUnsignedShort();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<std::int32_t>() {
  return TypeOfInt();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<std::uint32_t>() {
  return TypeOfUnsignedInt();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<std::int64_t>() {
  return TypeOfLongLong();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<std::uint64_t>() {
  return TypeOfUnsignedLongLong();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<float>() {
  return TypeOfFloat();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<double>() {
  return TypeOfDouble();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<char16_t*>() {
  return TypeOfWideString();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<const char16_t*>() {
  return TypeOfWideString();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<void*>() {
  return TypeOfBinary();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<Common::GUID>() {
  return TypeOfCommonGuid();
}
template <>
inline const ITypeDescription* TypeDescriptionOf<Platform::GUID>() {
  return TypeOfGuid();
}
