// The registry path of a product's storage tree.
#pragma once

#include <cstdint>
#include <string>

#include "storage_system/product_desc.h"

namespace ProductStorageSystem {

// Bits of DataSystem::ProductDesc::pathFlags.
enum ProductPathFlags : std::uint64_t {
  // Add a suffix to the product name.
  PathFlagSuffix = 0x1,
  // With PathFlagSuffix: the suffix ends in "." and the minor version.
  PathFlagMinorVersion = 0x2,
  // With PathFlagSuffix: the suffix is only "\".
  PathFlagSeparatorOnly = 0x4,
};

// "Software\<company>\<product>" and the suffix of the path flags: "_<major>" or
// "_<major>.<minor>", or "\". Throws std::bad_alloc. Any thread.
std::u16string BuildProductStoragePath(const DataSystem::ProductDesc& desc);

}  // namespace ProductStorageSystem
