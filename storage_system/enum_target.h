// The receiver of an enumeration.
#pragma once

#include "foundation/error.h"
#include "foundation/extensible.h"

namespace StorageSystem {

// Called once for each item of an enumeration, on the enumerating thread. `item` is a stack object
// valid during the call only; ask it with GetInterface for IStoreEnumItem, IValueEnumItem,
// Registry::IRegistryValueEnumItem or ITypeEnumItem. Setting `*stop` ends the enumeration with
// success; a failing code ends it with that code.
class IEnumTarget {
public:
  virtual ~IEnumTarget() = default;
  [[nodiscard]] virtual ErrorCode OnEnumeratedItem(Common::IExtensible* item, bool* stop) = 0;
};

}  // namespace StorageSystem
