// What every serializer shares: the binary conversions as a plain copy, and its storage kind.
#pragma once

#include <cstdint>
#include <cstring>

#include "foundation/extensible.h"
#include "storage_system/interface_ids.h"
#include "storage_system/serializer.h"

namespace StorageSystem {

// `T` is Common::CExtensible<ISerializer>. ToBinary and FromBinary copy the bytes unchanged.
template <class T>
class ASerializerBase : public T {
public:
  std::uint32_t GetStorageKind() override { return m_kind; }

  [[nodiscard]] ErrorCode ToBinary(const ITypeDescription* type, const void* data, std::uint32_t size,
                                   void* destination, std::uint32_t* destinationSize) override {
    return RawBinaryCopy(data, size, destination, destinationSize);
  }
  [[nodiscard]] ErrorCode FromBinary(const ITypeDescription* type, const void* data, std::uint32_t size,
                                     void* destination, std::uint32_t* destinationSize) override {
    return RawBinaryCopy(data, size, destination, destinationSize);
  }

protected:
  explicit ASerializerBase(std::uint32_t kind) : m_kind(kind) {
    this->RegisterInterfaceBase(IID_ISerializer, static_cast<ISerializer*>(this));
  }

  // Copies `size` bytes to `destination` when it is given and large enough (ErrorOutOfBounds,
  // "Buffer too small", otherwise); `*destinationSize` becomes `size` in every other case.
  [[nodiscard]] static ErrorCode RawBinaryCopy(const void* source, std::uint32_t size, void* destination,
                                               std::uint32_t* destinationSize) {
    if (destination != nullptr) {
      if (*destinationSize < size) {
        return RaiseError(
            "StorageSystem::ASerializerBase<class Common::CExtensible<class StorageSystem::ISerializer> "
            ">::RawBinaryCopy",
            ErrorOutOfBounds, u"Buffer too small");
      }
      if (size != 0) std::memcpy(destination, source, size);
    }
    *destinationSize = size;
    return ErrorNone;
  }

private:
  const std::uint32_t m_kind;
};

}  // namespace StorageSystem
