// The logic of every store of a data system tree, the data system object included.
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "data_system/item_delegate.h"
#include "data_system/item_indexer.h"
#include "data_system/store.h"
#include "data_system/store_monitor_dispatch_list.h"
#include "data_system/value.h"
#include "foundation/guid.h"

namespace DataSystem {

// A store knows its direct items in three collections: sub-stores and values in attach order (vector
// instances among them), and one indexer for each child model. It finds items by dotted path, by
// GUID steps or by vector index, enumerates them, asks its indexers to insert or erase, keeps the
// monitor registrations, and runs the scan that tells monitors what changed. It knows nothing of
// storage: CStorageSystemStoreDelegate adds that. None of its pointers owns anything: children and
// indexers are members of the object that holds this store, or vector instances that own
// themselves.
//
// Every public operation holds the tree's lock for its whole length (but the first step of an
// insert by name, which reads the indexers, fixed since construction). The lock is null before
// Init and after Uninit; operations are then not to be called, but for those of construction.
class CStoreDelegate : public CItemDelegate {
public:
  CStoreDelegate(IItem* item, IModel* model, IItem* parent) : CItemDelegate(item, model, parent) {}
  // DELIBERATE: monitors still registered are forgotten, not called or deleted; adapters of
  // asynchronous monitors left behind leak, and the dispatch list logs that it was not empty.
  ~CStoreDelegate() override = default;

  std::int64_t GetSubtreeRefCount() override;
  void SetOpenMode(std::uint32_t mode) override;
  void UpdatePath() override;
  // Brings up the values, then the sub-stores, then the indexers; at a failure undoes what was done,
  // last first, and returns the code: an earlier failed Attach, the path's, or the child's.
  [[nodiscard]] ErrorCode Init() override;
  void Uninit() override;
  void MarkChildrenDeleted(IItem* root) override;

  virtual std::uint32_t GetStoreFlags();
  virtual std::uint32_t GetRights();
  virtual std::uint32_t GetNotificationFlags() { return 0; }
  // ErrorStlException when the map cannot grow.
  [[nodiscard]] virtual ErrorCode RegisterIndexer(IItemIndexer* indexer, const Common::GUID* model);
  // Lists a store or a value. ErrorInvalidOperation for an item that is neither; ErrorAlreadyExists
  // or ErrorStlException from the list, which Init then hands back.
  [[nodiscard]] virtual ErrorCode Attach(IItem* item);
  virtual void UnregisterIndexer(IItemIndexer* indexer);
  virtual void Detach(IItem* item);
  // The vectors' part of a scan; failures are logged and the other indexers scanned all the same.
  [[nodiscard]] virtual ErrorCode ScanIndexers(CStoreMonitorDispatchList* dispatchList,
                                               CNotificationCompletionList* completionList);

  // The operations of IStore; see data_system/store.h. `addRef` chooses the form that hands out a
  // reference.
  [[nodiscard]] ErrorCode GetItem(const char16_t* path, IItem** result, bool addRef);
  [[nodiscard]] ErrorCode GetItem(const ItemPathStep* step, IItem** result, bool addRef);
  std::uint64_t GetItemCount(const Common::GUID* model);
  [[nodiscard]] ErrorCode InsertDefaultItem(const Common::GUID* model, IItem** result, bool addRef);
  [[nodiscard]] ErrorCode InsertDefaultItem(const char16_t* modelName, IItem** result, bool addRef);
  [[nodiscard]] ErrorCode EraseItem(IItem* child);
  [[nodiscard]] ErrorCode EnumItems(IItemEnumTarget* target, const ItemEnumFilter* filter);
  // EnumItems for callers that hold the lock already.
  [[nodiscard]] ErrorCode EnumItemsBase(IItemEnumTarget* target, const ItemEnumFilter* filter);
  [[nodiscard]] ErrorCode Reset(std::uint32_t flags);
  [[nodiscard]] ErrorCode RegisterMonitor(IStoreMonitor* monitor, std::uint32_t mode);
  [[nodiscard]] ErrorCode UnregisterMonitor(IStoreMonitor* monitor);
  [[nodiscard]] ErrorCode Scan(CStoreMonitorDispatchList* dispatchList, CNotificationCompletionList* completionList);
  void NotifyErased(CNotificationCompletionList* completionList);
  std::uint64_t GetItemIndex(IItem* child);
  std::uint64_t GetItemPhysicalIndex(IItem* child);

  std::vector<std::pair<IStore*, IStoreInternal*>> stores;
  std::vector<std::pair<IValue*, IInitializable*>> values;
  std::map<Common::GUID, IItemIndexer*, Common::GuidLess> indexers;
  CStoreMonitorDispatchList dispatchList;
  // Each registered monitor, and what stands in the dispatch list for it: itself, or its adapter.
  std::map<IStoreMonitor*, IStoreMonitor*> monitors;
  ErrorCode initError = ErrorNone;

private:
  // The indexer of the children of `model`, or null.
  IItemIndexer* FindIndexer(const Common::GUID* model);
  // Calls `action` with the IItemInternal of each direct item, under the caller's lock.
  template <class Action>
  void ForEachDirectItem(Action action);
  // Undoes Init for the first `valueCount` values, `storeCount` stores and `indexerCount` indexers.
  void UninitPartially(std::size_t valueCount, std::size_t storeCount, std::size_t indexerCount);
};

}  // namespace DataSystem
