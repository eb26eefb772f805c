#include "storage_system/product_storage_system.h"

#include <exception>
#include <string>

#include "foundation/security_attributes.h"
#include "storage_system/heap_allocator.h"
#include "storage_system/product_storage_path.h"
#include "storage_system/registry/storage_system.h"

namespace ProductStorageSystem {

const Platform::SECURITY_ATTRIBUTES* GetProductStorageSecurityAttributes() {
  // DELIBERATE: local system gets no entry of its own.
  static const Common::CSecurityAttributes attributes(8, 8, 8, 0, 8);
  return attributes.attributes;
}

ErrorCode OpenProductStorageSystem(std::int32_t rootSelector, StorageSystem::IStorageSystem** result,
                                   const DataSystem::ProductDesc& desc, std::uint32_t flags,
                                   StorageSystem::IReleaseHandler* releaseHandler,
                                   const Platform::SECURITY_ATTRIBUTES* attributes, bool applySecurity) {
  try {
    const std::u16string path = BuildProductStoragePath(desc);
    const StorageSystem::Registry::StorageSystemParameters parameters{
        rootSelector == kMachineRootSelector ? Platform::HKEY_LOCAL_MACHINE : Platform::HKEY_CURRENT_USER,
        path.c_str(),
        Platform::KEY_WOW64_64KEY,
        attributes != nullptr ? attributes : GetProductStorageSecurityAttributes(),
        StorageSystem::GetProcessAllocator(),
        0};
    return StorageSystem::Registry::OpenStorageSystem(parameters, result, flags, releaseHandler, applySecurity);
  } catch (const std::exception& e) {
    return RaiseStlException("ProductStorageSystem::OpenProductStorageSystem", e.what());
  }
}

}  // namespace ProductStorageSystem
