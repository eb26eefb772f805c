// The choice of value class for a declared type.
#pragma once

#include "foundation/error.h"
#include "foundation/type_description.h"
#include "storage_system/store.h"
#include "storage_system/registry/registry_value.h"

namespace StorageSystem::Registry {

// Makes the value object that OpenValue initializes for the declared `type` (may be null) on
// `store`: a native value for no type or a native one, else a caster, else a compound value
// through a serializer. `*value` receives it with one reference (holding one on `store`), and
// `*effectiveType` the native type to store. ErrorNotSupported ("Type %s is not supported") when
// nothing takes the type, ErrorOutOfMemory. The caller's thread.
[[nodiscard]] ErrorCode CreateValue(IStore* store, const ITypeDescription* type, IRegistryValue** value,
                                    const ITypeDescription** effectiveType);

}  // namespace StorageSystem::Registry
