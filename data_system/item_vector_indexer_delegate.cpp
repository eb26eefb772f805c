#include "data_system/item_vector_indexer_delegate.h"

#include <exception>

#include "data_system/interface_ids.h"
#include "data_system/item_delegate.h"
#include "data_system/store.h"
#include "foundation/log.h"
#include "platform/synchronization.h"
#include "storage_system/lock_guard.h"

namespace DataSystem {

using StorageSystem::CLockGuard;

// Gathers the indexes of a vector's instances in storage.
class SimpleIndexEnumTarget : public IIndexEnumTarget {
public:
  ErrorCode OnEnumeratedItem(std::uint64_t index, bool*) override {
    try {
      indexes.insert(index);
    } catch (const std::exception& e) {
      return RaiseStlException("DataSystem::SimpleIndexEnumTarget::OnEnumeratedItem", e.what());
    }
    return ErrorNone;
  }
  std::set<std::uint64_t> indexes;
};

// Sorts the indexes found in storage against those of the vector: an index that the vector has
// moves from `gone` to `unchanged`, any other goes to `added`.
class CIndexChangeEnumerator : public IIndexEnumTarget {
public:
  explicit CIndexChangeEnumerator(const std::set<std::uint64_t>& known) : gone(known) {}
  ErrorCode OnEnumeratedItem(std::uint64_t index, bool*) override {
    try {
      auto found = gone.find(index);
      if (found != gone.end()) {
        gone.erase(found);
        unchanged.insert(index);
      } else {
        added.insert(index);
      }
    } catch (const std::exception& e) {
      return RaiseStlException("DataSystem::CIndexChangeEnumerator::OnEnumeratedItem", e.what());
    }
    return ErrorNone;
  }
  std::set<std::uint64_t> gone;
  std::set<std::uint64_t> unchanged;
  std::set<std::uint64_t> added;
};

CItemVectorIndexerDelegate::CItemVectorIndexerDelegate(IItem* store, IModel* model, IItemFactory* factory)
    : store(store), indexSource(QueryItemInterface<IStorageSystemItemVector>(store, IID_IStorageSystemItemVector)),
      model(model), factory(factory), notificationsOn((store->GetDataSystem()->GetFlags() & DS_LOCAL_ON) == 0 ? 1 : 0) {
  if (notificationsOn == 0) {
    LogWrite(LogLevelWarning, kLogTag,
             u"WARNING: Item insert/release notifications are not supported yet in LOCAL_ON mode");
  }
}

std::uint64_t CItemVectorIndexerDelegate::GetItemCount() {
  CLockGuard guard(lock);
  return physicalIndexes.size();
}

ErrorCode CItemVectorIndexerDelegate::GetItem(std::uint64_t index, IItem** result) {
  constexpr const char* kName = "DataSystem::CItemVectorIndexerDelegate::GetItem";
  CLockGuard guard(lock);
  if (index < GetItemCount()) {
    auto entry = itemByIndex.begin();
    std::advance(entry, static_cast<std::ptrdiff_t>(index));
    *result = entry->second;
    return ErrorNone;
  }
  if (index == kNoIndex) {
    return RaiseError(kName, ErrorOutOfBounds, u"Trying to access item vector '%s' without index", model->GetName());
  }
  return RaiseError(kName, ErrorOutOfBounds, nullptr);
}

std::uint64_t CItemVectorIndexerDelegate::GetItemIndex(IItem* item) {
  CLockGuard guard(lock);
  auto found = logicalByItem.find(item);
  if (found != logicalByItem.end()) return found->second;
  static_cast<void>(RaiseError("DataSystem::CItemVectorIndexerDelegate::GetItemIndex", ErrorInvalidParameter,
                               u"Item '%s' not found - was probably deleted", item->GetPath()));
  return kNoIndex;
}

std::uint64_t CItemVectorIndexerDelegate::GetItemPhysicalIndex(IItem* item) {
  CLockGuard guard(lock);
  auto found = physicalByItem.find(item);
  if (found != physicalByItem.end()) return found->second;
  static_cast<void>(RaiseError("DataSystem::CItemVectorIndexerDelegate::GetItemPhysicalIndex", ErrorInvalidParameter,
                               u"Item '%s' not found - was probably deleted", item->GetPath()));
  return kNoIndex;
}

ErrorCode CItemVectorIndexerDelegate::EnumItems(IItemEnumTarget* target) {
  CLockGuard guard(lock);
  for (auto& [index, item] : itemByIndex) {
    bool stop = false;
    ErrorCode result = target->OnEnumeratedItem(item, &stop);
    if (result != ErrorNone || stop) return result;
  }
  return ErrorNone;
}

void CItemVectorIndexerDelegate::Renumber() {
  logicalByItem.clear();
  std::uint64_t next = 0;
  for (auto& [index, item] : itemByIndex) logicalByItem.emplace(item, next++);
}

void CItemVectorIndexerDelegate::UpdatePaths() {
  for (auto& [index, item] : itemByIndex) {
    if (auto* internal = QueryItemInterface<IItemInternal>(item, IID_IItemInternal)) internal->UpdatePath();
  }
}

ErrorCode CItemVectorIndexerDelegate::CreateInstance(std::uint64_t physicalIndex, std::uint32_t existing,
                                                     IItem** result) {
  IItem* item = nullptr;
  ErrorCode status = factory->Create(&item);
  if (status != ErrorNone) return status;
  auto* internal = QueryItemInterface<IItemInternal>(item, IID_IItemInternal);
  internal->SetOpenMode(existing);
  try {
    physicalIndexes.insert(physicalIndex);
    itemByIndex[physicalIndex] = item;
    physicalByItem[item] = physicalIndex;
    if (highestIndex == kNoIndex || highestIndex < physicalIndex) highestIndex = physicalIndex;
    Renumber();
  } catch (const std::exception& e) {
    status = RaiseStlException("DataSystem::CItemVectorIndexerDelegate::CreateInstance", e.what());
  }
  for (int attempts = 0; status == ErrorNone;) {
    status = QueryItemInterface<IInitializable>(item, IID_IInitializable)->Init();
    // DELIBERATE: the retry below never runs: the count starts at 0, so the first failure already
    // returns. It stays as the record of a retry policy that was never switched on.
    if (status == ErrorNone || attempts < 25) break;
    LogWrite(LogLevelWarning, kLogTag, u"Failed to initialize new instance of item '%s', retrying...",
             model->GetName());
    Platform::Sleep(1);
    ++attempts;
  }
  if (status != ErrorNone) {
    Forget(item);
    internal->Destroy();
    return status;
  }
  UpdatePaths();
  if (result != nullptr) *result = item;
  return ErrorNone;
}

void CItemVectorIndexerDelegate::Forget(IItem* item) {
  auto found = physicalByItem.find(item);
  if (found == physicalByItem.end()) return;
  std::uint64_t physicalIndex = found->second;
  physicalByItem.erase(found);
  itemByIndex.erase(physicalIndex);
  physicalIndexes.erase(physicalIndex);
  Renumber();
}

std::uint64_t CItemVectorIndexerDelegate::DeleteInstance(IItem* item) {
  std::uint64_t physicalIndex = physicalByItem.at(item);
  QueryItemInterface<IItemInternal>(item, IID_IItemInternal)->MarkDeleted(nullptr);
  Forget(item);
  // Ends the instance unless a client still holds it; then it lives on, deleted, until the last
  // client lets go.
  item->AddRef();
  item->Release();
  UpdatePaths();
  return physicalIndex;
}

void CItemVectorIndexerDelegate::OnNotificationComplete(IItem* item) {
  CLockGuard guard(lock);
  // A monitor may have erased the instance itself meanwhile.
  if (physicalByItem.count(item) != 0) DeleteInstance(item);
}

ErrorCode CItemVectorIndexerDelegate::EraseItem(IItem* item) {
  CLockGuard guard(lock);
  if (physicalByItem.count(item) == 0) {
    return RaiseError("DataSystem::CItemVectorIndexerDelegate::EraseItem", ErrorInvalidParameter,
                      u"Item '%s' not found - was probably deleted", item->GetPath());
  }
  std::uint64_t physicalIndex = DeleteInstance(item);
  // The place in storage goes too; a failure there is reported by the storage and changes nothing here.
  static_cast<void>(indexSource->ReleaseIndex(model, physicalIndex));
  return ErrorNone;
}

ErrorCode CItemVectorIndexerDelegate::InsertDefaultItem(IItem** result) {
  CLockGuard guard(lock);
  std::uint64_t index = 0;
  ErrorCode status = indexSource->AllocateIndex(model, &index, highestIndex);
  if (status != ErrorNone) return status;
  status = CreateInstance(index, 0, result);
  if (status != ErrorNone) static_cast<void>(indexSource->ReleaseIndex(model, index));
  return status;
}

ErrorCode CItemVectorIndexerDelegate::Clear(std::uint32_t flags) {
  if ((flags & 1) == 0) {
    CLockGuard guard(lock);
    for (auto& [index, item] : itemByIndex) static_cast<void>(item->Reset(flags));
    return ErrorNone;
  }
  // One instance a round, each under the lock by itself, so that other threads come in between.
  for (;;) {
    CLockGuard guard(lock);
    if (itemByIndex.empty()) return ErrorNone;
    std::uint64_t physicalIndex = DeleteInstance(itemByIndex.begin()->second);
    static_cast<void>(indexSource->ReleaseIndex(model, physicalIndex));
  }
}

ErrorCode CItemVectorIndexerDelegate::Init() {
  lock = store->GetDataSystem()->GetLock();
  SimpleIndexEnumTarget found;
  ErrorCode status = indexSource->EnumIndexes(model, &found);
  if (status != ErrorNone) return status;
  for (std::uint64_t index : found.indexes) {
    if ((status = CreateInstance(index, 1, nullptr)) != ErrorNone) return status;
  }
  return ErrorNone;
}

void CItemVectorIndexerDelegate::Uninit() {
  while (!itemByIndex.empty()) DeleteInstance(std::prev(itemByIndex.end())->second);
  lock = nullptr;
}

ErrorCode CItemVectorIndexerDelegate::Scan(CStoreMonitorDispatchList* dispatchList,
                                           CNotificationCompletionList* completionList) {
  CLockGuard guard(lock);
  CIndexChangeEnumerator changes(physicalIndexes);
  ErrorCode status = indexSource->EnumIndexes(model, &changes);
  if (status != ErrorNone) return status;
  for (std::uint64_t index : changes.gone) {
    IItem* item = itemByIndex.at(index);
    static_cast<void>(completionList->Queue(this, item));
    dispatchList->OnItemErase(item, completionList);
    if (auto* erasedStore = QueryItemInterface<IStoreInternal>(item, IID_IStoreInternal)) {
      erasedStore->NotifyErased(completionList);
    }
  }
  ErrorCode result = ErrorNone;
  for (std::uint64_t index : changes.added) {
    IItem* item = nullptr;
    status = CreateInstance(index, 1, &item);
    if (status == ErrorNone) {
      dispatchList->OnItemInsert(item, completionList);
    } else {
      result = status;
    }
  }
  return result;
}

}  // namespace DataSystem
