// The logic that every value of a data system tree shares.
#pragma once

#include <cstdint>

#include "data_system/item_delegate.h"
#include "data_system/storage_system_item_delegate.h"
#include "foundation/type_description.h"

namespace DataSystem {

// A value's place in the tree and in storage, its type and the data system's flags as they were
// when the value was built. Every value lives in a storage system, so the storage side is part of
// this delegate.
class CValueDelegate : public CItemDelegate, public CStorageSystemItemDelegate {
public:
  // `item` is the shell, `model` its model, `parent` its store; none is counted.
  CValueDelegate(IItem* item, IValueModel* model, IItem* parent);

  // The display path, the lock, then the place in storage. ErrorStlException, ErrorOutOfMemory or
  // ErrorUnreachable; on failure nothing stays.
  [[nodiscard]] ErrorCode Init() override;
  void Uninit() override;
  void SetOpenMode(std::uint32_t mode) override { SetStorageOpenMode(mode); }
  virtual const ITypeDescription* GetType() { return type; }

  const ITypeDescription* const type;
  const std::uint32_t dataSystemFlags;
};

}  // namespace DataSystem
