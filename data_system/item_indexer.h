// Indexers: how a store finds, makes and erases the children of one model.
//
// Each child model of a store has one indexer, found by the model's GUID: either one item embedded
// in the store, or a vector of numbered instances. The physical index of an instance is its number
// in storage and never changes; its logical index is its place among the living instances in
// ascending physical order, from 0. Every operation runs under the tree's lock. The order of the
// virtual operations is part of the contract.
#pragma once

#include <cstdint>

#include "data_system/item.h"

namespace DataSystem {

class CNotificationCompletionList;
class CStoreMonitorDispatchList;

class IItemIndexer : public Common::IExtensible {
public:
  // The number of instances; kNoIndex for a single item.
  virtual std::uint64_t GetItemCount() = 0;
  virtual IModel* GetModel() = 0;
  // Instances in ascending physical index, or the single item.
  [[nodiscard]] virtual ErrorCode EnumItems(IItemEnumTarget* target) = 0;
  // The instance of logical index `index`, or the single item for kNoIndex; borrowed.
  [[nodiscard]] virtual ErrorCode GetItem(std::uint64_t index, IItem** item) = 0;
  // A new instance with its defaults, created in storage; borrowed.
  [[nodiscard]] virtual ErrorCode InsertDefaultItem(IItem** item) = 0;
  // Deletes the instance and its place in storage.
  [[nodiscard]] virtual ErrorCode EraseItem(IItem* item) = 0;
  // Flags bit 0 clear: resets each instance in place; set: deletes every instance.
  [[nodiscard]] virtual ErrorCode Clear(std::uint32_t flags) = 0;
  // Compares the instances with storage; erases and inserts go to the dispatch list.
  [[nodiscard]] virtual ErrorCode Scan(CStoreMonitorDispatchList* dispatchList,
                                       CNotificationCompletionList* completionList) = 0;
  virtual std::uint64_t GetItemIndex(IItem* item) = 0;
  virtual std::uint64_t GetItemPhysicalIndex(IItem* item) = 0;
};

// The maker of one vector instance.
class IItemFactory {
public:
  // A new instance, constructed with the parent store and attached to it, not yet initialized.
  // ErrorOutOfMemory when it cannot be allocated.
  [[nodiscard]] virtual ErrorCode Create(IItem** item) = 0;

protected:
  ~IItemFactory() = default;
};

}  // namespace DataSystem

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IItemIndexer> =
    "Common::CExtensible<class DataSystem::IItemIndexer>::RegisterInterfaceBase";
