// The logic of a store that lives in a storage system.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "data_system/storage_system_item.h"
#include "data_system/storage_system_item_delegate.h"
#include "data_system/store_delegate.h"
#include "storage_system/critical_section_lock.h"
#include "storage_system/store_monitor.h"

namespace DataSystem {

// A store with a place in storage: either a storage store of its own, opened below its parent's
// own store, or a part of its parent's place (SM_INHERIT). At Init it settles its rights, its
// notification flags and its values' cache mode from its model, the data system's flags and what
// the storage system can do; a watched store with no self-updating parent subscribes to changes
// of its own storage store, and each change runs a scan of this store. It also serves the vectors
// below it with the indexes of their instances in storage.
//
// Rights and flags are fixed from Init to Uninit. All but the process-wide index table is guarded
// by the tree's lock; the storage change notification arrives on a pool thread that holds the
// storage system's lock, which is the tree's.
class CStorageSystemStoreDelegate : public CStoreDelegate,
                                    public CStorageSystemItemDelegate,
                                    public StorageSystem::IStoreMonitor {
public:
  CStorageSystemStoreDelegate(IItem* item, IModel* model, IItem* parent);
  ~CStorageSystemStoreDelegate() override = default;

  // Opens the own place, works out the rights, brings up the children and subscribes; at a failure
  // everything is undone and the code returned: the storage's, the path's, or a child's.
  [[nodiscard]] ErrorCode Init() override;
  void Uninit() override;
  void SetOpenMode(std::uint32_t mode) override;
  // Values are also listed for the scan's refresh, with the store's cache mode.
  [[nodiscard]] ErrorCode Attach(IItem* child) override;
  void Detach(IItem* child) override;
  std::uint32_t GetRights() override { return rights; }
  std::uint32_t GetNotificationFlags() override { return notificationFlags; }
  // The vectors first, then the values that changed in storage.
  [[nodiscard]] ErrorCode ScanIndexers(CStoreMonitorDispatchList* dispatchList,
                                       CNotificationCompletionList* completionList) override;

  // The storage system's notification: 0 scans the store; other details are ignored.
  void OnStoreChange(std::uint32_t detail) override;

  // The index operations of IStorageSystemItemVector; see data_system/storage_system_item.h.
  [[nodiscard]] ErrorCode EnumIndexes(IModel* childModel, IIndexEnumTarget* target);
  [[nodiscard]] ErrorCode AllocateIndex(IModel* childModel, std::uint64_t* index, std::uint64_t highest);
  [[nodiscard]] ErrorCode ReleaseIndex(IModel* childModel, std::uint64_t index);

  std::vector<std::pair<IValue*, IStorageSystemValue*>> refreshValues;
  std::uint32_t rights = 0;
  std::uint32_t notificationFlags = 0;
  // A counted reference, from Init to Uninit.
  StorageSystem::IStore* ownStore = nullptr;
  std::uint32_t valueCacheMode = CACHE_LAZY;
  const std::uint32_t accessMask;
  StorageSystem::CCriticalSectionLock indexLock;

private:
  // Rights, notification flags and cache mode, from the own place or from the place store.
  void SettleRights();
  void SetValuesCacheMode();
  // The storage store on which the index operations work, with a reference for the caller: the
  // own store, or the place opened with `flags`.
  [[nodiscard]] ErrorCode OpenWorkingStore(std::uint32_t flags, StorageSystem::IStore** result);
};

}  // namespace DataSystem
