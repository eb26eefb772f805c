// Casters: values of built-in arithmetic types stored in a native form of at least their width.
#pragma once

#include <cstdint>
#include <cstring>

#include "foundation/error.h"
#include "foundation/type_description.h"
#include "storage_system/store.h"
#include "storage_system/registry/caster_value_base.h"
#include "storage_system/registry/native_value.h"
#include "storage_system/registry/registry_value.h"

namespace StorageSystem {

// The 8-byte "long double" of the platform's compiler, which the local compiler may not have.
struct LongDouble64 {
  double value;
};

// The part that the casters of every stored category share: the client's data has the declared
// type's width, so ReadRealloc reads the value through Read into a local copy and hands it out in a
// block that BufferRealloc brings to that width. `Declared` is a C++ type of the declared type's width.
template <class Stored, class Declared, class Base>
class ABuiltInCasterValueBase : public ACasterValueBase<Stored, Base> {
public:
  [[nodiscard]] ErrorCode ReadRealloc(void** buffer, std::uint32_t* capacity, std::uint32_t* size) override {
    unsigned char local[sizeof(Declared)] = {};
    if (ErrorCode code = this->Read(local, sizeof local); code != ErrorNone) return code;
    if (ErrorCode code = this->BufferRealloc(buffer, capacity, sizeof local); code != ErrorNone) return code;
    std::memcpy(*buffer, local, sizeof local);
    if (size != nullptr) *size = sizeof local;
    return ErrorNone;
  }

protected:
  ABuiltInCasterValueBase(IStore* store, const ITypeDescription* declaredType)
      : ACasterValueBase<Stored, Base>(store, declaredType) {}
};

// The casters of one stored category. `Stored` is std::uint32_t or std::uint64_t: the declared
// type's bytes go to the low end of a cleared native word and come back by truncation, with no
// sign extension and no check ("short" -1 is stored as 0x0000FFFF; a stored 70000 reads as 4464).
// Floating-point types travel as raw bits. `Declared` is a C++ type of the declared type's width.
template <class Stored>
struct BuiltInCasterCategory {
  template <class Declared, class Base>
  class CBuiltInCasterValue : public ABuiltInCasterValueBase<Stored, Declared, Base> {
  public:
    CBuiltInCasterValue(IStore* store, const ITypeDescription* declaredType)
        : ABuiltInCasterValueBase<Stored, Declared, Base>(store, declaredType) {}

    // `capacity` is not looked at: the destination takes the declared type's width.
    [[nodiscard]] ErrorCode Read(void* destination, std::uint32_t capacity) override {
      Stored local = 0;
      if (ErrorCode code = Base::Read(&local, sizeof local); code != ErrorNone) return code;
      std::memcpy(destination, &local, sizeof(Declared));
      return ErrorNone;
    }

    // `size` is not looked at: the data has the declared type's width.
    [[nodiscard]] ErrorCode Write(const void* data, std::uint32_t size) override {
      Stored local = 0;
      std::memcpy(&local, data, sizeof(Declared));
      return Base::Write(&local, sizeof local);
    }
  };
};

// The format of each floating-point type in text form, and the name of its read report.
template <class Declared>
struct TextCasterTraits;

template <>
struct TextCasterTraits<float> {
  static constexpr const char16_t* kFormat = u"%f";
  static constexpr const char* kRead =
      "StorageSystem::BuiltInCasterCategory<unsigned short *>::CBuiltInCasterValue<float,class "
      "StorageSystem::Registry::CNativeValue>::Read";
};
template <>
struct TextCasterTraits<double> {
  static constexpr const char16_t* kFormat = u"%lf";
  static constexpr const char* kRead =
      "StorageSystem::BuiltInCasterCategory<unsigned short *>::CBuiltInCasterValue<double,class "
      "StorageSystem::Registry::CNativeValue>::Read";
};
template <>
struct TextCasterTraits<LongDouble64> {
  static constexpr const char16_t* kFormat = u"%Lf";
  static constexpr const char* kRead =
      "StorageSystem::BuiltInCasterCategory<unsigned short *>::CBuiltInCasterValue<long double,class "
      "StorageSystem::Registry::CNativeValue>::Read";
};

// Printing and scanning of one floating-point value by its format; defined for float, double
// and LongDouble64.
int FormatFloatingPoint(char16_t* text, std::size_t capacity, const float& value);
int FormatFloatingPoint(char16_t* text, std::size_t capacity, const double& value);
int FormatFloatingPoint(char16_t* text, std::size_t capacity, const LongDouble64& value);
int ScanFloatingPoint(const char16_t* text, float& value);
int ScanFloatingPoint(const char16_t* text, double& value);
int ScanFloatingPoint(const char16_t* text, LongDouble64& value);

// The text casters of the floating-point types, in force when the storage system stores them as
// text: "%f", "%lf" or "%Lf" in the registry as REG_SZ without a terminator.
template <>
struct BuiltInCasterCategory<char16_t*> {
  template <class Declared, class Base>
  class CBuiltInCasterValue : public ABuiltInCasterValueBase<char16_t*, Declared, Base> {
  public:
    CBuiltInCasterValue(IStore* store, const ITypeDescription* declaredType)
        : ABuiltInCasterValueBase<char16_t*, Declared, Base>(store, declaredType) {}

    // ErrorCannotRead when the scanner assigns nothing; the destination is as it left it.
    [[nodiscard]] ErrorCode Read(void* destination, std::uint32_t capacity) override {
      void* text = nullptr;
      std::uint32_t textCapacity = 0;
      std::uint32_t length = 0;
      if (ErrorCode code = Base::ReadRealloc(&text, &textCapacity, &length); code != ErrorNone) return code;
      Declared value;
      std::memcpy(&value, destination, sizeof value);
      const int fields = ScanFloatingPoint(static_cast<const char16_t*>(text), value);
      std::memcpy(destination, &value, sizeof value);
      this->m_allocator->Free(text);
      if (fields == 0) return RaiseError(TextCasterTraits<Declared>::kRead, ErrorCannotRead, nullptr);
      return ErrorNone;
    }

    // The text goes out without its terminator: the size is twice the formatter's length.
    // DELIBERATE: a text longer than 31 characters does not fit, the length is -1, and the size
    // passed on is twice that, 0xFFFFFFFE bytes, so that the registry write itself fails and the
    // report is the handler's.
    [[nodiscard]] ErrorCode Write(const void* data, std::uint32_t size) override {
      Declared value;
      std::memcpy(&value, data, sizeof value);
      char16_t text[32];
      const int length = FormatFloatingPoint(text, 32, value);
      return Base::Write(text, static_cast<std::uint32_t>(length * 2));
    }
  };
};

namespace Registry {

// Makes a caster value on a store for its row's declared type; null when out of memory.
using CasterFactory = IRegistryValue* (*)(IStore* store, const ITypeDescription* declaredType);

// One row of a caster table.
struct CasterInfo {
  // Null ends the table.
  const ITypeDescription* declaredType;
  const ITypeDescription* nativeType;
  CasterFactory factory;
};

// The caster table in force for the storage system's option flags (kOptionFloatAsString picks the
// text form of floating-point types). Both tables are built together on first use; any thread.
const CasterInfo* GetCasterTable(std::uint32_t optionFlags);
// The first row whose declared type `type` matches under the flags 125, or null.
const CasterInfo* FindCaster(std::uint32_t optionFlags, const ITypeDescription* type);

// Makes the caster value of `type` on `store`; `*effectiveType` receives the row's native type.
// ErrorNotFound ("Could not find build-in type caster information") without a row,
// ErrorOutOfMemory.
[[nodiscard]] ErrorCode CreateBuiltInCasterValue(std::uint32_t optionFlags, const ITypeDescription* type, IStore* store,
                                                 IRegistryValue** value, const ITypeDescription** effectiveType);

}  // namespace Registry
}  // namespace StorageSystem
