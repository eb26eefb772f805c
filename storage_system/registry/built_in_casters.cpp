#include "storage_system/registry/built_in_casters.h"

#include <new>

#include "foundation/built_in_types.h"
#include "foundation/format.h"
#include "foundation/scan.h"
#include "storage_system/registry/registry_properties.h"

namespace StorageSystem {

int FormatFloatingPoint(char16_t* text, std::size_t capacity, const float& value) {
  return FormatBounded(text, capacity, TextCasterTraits<float>::kFormat, static_cast<double>(value));
}
int FormatFloatingPoint(char16_t* text, std::size_t capacity, const double& value) {
  return FormatBounded(text, capacity, TextCasterTraits<double>::kFormat, value);
}
int FormatFloatingPoint(char16_t* text, std::size_t capacity, const LongDouble64& value) {
  return FormatBounded(text, capacity, TextCasterTraits<LongDouble64>::kFormat, static_cast<long double>(value.value));
}

int ScanFloatingPoint(const char16_t* text, float& value) {
  return ScanBounded(text, TextCasterTraits<float>::kFormat, &value);
}
int ScanFloatingPoint(const char16_t* text, double& value) {
  return ScanBounded(text, TextCasterTraits<double>::kFormat, &value);
}
int ScanFloatingPoint(const char16_t* text, LongDouble64& value) {
  long double scanned = value.value;
  const int fields = ScanBounded(text, TextCasterTraits<LongDouble64>::kFormat, &scanned);
  value.value = static_cast<double>(scanned);
  return fields;
}

namespace Registry {

namespace {

template <class Stored, class Declared>
IRegistryValue* MakeCaster(IStore* store, const ITypeDescription* declaredType) {
  using Value = typename BuiltInCasterCategory<Stored>::template CBuiltInCasterValue<Declared, CNativeValue>;
  return new (std::nothrow) Value(store, declaredType);
}

struct CasterTables {
  CasterInfo raw[14];
  CasterInfo text[14];

  CasterTables() {
    const ITypeDescription* dword = TypeOfUnsignedLong();
    const ITypeDescription* qword = TypeOfUnsignedLongLong();
    const ITypeDescription* string = TypeOfWideString();
    const CasterInfo integers[9] = {
        {TypeOfChar(), dword, MakeCaster<std::uint32_t, char>},
        {TypeOfSignedChar(), dword, MakeCaster<std::uint32_t, signed char>},
        {TypeOfUnsignedChar(), dword, MakeCaster<std::uint32_t, unsigned char>},
        {TypeOfBool(), dword, MakeCaster<std::uint32_t, unsigned char>},
        {TypeOfShort(), dword, MakeCaster<std::uint32_t, std::int16_t>},
        {TypeOfUnsignedShort(), dword, MakeCaster<std::uint32_t, std::uint16_t>},
        {TypeOfInt(), dword, MakeCaster<std::uint32_t, std::int32_t>},
        {TypeOfLong(), dword, MakeCaster<std::uint32_t, std::int32_t>},
        {TypeOfLongLong(), qword, MakeCaster<std::uint64_t, std::int64_t>},
    };
    for (int i = 0; i < 9; ++i) raw[i] = text[i] = integers[i];
    raw[9] = {TypeOfFloat(), dword, MakeCaster<std::uint32_t, float>};
    raw[10] = {TypeOfDouble(), qword, MakeCaster<std::uint64_t, double>};
    raw[11] = {TypeOfLongDouble(), qword, MakeCaster<std::uint64_t, LongDouble64>};
    text[9] = {TypeOfFloat(), string, MakeCaster<char16_t*, float>};
    text[10] = {TypeOfDouble(), string, MakeCaster<char16_t*, double>};
    text[11] = {TypeOfLongDouble(), string, MakeCaster<char16_t*, LongDouble64>};
    raw[12] = text[12] = {TypeOfWchar(), dword, MakeCaster<std::uint32_t, char16_t>};
    raw[13] = text[13] = {nullptr, nullptr, nullptr};
  }
};

}  // namespace

const CasterInfo* GetCasterTable(std::uint32_t optionFlags) {
  static const CasterTables tables;
  return (optionFlags & kOptionFloatAsString) != 0 ? tables.text : tables.raw;
}

const CasterInfo* FindCaster(std::uint32_t optionFlags, const ITypeDescription* type) {
  for (const CasterInfo* row = GetCasterTable(optionFlags); row->declaredType != nullptr; ++row) {
    if (type->Match(row->declaredType, kTypeMatchNative)) return row;
  }
  return nullptr;
}

ErrorCode CreateBuiltInCasterValue(std::uint32_t optionFlags, const ITypeDescription* type, IStore* store,
                                   IRegistryValue** value, const ITypeDescription** effectiveType) {
  static constexpr const char* kName = "StorageSystem::Registry::CreateBuiltInCasterValue";
  const CasterInfo* row = FindCaster(optionFlags, type);
  if (row == nullptr) return RaiseError(kName, ErrorNotFound, u"Could not find build-in type caster information");
  IRegistryValue* created = row->factory(store, row->declaredType);
  if (created == nullptr) return RaiseError(kName, ErrorOutOfMemory, nullptr);
  *value = created;
  *effectiveType = row->nativeType;
  return ErrorNone;
}

}  // namespace Registry
}  // namespace StorageSystem
