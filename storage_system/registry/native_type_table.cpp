#include "storage_system/registry/native_type_table.h"

#include "foundation/built_in_types.h"
#include "storage_system/registry/type_io_handlers.h"

namespace StorageSystem::Registry {

namespace {

// The same eight zero bytes are the default data of every row.
constexpr unsigned char kZeroes[8] = {};

struct NativeTable {
  CVarSizeIOHandler<Platform::REG_SZ> stringHandler;
  CVarSizeIOHandler<Platform::REG_BINARY> binaryHandler;
  CFixedSizeIOHandler<Platform::REG_DWORD> dwordHandler;
  CVarSizeIOHandler<Platform::REG_MULTI_SZ> multiStringRawHandler;
  CMultiSZIOHandler multiStringHandler{&multiStringRawHandler};
  CFixedSizeIOHandler<Platform::REG_QWORD> qwordHandler;
  NativeTypeInfo rows[6] = {
      {Platform::REG_SZ, true, TypeOfWideString(), &stringHandler, 2, kZeroes},
      {Platform::REG_BINARY, true, TypeOfBinary(), &binaryHandler, 0, kZeroes},
      {Platform::REG_DWORD, false, TypeOfUnsignedLong(), &dwordHandler, 4, kZeroes},
      {Platform::REG_MULTI_SZ, true, TypeOfWideStringArray(), &multiStringHandler, 4, kZeroes},
      {Platform::REG_QWORD, false, TypeOfUnsignedLongLong(), &qwordHandler, 8, kZeroes},
      {0, false, nullptr, nullptr, 0, nullptr},
  };
};

}  // namespace

const NativeTypeInfo* GetNativeTypeTable() {
  static NativeTable table;
  return table.rows;
}

ErrorCode GetNativeTypeInfo(Platform::DWORD id, const NativeTypeInfo** row) {
  for (const NativeTypeInfo* candidate = GetNativeTypeTable(); candidate->id != 0; ++candidate) {
    if (candidate->id == id) {
      *row = candidate;
      return ErrorNone;
    }
  }
  return RaiseError("StorageSystem::Registry::GetNativeTypeInfo", ErrorNotSupported,
                    u"Value type %d is not currently supported", static_cast<int>(id));
}

ErrorCode GetNativeTypeInfo(const ITypeDescription* type, const NativeTypeInfo** row) {
  for (const NativeTypeInfo* candidate = GetNativeTypeTable(); candidate->id != 0; ++candidate) {
    if (candidate->type->Match(type, kTypeMatchNative)) {
      *row = candidate;
      return ErrorNone;
    }
  }
  return RaiseError("StorageSystem::Registry::GetNativeTypeInfo", ErrorNotSupported,
                    u"No native support for data type %s", type != nullptr ? type->GetName() : nullptr);
}

bool IsNativeType(const ITypeDescription* type) {
  for (const NativeTypeInfo* candidate = GetNativeTypeTable(); candidate->id != 0; ++candidate) {
    if (candidate->type->Match(type, kTypeMatchNative)) return true;
  }
  return false;
}

}  // namespace StorageSystem::Registry
