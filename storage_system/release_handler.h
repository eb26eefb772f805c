// The receiver of a storage system's final release.
#pragma once

#include "foundation/extensible.h"

namespace StorageSystem {

// Told by the destructor of a storage system, after its store is closed, that the object is going.
// `storageSystem` serves for GetInterface and as a key only. Called on the thread of the last
// Release. The order of the virtual operations is part of the contract.
class IReleaseHandler {
public:
  virtual ~IReleaseHandler() = default;
  virtual void OnFinalRelease(Common::IExtensible* storageSystem) = 0;
};

}  // namespace StorageSystem
