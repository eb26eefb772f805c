// The receiver of a store's change notifications.
#pragma once

namespace DataSystem {

class IItem;
class IValue;
class CNotificationCompletionList;

// Registered on a store with IStore::RegisterMonitor; not to be confused with the storage system's
// StorageSystem::IStoreMonitor. A direct monitor is called on the scanning thread inside the
// tree's lock, so it must be short and must not unregister a monitor of that store; an asynchronous
// one is called on a pool thread without the lock and with a null completion list. Nothing counts
// references to a monitor: the client unregisters it before it goes, and keeps its own reference to
// an item that it holds beyond the call. The order of the virtual operations is part of the
// contract.
class IStoreMonitor {
public:
  virtual ~IStoreMonitor() = default;
  virtual void OnValueChange(IValue* value, CNotificationCompletionList* completionList) = 0;
  virtual void OnItemInsert(IItem* item, CNotificationCompletionList* completionList) = 0;
  virtual void OnItemErase(IItem* item, CNotificationCompletionList* completionList) = 0;
};

}  // namespace DataSystem
