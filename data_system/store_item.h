// The store class of a data system tree.
#pragma once

#include <cstdint>

#include "data_system/storage_system_item.h"
#include "data_system/storage_system_store_delegate.h"
#include "data_system/store_shell.h"

namespace DataSystem {

// A store with a place in storage. A schema derives from it and adds its children as members, each
// inside the indexer of its model; a vector of store instances makes each instance as a class that
// derives from it. `I` is the client interface, IStore unless a schema extends it.
template <class I = IStore>
class CStoreT : public CStoreShellT<I>, public IStorageSystemStore, public IStorageSystemItemVector {
public:
  using ModelType = IStoreModel;

  // `model` is the store's model, `parent` its parent; neither is counted. The last step lists the
  // store with its parent.
  CStoreT(IStoreModel* model, IItem* parent) : m_delegate(this, model, parent) {
    this->RegisterInterfaceBase(IID_IStorageSystemItem, static_cast<IStorageSystemItem*>(this));
    this->RegisterInterfaceBase(IID_IStorageSystemStore, static_cast<IStorageSystemStore*>(this));
    this->RegisterInterfaceBase(IID_IStorageSystemItemVector, static_cast<IStorageSystemItemVector*>(this));
    m_delegate.AttachToParent();
  }
  ~CStoreT() override { m_delegate.DetachFromParent(); }

  const char16_t* GetStoragePath() override { return m_delegate.storagePath.c_str(); }
  StorageSystem::IStore* GetStorageStore() override { return m_delegate.storageStore; }
  IStore* GetStore() override { return m_delegate.placeStore; }
  StorageSystem::IStore* GetOwnStorageStore() override { return m_delegate.ownStore; }
  std::uint32_t GetValueCacheMode() override { return m_delegate.valueCacheMode; }
  std::uint32_t GetAccessMask() override { return m_delegate.accessMask; }

  ErrorCode EnumIndexes(IModel* model, IIndexEnumTarget* target) override {
    return m_delegate.EnumIndexes(model, target);
  }
  ErrorCode AllocateIndex(IModel* model, std::uint64_t* index, std::uint64_t highest) override {
    return m_delegate.AllocateIndex(model, index, highest);
  }
  ErrorCode ReleaseIndex(IModel* model, std::uint64_t index) override { return m_delegate.ReleaseIndex(model, index); }

protected:
  CStoreDelegate& StoreDelegate() final { return m_delegate; }

  CStorageSystemStoreDelegate m_delegate;
};

}  // namespace DataSystem
