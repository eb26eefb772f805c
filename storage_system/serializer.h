// Serializers: the conversion of structured types to a stored form and back.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/extensible.h"
#include "foundation/type_description.h"

namespace StorageSystem {

// Kinds of stored form.
enum SerializerStorageKind : std::uint32_t {
  SerializerStorageBinary = 1,
  SerializerStorageText = 2,
};

// Converts data of the types it can take. In the four conversions `destination` null asks for the
// size only; the size in bytes of the result is written to `*destinationSize`, which on entry holds
// the room at `destination`. Serializers are process-wide singletons, called from any thread; they
// must not call back into the serializer manager. The order of the virtual operations is part of
// the contract.
class ISerializer : public Common::IExtensible {
public:
  // Whether this serializer takes `type`; `*exact` tells whether it is made for just this type.
  virtual bool CanSerialize(const ITypeDescription* type, bool* exact) = 0;
  // SerializerStorageKind.
  virtual std::uint32_t GetStorageKind() = 0;
  [[nodiscard]] virtual ErrorCode ToBinary(const ITypeDescription* type, const void* data, std::uint32_t size,
                                           void* destination, std::uint32_t* destinationSize) = 0;
  [[nodiscard]] virtual ErrorCode ToString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                           void* destination, std::uint32_t* destinationSize) = 0;
  [[nodiscard]] virtual ErrorCode FromBinary(const ITypeDescription* type, const void* data, std::uint32_t size,
                                             void* destination, std::uint32_t* destinationSize) = 0;
  [[nodiscard]] virtual ErrorCode FromString(const ITypeDescription* type, const void* data, std::uint32_t size,
                                             void* destination, std::uint32_t* destinationSize) = 0;
};

}  // namespace StorageSystem

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::ISerializer> =
    "Common::CExtensible<class StorageSystem::ISerializer>::RegisterInterfaceBase";
