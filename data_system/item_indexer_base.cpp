#include "data_system/item_indexer_base.h"

#include "data_system/interface_ids.h"
#include "data_system/item_delegate.h"
#include "data_system/store.h"

namespace DataSystem {

CItemIndexerBase::CItemIndexerBase(IModel* model, IItem* parent) : model(model), parent(parent) {
  RegisterInterfaceBase(IID_IInitializable, static_cast<IInitializable*>(this));
  RegisterInterfaceBase(IID_IItemIndexer, static_cast<IItemIndexer*>(this));
  bindResult = QueryItemInterface<IStoreInternal>(parent, IID_IStoreInternal)->RegisterIndexer(this, model->GetGuid());
}

CItemIndexerBase::~CItemIndexerBase() {
  QueryItemInterface<IStoreInternal>(parent, IID_IStoreInternal)->UnregisterIndexer(this);
}

}  // namespace DataSystem
