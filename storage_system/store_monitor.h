// The receiver of change notifications of a store.
#pragma once

#include <cstdint>

namespace StorageSystem {

// Registered on a store with IStore::RegisterMonitor. OnStoreChange(0) is called on a thread-pool
// thread, under the storage system's lock, whenever the store or anything under it changed, in this
// process or another; it carries no detail, the client looks for itself. The store does not own
// the monitor: the client keeps it alive until UnregisterMonitor has returned, after which no call
// comes. A monitor must not wait for anything that waits for this storage system's lock.
class IStoreMonitor {
public:
  virtual ~IStoreMonitor() = default;
  virtual void OnStoreChange(std::uint32_t detail) = 0;
};

}  // namespace StorageSystem
