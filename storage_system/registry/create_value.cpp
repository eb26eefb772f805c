#include "storage_system/registry/create_value.h"

#include "storage_system/interface_ids.h"
#include "storage_system/storage_system.h"
#include "storage_system/registry/built_in_casters.h"
#include "storage_system/registry/compound_value.h"
#include "storage_system/registry/native_type_table.h"
#include "storage_system/registry/native_value.h"
#include "storage_system/registry/registry_properties.h"
#include "storage_system/registry/serializer_manager.h"

namespace StorageSystem::Registry {

ErrorCode CreateValue(IStore* store, const ITypeDescription* type, IRegistryValue** value,
                      const ITypeDescription** effectiveType) {
  if (type != nullptr) type = type->GetDecayedType();
  if (type == nullptr || IsNativeType(type)) return CreateNativeValue(type, store, value, effectiveType);

  auto* properties = static_cast<IRegistryProperties*>(
      store->GetStorageSystem()->GetProperties()->GetInterface(&IID_IRegistryProperties));
  const std::uint32_t optionFlags = properties != nullptr ? properties->GetOptionFlags() : 0;
  if (FindCaster(optionFlags, type) != nullptr) {
    return CreateBuiltInCasterValue(optionFlags, type, store, value, effectiveType);
  }

  if (CSerializerManager::Get().FindSerializer(type, nullptr) == nullptr) {
    return RaiseError("StorageSystem::Registry::CreateValue", ErrorNotSupported, u"Type %s is not supported",
                      type->GetName());
  }
  return CreateCompoundSerializerValue(type, store, value, effectiveType);
}

}  // namespace StorageSystem::Registry
