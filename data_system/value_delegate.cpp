#include "data_system/value_delegate.h"

#include "data_system/store.h"

namespace DataSystem {

CValueDelegate::CValueDelegate(IItem* item, IValueModel* model, IItem* parent)
    : CItemDelegate(item, model, parent), CStorageSystemItemDelegate(item), type(model->GetTypeDescription()),
      dataSystemFlags(parent->GetDataSystem()->GetFlags()) {}

ErrorCode CValueDelegate::Init() {
  ErrorCode result = CItemDelegate::Init();
  if (result != ErrorNone) return result;
  result = InitStoragePath();
  if (result != ErrorNone) CItemDelegate::Uninit();
  return result;
}

void CValueDelegate::Uninit() {
  FreeStoragePath();
  CItemDelegate::Uninit();
}

}  // namespace DataSystem
