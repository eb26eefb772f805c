// The serializer of last resort: any type that is not a pointer, as a binary copy.
#pragma once

#include "storage_system/registry/serializer_base.h"

namespace StorageSystem {

// Takes every type without a pointee, never as its own type, so that any other serializer goes
// first. It has no text form. A process-wide singleton of the serializer manager.
class CDefaultSerializer : public ASerializerBase<Common::CExtensible<ISerializer>> {
public:
  CDefaultSerializer() : ASerializerBase(SerializerStorageBinary) {}

  bool CanSerialize(const ITypeDescription* type, bool* exact) override;
  // ErrorNotImplemented.
  [[nodiscard]] ErrorCode ToString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                   void* destination, std::uint32_t* destinationSize) override;
  // ErrorNotImplemented.
  [[nodiscard]] ErrorCode FromString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                     void* destination, std::uint32_t* destinationSize) override;
};

}  // namespace StorageSystem
