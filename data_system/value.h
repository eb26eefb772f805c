// Values: the typed leaves of a data system tree.
//
// Four types exist: bool, unsigned int, wide string and Common::GUID. The order of the virtual
// operations is part of the contract.
#pragma once

#include <cstdint>

#include "data_system/interface_ids.h"
#include "data_system/item.h"
#include "foundation/built_in_types.h"
#include "foundation/guid.h"

namespace DataSystem {

// The tag of the wide-string value type; its data is a NUL-terminated char16_t string.
struct WideString {};

// What differs between the four value types at the client interface.
template <class T>
struct ValueTraits {
  // What Get returns and Set takes.
  using Pointer = const T*;
  static constexpr std::uint32_t kSize = sizeof(T);
};
template <>
struct ValueTraits<WideString> {
  using Pointer = const char16_t*;
};

template <class T>
inline constexpr const Common::GUID& kValueInterfaceId = IID_IValue;
template <>
inline constexpr const Common::GUID& kValueInterfaceId<bool> = IID_IValueBool;
template <>
inline constexpr const Common::GUID& kValueInterfaceId<std::uint32_t> = IID_IValueUInt;
template <>
inline constexpr const Common::GUID& kValueInterfaceId<WideString> = IID_IValueString;
template <>
inline constexpr const Common::GUID& kValueInterfaceId<Common::GUID> = IID_IValueGuid;

// The singleton type description of each value type.
template <class T>
const ITypeDescription* ValueTypeDescription() = delete;
template <>
inline const ITypeDescription* ValueTypeDescription<bool>() {
  return TypeOfBool();
}
template <>
inline const ITypeDescription* ValueTypeDescription<std::uint32_t>() {
  return TypeOfUnsignedInt();
}
template <>
inline const ITypeDescription* ValueTypeDescription<WideString>() {
  return TypeOfWideString();
}
template <>
inline const ITypeDescription* ValueTypeDescription<Common::GUID>() {
  return TypeOfCommonGuid();
}

class IValue : public IItem {
public:
  virtual const ITypeDescription* GetTypeDescription() = 0;
  // The GUID of the value's IValueT<T>.
  virtual const Common::GUID* GetValueInterfaceGuid() = 0;
};

// The typed client interface of a value. Get, Set and their reads and writes run on the caller's
// thread; a fixed-size value takes no lock, a wide string's Set takes the tree's lock and its Get
// none, so a client that reads a string on one thread while another writes it orders the two.
template <class T>
class IValueT : public IValue {
public:
  using Pointer = typename ValueTraits<T>::Pointer;
  // The current value, valid until the next operation on the value.
  virtual Pointer Get() = 0;
  // Writes `value` (a wide string may be null). ErrorOutOfBounds, not reported, for a bounded value
  // out of its bounds; else what the storage write answers.
  [[nodiscard]] virtual ErrorCode Set(Pointer value) = 0;
  // The default of this item.
  virtual Pointer GetDefault() = 0;
  // The bounds of a bool or unsigned int; null for the other types.
  virtual Pointer GetMinimum() = 0;
  virtual Pointer GetMaximum() = 0;
};

}  // namespace DataSystem

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IValueT<bool>> =
    "Common::CExtensible<class DataSystem::IValueT<bool> >::RegisterInterfaceBase";
template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IValueT<std::uint32_t>> =
    "Common::CExtensible<class DataSystem::IValueT<unsigned int> >::RegisterInterfaceBase";
template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IValueT<DataSystem::WideString>> =
    "Common::CExtensible<class DataSystem::IValueT<unsigned short *> >::RegisterInterfaceBase";
template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IValueT<Common::GUID>> =
    "Common::CExtensible<class DataSystem::IValueT<struct Common::GUID> >::RegisterInterfaceBase";
