// Which product's settings tree this module uses, and opening it.
//
// Several products of one family can share a machine; each keeps its settings in a registry tree
// named after its company and product. The identity comes from compiled-in defaults, from
// "ProductInfo.dll" (product_info.h), and from two registry values of the machine hive that say
// whether products cohabit ("SOFTWARE\Velorin", "ProductCohabitation", 2 or more) and whether one of
// them is ready ("AppIsReady" 1 in the key of the product below any subkey of "SOFTWARE\Velorin").
// Nothing here keeps state: each call reads the registry and the library anew. All of it runs on the
// caller's thread, which in this module is the daemon's control thread.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/guid.h"
#include "platform/registry.h"
#include "storage_system/product_desc.h"
#include "storage_system/storage_system.h"

// The property of "ProductInfo.dll" that names the product.
inline constexpr Common::GUID kProductNameProperty = Common::GuidLiteral("3A76CD51-A0DC-47B6-B7AD-9DA54A3C44AB");

// Whether products cohabit and the one of the product of `desc` is ready: the first subkey of
// "SOFTWARE\Velorin" (in the registry's order) whose key named `desc.product` (an empty name is the
// subkey itself) holds a readable "AppIsReady" decides, yes for 1 and no for anything else. No when
// "ProductCohabitation" is missing or below 2, or when the keys cannot be read. The keys that it
// opens stay open.
bool IsCohabitingProductReady(const DataSystem::ProductDesc& desc);

// The identity to use for `desc`. With a cohabiting product ready: `desc` when it names a company,
// else what the library says (the default record where it says nothing). Otherwise: company
// "Velorin", the product named by the library's product name property ("VelorinV3" where it says
// nothing), and the versions that the library gives (the default record's where it gives none).
// Never fails. Throws std::bad_alloc.
DataSystem::ProductDesc ResolveProductDesc(DataSystem::ProductDesc desc);

// The product whose tree is opened for `desc`: `desc` itself when products cohabit, or when it is
// "Quillon" "Velorin" in any case; otherwise "Velorin" "VelorinV3" with the versions of `desc`.
// Throws std::bad_alloc.
DataSystem::ProductDesc ChooseStorageProduct(const DataSystem::ProductDesc& desc);

// Opens the storage system of the product chosen for `desc` (ChooseStorageProduct): in the machine
// hive, or in the user's with the data system flag of a per-user storage (0x2000); through the
// process's shared handler with the flag of a shared storage (0x1000), else as a storage system of
// its own secured by `attributes` (null: the product storage's own). `*storage` receives it with one
// reference, which the caller owns. Returns ErrorNone, ErrorInvalidOperation (reported) for
// attributes with a shared storage, the code of a failed open, or ErrorStlException.
[[nodiscard]] ErrorCode OpenProductStorage(StorageSystem::IStorageSystem** storage, std::uint32_t flags,
                                           const Platform::SECURITY_ATTRIBUTES* attributes,
                                           const DataSystem::ProductDesc& desc);
