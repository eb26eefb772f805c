// The lock of a storage system.
#pragma once

namespace StorageSystem {

// One re-entrant lock for each storage system. It guards monitor lists, and it is also the lock of
// every data system tree on that storage system. The order of the virtual operations is part of the
// contract.
class ILock {
public:
  virtual ~ILock() = default;
  virtual void Lock() = 0;
  virtual void Unlock() = 0;
  // True when the lock was taken; the caller then owes one Unlock.
  virtual bool TryLock() = 0;
};

}  // namespace StorageSystem
