// The indexer of a vector of instances of one store or value class.
#pragma once

#include <new>

#include "data_system/item_indexer_base.h"
#include "data_system/item_vector_indexer_delegate.h"

namespace DataSystem {

// A thin shell around CItemVectorIndexerDelegate that also makes the instances: each is an `I`,
// allocated alone, constructed with the parent store (which lists it at once) and owning its own
// life from then on. A member of the parent store object.
template <class I>
class CItemVectorIndexerT final : public CItemIndexerBase, public IItemFactory {
public:
  // `model` is the instances' model, `parent` the store; neither is counted.
  CItemVectorIndexerT(typename I::ModelType* model, IItem* parent)
      : CItemIndexerBase(model, parent), m_instanceModel(model), m_delegate(parent, model, this) {}

  ErrorCode Create(IItem** item) override {
    I* instance = new (std::nothrow) I(m_instanceModel, parent);
    if (instance == nullptr) return ErrorOutOfMemory;
    *item = instance;
    return ErrorNone;
  }

  std::uint64_t GetItemCount() override { return m_delegate.GetItemCount(); }
  ErrorCode EnumItems(IItemEnumTarget* target) override { return m_delegate.EnumItems(target); }
  ErrorCode GetItem(std::uint64_t index, IItem** result) override { return m_delegate.GetItem(index, result); }
  ErrorCode InsertDefaultItem(IItem** result) override { return m_delegate.InsertDefaultItem(result); }
  ErrorCode EraseItem(IItem* item) override { return m_delegate.EraseItem(item); }
  ErrorCode Clear(std::uint32_t flags) override { return m_delegate.Clear(flags); }
  ErrorCode Scan(CStoreMonitorDispatchList* dispatchList, CNotificationCompletionList* completionList) override {
    return m_delegate.Scan(dispatchList, completionList);
  }
  std::uint64_t GetItemIndex(IItem* item) override { return m_delegate.GetItemIndex(item); }
  std::uint64_t GetItemPhysicalIndex(IItem* item) override { return m_delegate.GetItemPhysicalIndex(item); }

  ErrorCode Init() override { return bindResult != ErrorNone ? bindResult : m_delegate.Init(); }
  void Uninit() override { m_delegate.Uninit(); }

private:
  typename I::ModelType* const m_instanceModel;
  CItemVectorIndexerDelegate m_delegate;
};

}  // namespace DataSystem
