// The item of a registry value enumeration.
#pragma once

#include "platform/types.h"
#include "storage_system/enum_items.h"

namespace StorageSystem::Registry {

// IValueEnumItem with the registry type number; the same object answers for both interfaces.
class IRegistryValueEnumItem : public IValueEnumItem {
public:
  virtual Platform::DWORD GetNativeTypeId() = 0;
};

}  // namespace StorageSystem::Registry

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::Registry::IRegistryValueEnumItem> =
    "Common::CExtensible<class StorageSystem::Registry::IRegistryValueEnumItem>::RegisterInterfaceBase";
