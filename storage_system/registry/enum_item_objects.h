// The stack objects that registry enumerations offer to their targets.
#pragma once

#include "foundation/extensible.h"
#include "storage_system/enum_items.h"
#include "storage_system/interface_ids.h"
#include "storage_system/registry/registry_value_enum_item.h"

namespace StorageSystem::Registry {

// A sub-key found by EnumStores. Borrows the name buffer.
class CStoreEnumItem : public Common::CExtensible<IStoreEnumItem> {
public:
  explicit CStoreEnumItem(const char16_t* name) : m_name(name) {
    RegisterInterfaceBase(IID_IStoreEnumItem, static_cast<IStoreEnumItem*>(this));
  }
  const char16_t* GetName() override { return m_name; }

private:
  const char16_t* m_name;
};

// A value found by EnumValues, with its native type and registry type number. Borrows the name.
class CRegistryValueEnumItem : public Common::CExtensible<IRegistryValueEnumItem> {
public:
  CRegistryValueEnumItem(const char16_t* name, const ITypeDescription* type, Platform::DWORD typeId)
      : m_name(name), m_type(type), m_typeId(typeId) {
    RegisterInterfaceBase(IID_IValueEnumItem, static_cast<IValueEnumItem*>(this));
    RegisterInterfaceBase(IID_IRegistryValueEnumItem, static_cast<IRegistryValueEnumItem*>(this));
  }
  const char16_t* GetName() override { return m_name; }
  const ITypeDescription* GetType() override { return m_type; }
  Platform::DWORD GetNativeTypeId() override { return m_typeId; }

private:
  const char16_t* m_name;
  const ITypeDescription* m_type;
  Platform::DWORD m_typeId;
};

// A type offered by EnumTypes.
class CTypeEnumItem : public Common::CExtensible<ITypeEnumItem> {
public:
  CTypeEnumItem(const ITypeDescription* type, bool native) : m_type(type), m_native(native) {
    RegisterInterfaceBase(IID_ITypeEnumItem, static_cast<ITypeEnumItem*>(this));
  }
  const ITypeDescription* GetType() override { return m_type; }
  bool IsNative() override { return m_native; }

private:
  const ITypeDescription* m_type;
  bool m_native;
};

}  // namespace StorageSystem::Registry
