// The items that enumerations offer: stack objects, valid during IEnumTarget::OnEnumeratedItem only.
#pragma once

#include "foundation/extensible.h"
#include "foundation/type_description.h"

namespace StorageSystem {

// A sub-store found by IStore::EnumStores.
class IStoreEnumItem : public Common::IExtensible {
public:
  // The key name, without separator. Borrowed.
  virtual const char16_t* GetName() = 0;
};

// A value found by IStore::EnumValues.
class IValueEnumItem : public Common::IExtensible {
public:
  // Borrowed.
  virtual const char16_t* GetName() = 0;
  // The native type of the stored form.
  virtual const ITypeDescription* GetType() = 0;
};

// A type offered by IProperties::EnumTypes.
class ITypeEnumItem : public Common::IExtensible {
public:
  virtual const ITypeDescription* GetType() = 0;
  // True for the backend's native types, false for types stored through casters or serializers.
  virtual bool IsNative() = 0;
};

}  // namespace StorageSystem

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::IStoreEnumItem> =
    "Common::CExtensible<class StorageSystem::IStoreEnumItem>::RegisterInterfaceBase";
template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::ITypeEnumItem> =
    "Common::CExtensible<class StorageSystem::ITypeEnumItem>::RegisterInterfaceBase";
