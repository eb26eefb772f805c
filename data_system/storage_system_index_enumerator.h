// The indexes of a vector's instances as found in storage.
#pragma once

#include <cstdint>
#include <set>

#include "data_system/model.h"
#include "storage_system/enum_target.h"
#include "storage_system/store.h"

namespace DataSystem {

// Reads the names of a storage store's sub-stores (for a store model) or values (for a value
// model) and keeps the index of each name of the form "<storage name>, <index>". Other names are
// passed over. Runs on the caller's thread, under the tree's lock.
class CStorageSystemIndexEnumerator : public StorageSystem::IEnumTarget {
public:
  // `store` is the working storage store, borrowed for Run; `dataSystemFlags` chooses GUID text or
  // model names.
  CStorageSystemIndexEnumerator(StorageSystem::IStore* store, std::uint32_t dataSystemFlags, IModel* model);

  // Fills `indexes`. The enumeration's code, or ErrorStlException when the set cannot grow.
  [[nodiscard]] ErrorCode Run();
  [[nodiscard]] ErrorCode OnEnumeratedItem(Common::IExtensible* item, bool* stop) override;

  std::set<std::uint64_t> indexes;

private:
  StorageSystem::IStore* const m_store;
  const bool m_ofStores;
  // The storage name without an index, then ", %u".
  char16_t m_format[64];
};

}  // namespace DataSystem
