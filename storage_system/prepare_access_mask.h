// The common check at the head of every open of a store or a value.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "storage_system/storage_item.h"

namespace StorageSystem {

// Settles the flags with which `item` is opened: takes over the parent's flags under SF_INHERIT,
// checks SF_VOLATILE against the capabilities of the storage system and the parent, and adds
// SF_WRITE under SF_CREATE. `*flags` is updated in place. Returns ErrorNone; ErrorInvalidParameter
// for SF_INHERIT on a root or a persistent item in a volatile store; ErrorNotSupported when the
// backend cannot keep the item. The caller's thread.
[[nodiscard]] ErrorCode PrepareAccessMask(IStorageItem* item, std::uint32_t* flags);

}  // namespace StorageSystem
