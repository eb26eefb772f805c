// The registry types that values are stored as, with their descriptions and handlers.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/type_description.h"
#include "platform/registry.h"
#include "storage_system/registry/type_io_handler.h"

namespace StorageSystem::Registry {

// One row of the native type table.
struct NativeTypeInfo {
  // The registry type number; 0 ends the table.
  Platform::DWORD id;
  bool variableSize;
  // The description of the data's representation in memory.
  const ITypeDescription* type;
  ITypeIOHandler* handler;
  std::uint32_t defaultSize;
  const void* defaultData;
};

// The table, ended by a row with id 0: REG_SZ, REG_BINARY, REG_DWORD, REG_MULTI_SZ, REG_QWORD.
// Built once; any thread.
const NativeTypeInfo* GetNativeTypeTable();

// The row of the registry type `id`. ErrorNotSupported ("Value type %d is not currently
// supported") when there is none.
[[nodiscard]] ErrorCode GetNativeTypeInfo(Platform::DWORD id, const NativeTypeInfo** row);
// The first row whose type matches `type` under the flags 125. ErrorNotSupported ("No native
// support for data type %s") when there is none.
[[nodiscard]] ErrorCode GetNativeTypeInfo(const ITypeDescription* type, const NativeTypeInfo** row);
// Whether some row matches `type`; reports nothing.
bool IsNativeType(const ITypeDescription* type);

}  // namespace StorageSystem::Registry
