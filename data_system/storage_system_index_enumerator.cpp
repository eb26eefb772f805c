#include "data_system/storage_system_index_enumerator.h"

#include <exception>

#include "data_system/flags.h"
#include "data_system/interface_ids.h"
#include "data_system/storage_system_item_delegate.h"
#include "foundation/format.h"
#include "foundation/scan.h"
#include "storage_system/enum_items.h"
#include "storage_system/interface_ids.h"

namespace DataSystem {

CStorageSystemIndexEnumerator::CStorageSystemIndexEnumerator(StorageSystem::IStore* store,
                                                             std::uint32_t dataSystemFlags, IModel* model)
    : m_store(store), m_ofStores(model->GetInterface(&IID_IStoreModel) != nullptr) {
  char16_t name[64];
  FormatStorageName(model, dataSystemFlags, kNoIndex, name, 64);
  static_cast<void>(FormatBounded(m_format, 64, u"%s, %%u", name));
}

ErrorCode CStorageSystemIndexEnumerator::Run() {
  return m_ofStores ? m_store->EnumStores(this) : m_store->EnumValues(this);
}

ErrorCode CStorageSystemIndexEnumerator::OnEnumeratedItem(Common::IExtensible* item, bool*) {
  const char16_t* name = nullptr;
  if (m_ofStores) {
    auto* store = static_cast<StorageSystem::IStoreEnumItem*>(item->GetInterface(&StorageSystem::IID_IStoreEnumItem));
    if (store != nullptr) name = store->GetName();
  } else {
    auto* value = static_cast<StorageSystem::IValueEnumItem*>(item->GetInterface(&StorageSystem::IID_IValueEnumItem));
    if (value != nullptr) name = value->GetName();
  }
  unsigned index = 0;
  if (name == nullptr || ScanBounded(name, m_format, &index) != 1) return ErrorNone;
  try {
    indexes.insert(index);
  } catch (const std::exception& e) {
    return RaiseStlException("DataSystem::CStorageSystemIndexEnumerator::OnEnumeratedItem", e.what());
  }
  return ErrorNone;
}

}  // namespace DataSystem
