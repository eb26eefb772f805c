// The indexer of a child that is embedded in its store.
#pragma once

#include "data_system/item_indexer_base.h"

namespace DataSystem {

// Holds one child of class `I` by value, built right after the indexer has registered. It has no
// count and no instances: GetItem answers only to kNoIndex, insert and erase are refused without a
// report, and a scan finds nothing to do here (the child's values and sub-stores are scanned
// through the store's own lists).
template <class I>
class CSingleItemIndexerT final : public CItemIndexerBase {
public:
  // `model` is the child's model, `parent` the store; neither is counted.
  CSingleItemIndexerT(typename I::ModelType* model, IItem* parent)
      : CItemIndexerBase(model, parent), item(model, parent) {}

  std::uint64_t GetItemCount() override { return kNoIndex; }
  ErrorCode EnumItems(IItemEnumTarget* target) override {
    bool stop = false;
    return target->OnEnumeratedItem(&item, &stop);
  }
  // ErrorOutOfBounds, not reported, for any index but kNoIndex.
  ErrorCode GetItem(std::uint64_t index, IItem** result) override {
    if (index != kNoIndex) return ErrorOutOfBounds;
    *result = &item;
    return ErrorNone;
  }
  ErrorCode InsertDefaultItem(IItem**) override { return ErrorInvalidOperation; }
  ErrorCode EraseItem(IItem*) override { return ErrorInvalidOperation; }
  ErrorCode Clear(std::uint32_t flags) override {
    static_cast<void>(item.Reset(flags));
    return ErrorNone;
  }
  ErrorCode Scan(CStoreMonitorDispatchList*, CNotificationCompletionList*) override { return ErrorNone; }
  std::uint64_t GetItemIndex(IItem*) override { return kNoIndex; }
  std::uint64_t GetItemPhysicalIndex(IItem*) override { return kNoIndex; }

  ErrorCode Init() override { return bindResult; }
  void Uninit() override {}

  I item;
};

}  // namespace DataSystem
