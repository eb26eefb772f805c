#include "data_system/storage_system_item_delegate.h"

#include <exception>

#include "data_system/interface_ids.h"
#include "data_system/item_delegate.h"
#include "data_system/store.h"
#include "foundation/format.h"
#include "storage_system/storage_flags.h"

namespace DataSystem {

void FormatStorageName(IModel* model, std::uint32_t dataSystemFlags, std::uint64_t physicalIndex, char16_t* buffer,
                       std::size_t capacity) {
  char16_t base[128];
  if ((dataSystemFlags & DS_STORE_BY_NAME) != 0) {
    static_cast<void>(FormatBounded(base, 128, u"%s", model->GetName()));
  } else {
    model->GetGuid()->ToString(base);
  }
  if (physicalIndex == kNoIndex) {
    static_cast<void>(FormatBounded(buffer, capacity, u"%s", base));
  } else {
    static_cast<void>(FormatBounded(buffer, capacity, u"%s, %u", base, static_cast<unsigned>(physicalIndex)));
  }
}

ErrorCode CStorageSystemItemDelegate::QueryAllocStorageSystemPath(std::u16string& path, StorageSystem::IStore** store,
                                                                  IStore** place) {
  constexpr const char* kAllocName = "DataSystem::AllocString";
  auto* ownFacet = QueryItemInterface<IStorageSystemStore>(item, IID_IStorageSystemStore);
  if (ownFacet != nullptr && ownFacet->GetOwnStorageStore() != nullptr) {
    try {
      path = u"/";
    } catch (const std::exception&) {
      return RaiseError(kAllocName, ErrorOutOfMemory, nullptr);
    }
    *store = ownFacet->GetOwnStorageStore();
    *place = QueryItemInterface<IStore>(item, IID_IStore);
    return ErrorNone;
  }
  IItem* parent = item->GetParent();
  if (parent == nullptr) {
    return RaiseError("DataSystem::CStorageSystemItemDelegate::QueryAllocStorageSystemPath", ErrorUnreachable, nullptr);
  }
  char16_t name[128];
  FormatStorageName(item->GetModel(), item->GetDataSystem()->GetFlags(), item->GetPhysicalIndex(), name, 128);
  auto* parentFacet = QueryItemInterface<IStorageSystemItem>(parent, IID_IStorageSystemItem);
  try {
    path = parentFacet->GetStoragePath();
    path += name;
    if (QueryItemInterface<IStore>(item, IID_IStore) != nullptr) path += u'/';
  } catch (const std::exception&) {
    return RaiseError(kAllocName, ErrorOutOfMemory, nullptr);
  }
  *store = parentFacet->GetStorageStore();
  *place = parentFacet->GetStore();
  return ErrorNone;
}

void CStorageSystemItemDelegate::FreeStoragePath() {
  std::u16string().swap(storagePath);
  storageStore = nullptr;
  placeStore = nullptr;
}

void CStorageSystemItemDelegate::SetStorageOpenMode(std::uint32_t mode) {
  if (mode == 0) accessWord = 0;
  if (mode == 1) accessWord = StorageSystem::SF_OPEN_ALWAYS;
}

}  // namespace DataSystem
