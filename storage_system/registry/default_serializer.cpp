#include "storage_system/registry/default_serializer.h"

namespace StorageSystem {

bool CDefaultSerializer::CanSerialize(const ITypeDescription* type, bool* exact) {
  *exact = false;
  return type->QueryPointee() == nullptr;
}

ErrorCode CDefaultSerializer::ToString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                       void* destination, std::uint32_t* destinationSize) {
  return RaiseError("StorageSystem::CDefaultSerializer::ToString", ErrorNotImplemented, nullptr);
}

ErrorCode CDefaultSerializer::FromString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                         void* destination, std::uint32_t* destinationSize) {
  return RaiseError("StorageSystem::CDefaultSerializer::FromString", ErrorNotImplemented, nullptr);
}

}  // namespace StorageSystem
