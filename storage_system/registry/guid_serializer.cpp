#include "storage_system/registry/guid_serializer.h"

#include "foundation/built_in_types.h"
#include "foundation/guid.h"

namespace StorageSystem {

bool CGuidSerializer::CanSerialize(const ITypeDescription* type, bool* exact) {
  if (type->Match(TypeOfCommonGuid(), kTypeMatchGuid) || type->Match(TypeOfGuid(), kTypeMatchGuid)) {
    *exact = true;
    return true;
  }
  return false;
}

ErrorCode CGuidSerializer::ToString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                    void* destination, std::uint32_t* destinationSize) {
  if (destination != nullptr) {
    if (*destinationSize < kTextSize) {
      return RaiseError("StorageSystem::CGuidSerializer::ToString", ErrorOutOfBounds, u"Buffer too small");
    }
    Common::GUID guid;
    std::memcpy(&guid, data, kBinarySize);
    guid.ToString(static_cast<char16_t*>(destination));
  }
  *destinationSize = kTextSize;
  return ErrorNone;
}

ErrorCode CGuidSerializer::FromString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                      void* destination, std::uint32_t* destinationSize) {
  if (destination != nullptr) {
    if (*destinationSize < kBinarySize) {
      return RaiseError("StorageSystem::CGuidSerializer::FromString", ErrorOutOfBounds, u"Buffer too small");
    }
    Common::GUID guid;
    if (ErrorCode code = Common::GUID::StringToGuid(static_cast<const char16_t*>(data), guid); code != ErrorNone) {
      return code;
    }
    std::memcpy(destination, &guid, kBinarySize);
  }
  *destinationSize = kBinarySize;
  return ErrorNone;
}

}  // namespace StorageSystem
