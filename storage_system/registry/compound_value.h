// Compound values: structured types stored through a serializer, as a binary block or as text.
#pragma once

#include <cstdint>

#include "storage_system/serializer.h"
#include "storage_system/registry/caster_value_base.h"
#include "storage_system/registry/native_value.h"

namespace StorageSystem {

// The report names of Write, per stored category.
template <class Stored>
inline constexpr const char* kCompoundWriteName = nullptr;
template <>
inline constexpr const char* kCompoundWriteName<char16_t*> =
    "StorageSystem::ACompoundSerializerValueBase<unsigned short *,class StorageSystem::Registry::CNativeValue>::Write";
template <>
inline constexpr const char* kCompoundWriteName<void*> =
    "StorageSystem::ACompoundSerializerValueBase<void *,class StorageSystem::Registry::CNativeValue>::Write";

// A value whose declared type goes through `m_serializer` into the native form `Stored` (void* for
// a binary block, char16_t* for text). Serialize and Deserialize have the arguments of the
// serializer's conversions, with the declared type.
template <class Stored, class Base>
class ACompoundSerializerValueBase : public ACasterValueBase<Stored, Base> {
public:
  // Reads the stored form into a temporary and converts it into `destination`.
  [[nodiscard]] ErrorCode Read(void* destination, std::uint32_t capacity) override {
    void* stored = nullptr;
    std::uint32_t storedCapacity = 0;
    std::uint32_t length = 0;
    if (ErrorCode code = Base::ReadRealloc(&stored, &storedCapacity, &length); code != ErrorNone) return code;
    std::uint32_t room = capacity;
    const ErrorCode code = Deserialize(stored, length, destination, &room);
    this->m_allocator->Free(stored);
    return code;
  }

  // As Read, into a block brought to the converted size; data that needs no conversion is handed
  // over as read.
  [[nodiscard]] ErrorCode ReadRealloc(void** buffer, std::uint32_t* capacity, std::uint32_t* size) override {
    void* stored = nullptr;
    std::uint32_t storedCapacity = 0;
    std::uint32_t length = 0;
    if (ErrorCode code = Base::ReadRealloc(&stored, &storedCapacity, &length); code != ErrorNone) return code;
    std::uint32_t needed = 0;
    if (ErrorCode code = Deserialize(stored, length, nullptr, &needed); code != ErrorNone) {
      this->m_allocator->Free(stored);
      return code;
    }
    if (needed == 0) {
      this->m_allocator->Free(*buffer);
      *buffer = stored;
      *capacity = storedCapacity;
      if (size != nullptr) *size = length;
      return ErrorNone;
    }
    ErrorCode code = this->BufferRealloc(buffer, capacity, needed);
    if (code == ErrorNone) {
      std::uint32_t room = *capacity;
      code = Deserialize(stored, length, *buffer, &room);
      if (code == ErrorNone && size != nullptr) *size = room;
    }
    this->m_allocator->Free(stored);
    return code;
  }

  // Converts `data` and writes the result; data that needs no conversion is written as it is.
  [[nodiscard]] ErrorCode Write(const void* data, std::uint32_t size) override {
    std::uint32_t needed = 0;
    if (ErrorCode code = Serialize(data, size, nullptr, &needed); code != ErrorNone) return code;
    if (needed == 0) return Base::Write(data, size);
    void* block = this->m_allocator->Alloc(needed);
    if (block == nullptr) return RaiseError(kCompoundWriteName<Stored>, ErrorOutOfMemory, nullptr);
    ErrorCode code = Serialize(data, size, block, &needed);
    if (code == ErrorNone) code = Base::Write(block, needed);
    this->m_allocator->Free(block);
    return code;
  }

protected:
  ACompoundSerializerValueBase(IStore* store, const ITypeDescription* declaredType, ISerializer* serializer)
      : ACasterValueBase<Stored, Base>(store, declaredType), m_serializer(serializer) {}

  [[nodiscard]] virtual ErrorCode Serialize(const void* data, std::uint32_t size, void* destination,
                                            std::uint32_t* destinationSize) = 0;
  [[nodiscard]] virtual ErrorCode Deserialize(const void* data, std::uint32_t size, void* destination,
                                              std::uint32_t* destinationSize) = 0;

  ISerializer* const m_serializer;
};

// The binary form: ToBinary and FromBinary.
template <class Base>
class CBinarySerializerValue : public ACompoundSerializerValueBase<void*, Base> {
public:
  CBinarySerializerValue(IStore* store, const ITypeDescription* declaredType, ISerializer* serializer)
      : ACompoundSerializerValueBase<void*, Base>(store, declaredType, serializer) {}

protected:
  [[nodiscard]] ErrorCode Serialize(const void* data, std::uint32_t size, void* destination,
                                    std::uint32_t* destinationSize) override {
    return this->m_serializer->ToBinary(this->m_declaredType, data, size, destination, destinationSize);
  }
  [[nodiscard]] ErrorCode Deserialize(const void* data, std::uint32_t size, void* destination,
                                      std::uint32_t* destinationSize) override {
    return this->m_serializer->FromBinary(this->m_declaredType, data, size, destination, destinationSize);
  }
};

// The text form: ToString and FromString.
template <class Base>
class CTextSerializerValue : public ACompoundSerializerValueBase<char16_t*, Base> {
public:
  CTextSerializerValue(IStore* store, const ITypeDescription* declaredType, ISerializer* serializer)
      : ACompoundSerializerValueBase<char16_t*, Base>(store, declaredType, serializer) {}

protected:
  [[nodiscard]] ErrorCode Serialize(const void* data, std::uint32_t size, void* destination,
                                    std::uint32_t* destinationSize) override {
    return this->m_serializer->ToString(this->m_declaredType, data, size, destination, destinationSize);
  }
  [[nodiscard]] ErrorCode Deserialize(const void* data, std::uint32_t size, void* destination,
                                      std::uint32_t* destinationSize) override {
    return this->m_serializer->FromString(this->m_declaredType, data, size, destination, destinationSize);
  }
};

namespace Registry {

// Makes the compound value of `type` on `store` with its serializer: binary kind as `void *`, any
// other as `unsigned short *`, which `*effectiveType` receives. ErrorNotSupported ("Type %s is
// not supported"), ErrorOutOfMemory.
[[nodiscard]] ErrorCode CreateCompoundSerializerValue(const ITypeDescription* type, IStore* store,
                                                      IRegistryValue** value, const ITypeDescription** effectiveType);

}  // namespace Registry
}  // namespace StorageSystem
