// Opening the registry storage system of a product's tree.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "platform/registry.h"
#include "storage_system/product_desc.h"
#include "storage_system/release_handler.h"
#include "storage_system/storage_system.h"

namespace ProductStorageSystem {

// The root selector that names the machine hive; every other value names the current user's.
inline constexpr std::int32_t kMachineRootSelector = 1;

// The security of the keys that a product storage creates when the caller gives none: all rights
// to the interactive users, the administrators, the local service and the application packages,
// and no entry for local system. Built once, at the first call, and kept to the end of the process;
// null when the descriptor could not be built, which leaves the platform's default. Any thread.
const Platform::SECURITY_ATTRIBUTES* GetProductStorageSecurityAttributes();

// Opens a new registry storage system on the tree of `desc` (BuildProductStoragePath) below the
// hive of `rootSelector`, in the 64-bit view, with the process's block allocator. `flags` are the
// StorageFlags of the open; `attributes` (null: the product storage's own) secure the keys created,
// and with `applySecurity` their descriptor is also set on the hive's key. `releaseHandler` (may be
// null) hears of the final release. `*result` receives the storage system with one reference,
// which the caller owns. Returns ErrorNone, the code of the failed open (reported there), or
// ErrorStlException. The caller's thread.
[[nodiscard]] ErrorCode OpenProductStorageSystem(std::int32_t rootSelector, StorageSystem::IStorageSystem** result,
                                                 const DataSystem::ProductDesc& desc, std::uint32_t flags,
                                                 StorageSystem::IReleaseHandler* releaseHandler,
                                                 const Platform::SECURITY_ATTRIBUTES* attributes, bool applySecurity);

}  // namespace ProductStorageSystem
