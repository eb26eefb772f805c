// Stores: the inner nodes of a data system tree, and the data system object at its root.
//
// Every operation that can fail returns an ErrorCode that has been reported already. Every store
// operation holds the tree's lock for its whole length. The order of the virtual operations is part
// of the contract.
#pragma once

#include <cstdint>

#include "data_system/item.h"
#include "data_system/store_monitor.h"
#include "storage_system/lock.h"

namespace DataSystem {

class CStoreMonitorDispatchList;
class IItemIndexer;

// Monitor delivery modes of IStore::RegisterMonitor.
enum MonitorMode : std::uint32_t {
  // Called on the scanning thread, inside the tree's lock.
  MONITOR_DIRECT = 0,
  // Called on a pool thread through a work item, without the lock.
  MONITOR_ASYNC = 1,
};

class IStore : public IItem {
public:
  // Walks the direct items, values first, then stores; with `filter->mode` 1 descends into the
  // sub-stores afterwards. ErrorNotImplemented when `filter->modelId` is set.
  [[nodiscard]] virtual ErrorCode EnumItems(IItemEnumTarget* target, const ItemEnumFilter* filter) = 0;
  // The number of instances of the vector of `model`; kNoIndex for a plain child or an unknown model.
  virtual std::uint64_t GetItemCount(const Common::GUID* model) = 0;
  // StoreModelFlags, the parent's where the model says SM_INHERIT.
  virtual std::uint32_t GetStoreFlags() = 0;
  virtual std::uint32_t GetRights() = 0;
  virtual std::uint32_t GetNotificationFlags() = 0;
  // Scans the store now, for stores that are not updated by themselves.
  [[nodiscard]] virtual ErrorCode Update() = 0;
  // `monitor` is borrowed until UnregisterMonitor returned; `mode` a MonitorMode.
  // ErrorAccessDenied without RIGHT_MONITOR, ErrorInvalidParameter for another mode,
  // ErrorAlreadyExists for a monitor registered already.
  [[nodiscard]] virtual ErrorCode RegisterMonitor(IStoreMonitor* monitor, std::uint32_t mode) = 0;
  // After it returns no direct call reaches `monitor`. ErrorNotFound when it is not registered.
  [[nodiscard]] virtual ErrorCode UnregisterMonitor(IStoreMonitor* monitor) = 0;
  // Convenience forms of the insert by name and by GUID below; the Ref forms hand out a reference.
  [[nodiscard]] virtual ErrorCode InsertDefaultItem(const char16_t* modelName, IItem** item) = 0;
  [[nodiscard]] virtual ErrorCode InsertDefaultItemRef(const char16_t* modelName, IItem** item) = 0;
  [[nodiscard]] virtual ErrorCode InsertDefaultItemRef(Common::GUID model, IItem** item) = 0;
  // The direct child that `step` names, and below it what its `next` steps name. Borrowed.
  [[nodiscard]] virtual ErrorCode GetItem(const ItemPathStep* step, IItem** item) = 0;
  // The item at the dotted display path below this store ("Profile[2].bState"). Borrowed.
  [[nodiscard]] virtual ErrorCode GetItem(const char16_t* path, IItem** item) = 0;
  // The same, with one reference for the caller.
  [[nodiscard]] virtual ErrorCode GetItemRef(const ItemPathStep* step, IItem** item) = 0;
  [[nodiscard]] virtual ErrorCode GetItemRef(const char16_t* path, IItem** item) = 0;
  // A new instance in the vector of the model named `modelName`, or of `model`. Borrowed.
  [[nodiscard]] virtual ErrorCode InsertDefaultItemByName(const char16_t* modelName, IItem** item) = 0;
  [[nodiscard]] virtual ErrorCode InsertDefaultItemByGuid(const Common::GUID* model, IItem** item) = 0;
  // The same, with one reference for the caller.
  [[nodiscard]] virtual ErrorCode InsertDefaultItemByNameRef(const char16_t* modelName, IItem** item) = 0;
  [[nodiscard]] virtual ErrorCode InsertDefaultItemByGuidRef(const Common::GUID* model, IItem** item) = 0;
};

// The tree's side of a store. Called under the tree's lock.
class IStoreInternal {
public:
  // Makes `indexer` the indexer of the children of `model`, replacing an earlier one.
  [[nodiscard]] virtual ErrorCode RegisterIndexer(IItemIndexer* indexer, const Common::GUID* model) = 0;
  // Lists a child that has just been built (its constructor's last step).
  [[nodiscard]] virtual ErrorCode Attach(IItem* item) = 0;
  virtual void UnregisterIndexer(IItemIndexer* indexer) = 0;
  // Forgets a child (its destructor's first step, or its deletion).
  virtual void Detach(IItem* item) = 0;
  // Compares the store with storage and tells the monitors; both lists may be null at the top.
  [[nodiscard]] virtual ErrorCode Scan(CStoreMonitorDispatchList* dispatchList,
                                       CNotificationCompletionList* completionList) = 0;
  // Tells this store's own monitors that the store itself is being erased.
  virtual void NotifyErased(CNotificationCompletionList* completionList) = 0;
  virtual std::uint64_t GetItemIndex(IItem* item) = 0;
  virtual std::uint64_t GetItemPhysicalIndex(IItem* item) = 0;
  [[nodiscard]] virtual ErrorCode EraseItem(IItem* item) = 0;

protected:
  ~IStoreInternal() = default;
};

// The root of a tree. Its own store flags, rights and notification flags are 0: rights begin at the
// first store with a place in storage of its own.
class IDataSystem : public IStore {
public:
  // DataSystemFlags, as kept after the friendly storage switch.
  virtual std::uint32_t GetFlags() = 0;
  // The tree's one lock, which is its storage system's; borrowed.
  virtual StorageSystem::ILock* GetLock() = 0;
};

}  // namespace DataSystem

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IStore> =
    "Common::CExtensible<class DataSystem::IStore>::RegisterInterfaceBase";
template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IDataSystem> =
    "Common::CExtensible<class DataSystem::IDataSystem>::RegisterInterfaceBase";
