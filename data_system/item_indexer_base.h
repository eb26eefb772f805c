// What both kinds of indexer share: the registration with the parent store.
#pragma once

#include "data_system/item.h"
#include "data_system/item_indexer.h"

namespace DataSystem {

// Registers itself with its parent store as the indexer of its model's children at construction,
// and unregisters at destruction. A failed registration is kept in `bindResult`, which Init hands
// back, since a constructor cannot. A member of the parent store object, built on the thread that
// builds the tree.
class CItemIndexerBase : public Common::CExtensible<IItemIndexer>, public IInitializable {
public:
  IModel* GetModel() override { return model; }

  IModel* const model;
  IItem* const parent;
  ErrorCode bindResult;

protected:
  // `model` is the model of the children, `parent` the store; neither is counted.
  CItemIndexerBase(IModel* model, IItem* parent);
  ~CItemIndexerBase() override;
  CItemIndexerBase(const CItemIndexerBase&) = delete;
  CItemIndexerBase& operator=(const CItemIndexerBase&) = delete;
};

}  // namespace DataSystem
