// The logic of a vector of store or value instances.
#pragma once

#include <cstdint>
#include <map>
#include <set>

#include "data_system/item_indexer.h"
#include "data_system/notification_completion_list.h"
#include "data_system/storage_system_item.h"
#include "data_system/store_monitor_dispatch_list.h"
#include "storage_system/lock.h"

namespace DataSystem {

// A changing set of instances of one model, each stored under its physical index. The logical
// index of an instance is its place among the living ones in ascending physical order, and display
// paths follow it. Inserts and erases come from clients; a scan finds the instances that other
// processes added or removed behind the store's back. Every operation takes the tree's lock; the
// deletions found by a scan wait in the scan's completion list until every monitor has heard of
// them.
class CItemVectorIndexerDelegate : public INotificationCompletionTarget {
public:
  // `store` is the parent store, `model` the instances' model, `factory` their maker; none is
  // counted. Built on the thread that builds the tree.
  CItemVectorIndexerDelegate(IItem* store, IModel* model, IItemFactory* factory);
  virtual ~CItemVectorIndexerDelegate() = default;
  CItemVectorIndexerDelegate(const CItemVectorIndexerDelegate&) = delete;
  CItemVectorIndexerDelegate& operator=(const CItemVectorIndexerDelegate&) = delete;

  // Deletes an instance that a scan found gone; storage has lost its place already.
  void OnNotificationComplete(IItem* item) override;

  // The operations of IItemIndexer; see data_system/item_indexer.h.
  std::uint64_t GetItemCount();
  [[nodiscard]] ErrorCode GetItem(std::uint64_t index, IItem** result);
  std::uint64_t GetItemIndex(IItem* item);
  std::uint64_t GetItemPhysicalIndex(IItem* item);
  [[nodiscard]] ErrorCode EnumItems(IItemEnumTarget* target);
  [[nodiscard]] ErrorCode InsertDefaultItem(IItem** result);
  [[nodiscard]] ErrorCode EraseItem(IItem* item);
  [[nodiscard]] ErrorCode Clear(std::uint32_t flags);
  [[nodiscard]] ErrorCode Scan(CStoreMonitorDispatchList* dispatchList, CNotificationCompletionList* completionList);
  // Makes an instance for every index found in storage. The first failure ends it, and the
  // instances made so far stay for Uninit.
  [[nodiscard]] ErrorCode Init();
  // Deletes the instances from the last to the first, without touching storage.
  void Uninit();

  StorageSystem::ILock* lock = nullptr;
  IItem* const store;
  IStorageSystemItemVector* const indexSource;
  IModel* const model;
  IItemFactory* const factory;
  std::set<std::uint64_t> physicalIndexes;
  std::map<std::uint64_t, IItem*> itemByIndex;
  std::map<IItem*, std::uint64_t> physicalByItem;
  std::map<IItem*, std::uint64_t> logicalByItem;
  std::uint64_t highestIndex = kNoIndex;
  // Whether insert and release notifications are on; only the warning at construction reads it.
  unsigned char notificationsOn;

private:
  // Makes, lists and initializes the instance of `physicalIndex`; `existing` 1 when it is in
  // storage already. On failure the instance is gone again. ErrorStlException, or the code of the
  // factory or of the instance's Init.
  [[nodiscard]] ErrorCode CreateInstance(std::uint64_t physicalIndex, std::uint32_t existing, IItem** result);
  // Removes `item` from the three maps and renumbers the rest.
  void Forget(IItem* item);
  void Renumber();
  void UpdatePaths();
  // Marks `item` deleted, forgets it, lets it die unless a client holds it, and renumbers the
  // paths. Returns its physical index.
  std::uint64_t DeleteInstance(IItem* item);
};

}  // namespace DataSystem
