// The thin object around a store's delegate.
#pragma once

#include <cstdint>

#include "data_system/item_shell.h"
#include "data_system/store.h"
#include "data_system/store_delegate.h"

namespace DataSystem {

// Answers for a store's client interface `Interface` (IStore or IDataSystem) and for
// IStoreInternal, and forwards each operation to the store's delegate, a member of the derived
// class. The separate slots of the reference forms choose the delegate's `addRef`.
template <class Interface>
class CStoreShellT : public CItemShellT<Interface>, public IStoreInternal {
public:
  ErrorCode Reset(std::uint32_t flags) override { return StoreDelegate().Reset(flags); }

  ErrorCode EnumItems(IItemEnumTarget* target, const ItemEnumFilter* filter) override {
    return StoreDelegate().EnumItems(target, filter);
  }
  std::uint64_t GetItemCount(const Common::GUID* model) override { return StoreDelegate().GetItemCount(model); }
  std::uint32_t GetStoreFlags() override { return StoreDelegate().GetStoreFlags(); }
  std::uint32_t GetRights() override { return StoreDelegate().GetRights(); }
  std::uint32_t GetNotificationFlags() override { return StoreDelegate().GetNotificationFlags(); }
  ErrorCode Update() override { return StoreDelegate().Scan(nullptr, nullptr); }
  ErrorCode RegisterMonitor(IStoreMonitor* monitor, std::uint32_t mode) override {
    return StoreDelegate().RegisterMonitor(monitor, mode);
  }
  ErrorCode UnregisterMonitor(IStoreMonitor* monitor) override { return StoreDelegate().UnregisterMonitor(monitor); }
  ErrorCode InsertDefaultItem(const char16_t* modelName, IItem** item) override {
    return StoreDelegate().InsertDefaultItem(modelName, item, false);
  }
  ErrorCode InsertDefaultItemRef(const char16_t* modelName, IItem** item) override {
    return StoreDelegate().InsertDefaultItem(modelName, item, true);
  }
  ErrorCode InsertDefaultItemRef(Common::GUID model, IItem** item) override {
    return StoreDelegate().InsertDefaultItem(&model, item, true);
  }
  ErrorCode GetItem(const ItemPathStep* step, IItem** item) override {
    return StoreDelegate().GetItem(step, item, false);
  }
  ErrorCode GetItem(const char16_t* path, IItem** item) override { return StoreDelegate().GetItem(path, item, false); }
  ErrorCode GetItemRef(const ItemPathStep* step, IItem** item) override {
    return StoreDelegate().GetItem(step, item, true);
  }
  ErrorCode GetItemRef(const char16_t* path, IItem** item) override {
    return StoreDelegate().GetItem(path, item, true);
  }
  ErrorCode InsertDefaultItemByName(const char16_t* modelName, IItem** item) override {
    return StoreDelegate().InsertDefaultItem(modelName, item, false);
  }
  ErrorCode InsertDefaultItemByGuid(const Common::GUID* model, IItem** item) override {
    return StoreDelegate().InsertDefaultItem(model, item, false);
  }
  ErrorCode InsertDefaultItemByNameRef(const char16_t* modelName, IItem** item) override {
    return StoreDelegate().InsertDefaultItem(modelName, item, true);
  }
  ErrorCode InsertDefaultItemByGuidRef(const Common::GUID* model, IItem** item) override {
    return StoreDelegate().InsertDefaultItem(model, item, true);
  }

  ErrorCode RegisterIndexer(IItemIndexer* indexer, const Common::GUID* model) override {
    return StoreDelegate().RegisterIndexer(indexer, model);
  }
  ErrorCode Attach(IItem* item) override { return StoreDelegate().Attach(item); }
  void UnregisterIndexer(IItemIndexer* indexer) override { StoreDelegate().UnregisterIndexer(indexer); }
  void Detach(IItem* item) override { StoreDelegate().Detach(item); }
  ErrorCode Scan(CStoreMonitorDispatchList* dispatchList, CNotificationCompletionList* completionList) override {
    return StoreDelegate().Scan(dispatchList, completionList);
  }
  void NotifyErased(CNotificationCompletionList* completionList) override {
    StoreDelegate().NotifyErased(completionList);
  }
  std::uint64_t GetItemIndex(IItem* item) override { return StoreDelegate().GetItemIndex(item); }
  std::uint64_t GetItemPhysicalIndex(IItem* item) override { return StoreDelegate().GetItemPhysicalIndex(item); }
  ErrorCode EraseItem(IItem* item) override { return StoreDelegate().EraseItem(item); }

protected:
  CStoreShellT() {
    this->RegisterInterfaceBase(IID_IStore, static_cast<IStore*>(this));
    this->RegisterInterfaceBase(IID_IStoreInternal, static_cast<IStoreInternal*>(this));
  }

  // The store's delegate, a member of the derived class.
  virtual CStoreDelegate& StoreDelegate() = 0;
  CItemDelegate& ItemDelegate() final { return StoreDelegate(); }
};

}  // namespace DataSystem
