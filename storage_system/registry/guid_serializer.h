// GUIDs as their braced text.
#pragma once

#include "storage_system/registry/serializer_base.h"

namespace StorageSystem {

// Takes "Common::GUID" and "GUID" (each asked for separately, since they do not match each other)
// and stores them as "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}". A process-wide singleton of the
// serializer manager.
class CGuidSerializer : public ASerializerBase<Common::CExtensible<ISerializer>> {
public:
  // Bytes of the text form with its terminator, and of the binary form.
  static constexpr std::uint32_t kTextSize = 78;
  static constexpr std::uint32_t kBinarySize = 16;

  CGuidSerializer() : ASerializerBase(SerializerStorageText) {}

  bool CanSerialize(const ITypeDescription* type, bool* exact) override;
  // The text of the 16 bytes at `data`. ErrorOutOfBounds ("Buffer too small") for less than 78
  // bytes of room.
  [[nodiscard]] ErrorCode ToString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                   void* destination, std::uint32_t* destinationSize) override;
  // The 16 bytes of the text at `data`. ErrorOutOfBounds for less than 16 bytes of room, or
  // ErrorInvalidParameter ("Guid string bad format").
  [[nodiscard]] ErrorCode FromString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                     void* destination, std::uint32_t* destinationSize) override;
};

}  // namespace StorageSystem
