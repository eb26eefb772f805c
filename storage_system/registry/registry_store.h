// The registry facet of a store.
#pragma once

#include "foundation/error.h"
#include "platform/registry.h"

namespace StorageSystem::Registry {

// Opens keys with the store's own flags and access mask. The order of the virtual operations is
// part of the contract.
class IRegistryStore {
public:
  virtual ~IRegistryStore() = default;
  // Opens, or under SF_CREATE creates, `subKey` of `rootKey`; the caller owns `*result` and closes
  // it with RegCloseKey. Any thread.
  [[nodiscard]] virtual ErrorCode OpenSubKey(Platform::HKEY rootKey, const char16_t* subKey,
                                             Platform::HKEY* result) = 0;
};

}  // namespace StorageSystem::Registry
