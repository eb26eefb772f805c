#include "storage_system/registry/compound_value.h"

#include <new>

#include "foundation/built_in_types.h"
#include "storage_system/registry/serializer_manager.h"

namespace StorageSystem::Registry {

ErrorCode CreateCompoundSerializerValue(const ITypeDescription* type, IStore* store, IRegistryValue** value,
                                        const ITypeDescription** effectiveType) {
  static constexpr const char* kName = "StorageSystem::Registry::CreateCompoundSerializerValue";
  ISerializer* serializer = CSerializerManager::Get().FindSerializer(type, nullptr);
  if (serializer == nullptr) return RaiseError(kName, ErrorNotSupported, u"Type %s is not supported", type->GetName());

  IRegistryValue* created = nullptr;
  if (serializer->GetStorageKind() == SerializerStorageBinary) {
    created = new (std::nothrow) CBinarySerializerValue<CNativeValue>(store, type, serializer);
    *effectiveType = TypeOfBinary();
  } else {
    created = new (std::nothrow) CTextSerializerValue<CNativeValue>(store, type, serializer);
    *effectiveType = TypeOfWideString();
  }
  if (created == nullptr) return RaiseError(kName, ErrorOutOfMemory, nullptr);
  *value = created;
  return ErrorNone;
}

}  // namespace StorageSystem::Registry
