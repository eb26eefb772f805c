#include "data_system/store_delegate.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>

#include "data_system/add_unique.h"
#include "data_system/flags.h"
#include "data_system/interface_ids.h"
#include "data_system/notification_completion_list.h"
#include "data_system/store_monitor_async_adapter.h"
#include "foundation/format.h"
#include "foundation/log.h"
#include "storage_system/lock_guard.h"

namespace DataSystem {

using StorageSystem::CLockGuard;

namespace {

// Calls a function for each enumerated item.
template <class Function>
class CallbackTarget : public IItemEnumTarget {
public:
  explicit CallbackTarget(Function function) : m_function(function) {}
  ErrorCode OnEnumeratedItem(IItem* item, bool*) override {
    m_function(item);
    return ErrorNone;
  }

private:
  Function m_function;
};

// Passes items on to a client's target and remembers whether it asked to stop.
class ForwardingTarget : public IItemEnumTarget {
public:
  explicit ForwardingTarget(IItemEnumTarget* target) : m_target(target) {}
  ErrorCode OnEnumeratedItem(IItem* item, bool* stop) override {
    bool stopHere = false;
    ErrorCode result = m_target->OnEnumeratedItem(item, &stopHere);
    if (stopHere) {
      stopped = true;
      *stop = true;
    }
    return result;
  }
  bool stopped = false;

private:
  IItemEnumTarget* m_target;
};

// Offers each item of `items` for which `wanted` holds to `target`. Returns the first failing code,
// or ErrorNone; `target.stopped` tells whether the walk was ended early.
template <class Items, class Wanted>
ErrorCode OfferItems(const Items& items, ForwardingTarget& target, Wanted wanted) {
  for (const auto& entry : items) {
    if (!wanted(entry.first)) continue;
    bool stop = false;
    ErrorCode result = target.OnEnumeratedItem(entry.first, &stop);
    if (result != ErrorNone || target.stopped) return result;
  }
  return ErrorNone;
}

constexpr ItemEnumFilter kAllItems{0, nullptr, nullptr};

}  // namespace

IItemIndexer* CStoreDelegate::FindIndexer(const Common::GUID* model) {
  auto found = indexers.find(*model);
  return found == indexers.end() ? nullptr : found->second;
}

template <class Action>
void CStoreDelegate::ForEachDirectItem(Action action) {
  CallbackTarget target([&](IItem* child) {
    if (auto* internal = QueryItemInterface<IItemInternal>(child, IID_IItemInternal)) action(internal);
  });
  static_cast<void>(EnumItemsBase(&target, &kAllItems));
}

std::uint32_t CStoreDelegate::GetStoreFlags() {
  auto* storeModel = QueryItemInterface<IStoreModel>(model, IID_IStoreModel);
  std::uint32_t flags = storeModel != nullptr ? storeModel->GetFlags() : 0;
  if (flags != SM_INHERIT) return flags;
  auto* parentStore = QueryItemInterface<IStore>(parent, IID_IStore);
  return parentStore != nullptr ? parentStore->GetStoreFlags() : 0;
}

std::uint32_t CStoreDelegate::GetRights() {
  auto* parentStore = QueryItemInterface<IStore>(parent, IID_IStore);
  return parentStore != nullptr ? parentStore->GetRights() : 0;
}

ErrorCode CStoreDelegate::RegisterIndexer(IItemIndexer* indexer, const Common::GUID* childModel) {
  try {
    indexers[*childModel] = indexer;
  } catch (const std::exception& e) {
    // DELIBERATE: reported under the label of Attach, the step of construction it belongs to.
    return RaiseStlException("DataSystem::CStoreDelegate::Attach", e.what());
  }
  return ErrorNone;
}

ErrorCode CStoreDelegate::Attach(IItem* child) {
  ErrorCode result;
  if (auto* store = QueryItemInterface<IStore>(child, IID_IStore)) {
    result = AddUnique(stores, {store, QueryItemInterface<IStoreInternal>(child, IID_IStoreInternal)});
  } else if (auto* value = QueryItemInterface<IValue>(child, IID_IValue)) {
    result = AddUnique(values, {value, QueryItemInterface<IInitializable>(child, IID_IInitializable)});
  } else {
    return RaiseError("DataSystem::CStoreDelegate::Attach", ErrorInvalidOperation, nullptr);
  }
  if (result != ErrorNone) initError = result;
  return result;
}

void CStoreDelegate::UnregisterIndexer(IItemIndexer* indexer) {
  auto found =
      std::find_if(indexers.begin(), indexers.end(), [&](const auto& entry) { return entry.second == indexer; });
  if (found != indexers.end()) indexers.erase(found);
}

void CStoreDelegate::Detach(IItem* child) {
  if (auto* store = QueryItemInterface<IStore>(child, IID_IStore)) {
    EraseFirst(stores, store);
  } else if (auto* value = QueryItemInterface<IValue>(child, IID_IValue)) {
    EraseFirst(values, value);
  }
}

void CStoreDelegate::UninitPartially(std::size_t valueCount, std::size_t storeCount, std::size_t indexerCount) {
  auto indexer = indexers.begin();
  std::advance(indexer, static_cast<std::ptrdiff_t>(indexerCount));
  while (indexer != indexers.begin()) {
    --indexer;
    QueryItemInterface<IInitializable>(indexer->second, IID_IInitializable)->Uninit();
  }
  // Vectors have detached their instances, which stood after the embedded children.
  storeCount = std::min(storeCount, stores.size());
  valueCount = std::min(valueCount, values.size());
  while (storeCount > 0) QueryItemInterface<IInitializable>(stores[--storeCount].first, IID_IInitializable)->Uninit();
  while (valueCount > 0) values[--valueCount].second->Uninit();
}

ErrorCode CStoreDelegate::Init() {
  if (initError != ErrorNone) return initError;
  ErrorCode result = CItemDelegate::Init();
  if (result != ErrorNone) return result;
  // Each count ends as the number of children brought up; a child whose Init failed has undone
  // itself, but for a vector, which keeps the instances it made so far and is counted too.
  std::size_t valueCount = 0, storeCount = 0, indexerCount = 0;
  for (; valueCount < values.size(); ++valueCount) {
    if ((result = values[valueCount].second->Init()) != ErrorNone) break;
  }
  for (; result == ErrorNone && storeCount < stores.size(); ++storeCount) {
    if ((result = QueryItemInterface<IInitializable>(stores[storeCount].first, IID_IInitializable)->Init()) !=
        ErrorNone)
      break;
  }
  for (auto entry = indexers.begin(); result == ErrorNone && entry != indexers.end(); ++entry) {
    ++indexerCount;
    result = QueryItemInterface<IInitializable>(entry->second, IID_IInitializable)->Init();
  }
  if (result == ErrorNone) return ErrorNone;
  UninitPartially(valueCount, storeCount, indexerCount);
  CItemDelegate::Uninit();
  return result;
}

void CStoreDelegate::Uninit() {
  // The counts taken now include vector instances, which the indexers' Uninit removes first.
  UninitPartially(values.size(), stores.size(), indexers.size());
  CItemDelegate::Uninit();
}

std::int64_t CStoreDelegate::GetSubtreeRefCount() {
  CLockGuard guard(lock);
  std::int64_t sum = 0;
  ForEachDirectItem([&](IItemInternal* child) { sum += child->GetRefCount() + child->GetSubtreeRefCount(); });
  return sum;
}

void CStoreDelegate::SetOpenMode(std::uint32_t mode) {
  ForEachDirectItem([&](IItemInternal* child) { child->SetOpenMode(mode); });
}

void CStoreDelegate::MarkChildrenDeleted(IItem* newRoot) {
  ForEachDirectItem([&](IItemInternal* child) { child->MarkDeleted(newRoot); });
}

void CStoreDelegate::UpdatePath() {
  CItemDelegate::UpdatePath();
  CallbackTarget target([](IItem* child) {
    if (auto* internal = QueryItemInterface<IItemInternal>(child, IID_IItemInternal)) internal->UpdatePath();
  });
  for (auto& entry : indexers) static_cast<void>(entry.second->EnumItems(&target));
}

ErrorCode CStoreDelegate::GetItem(const char16_t* itemPath, IItem** result, bool addRef) {
  const char16_t* dot = std::char_traits<char16_t>::find(itemPath, std::char_traits<char16_t>::length(itemPath), u'.');
  std::size_t segmentLength =
      dot != nullptr ? static_cast<std::size_t>(dot - itemPath) : std::char_traits<char16_t>::length(itemPath);
  char16_t segment[128];
  segmentLength = std::min<std::size_t>(segmentLength, 127);
  std::char_traits<char16_t>::copy(segment, itemPath, segmentLength);
  segment[segmentLength] = u'\0';
  const char16_t* rest = dot != nullptr ? dot + 1 : nullptr;

  CLockGuard guard(lock);
  auto matches = [&](IItem* child) {
    char16_t ownName[128];
    FormatItemName(child->GetModelName(), child->GetIndex(), ownName);
    return std::u16string_view(ownName) == std::u16string_view(segment);
  };
  auto handOut = [&](IItem* found) {
    *result = found;
    if (addRef) found->AddRef();
    return ErrorNone;
  };
  if (rest != nullptr) {
    for (std::size_t i = 0; i < stores.size(); ++i) {
      IStore* store = stores[i].first;
      if (!matches(store)) continue;
      ErrorCode inner = store->GetItem(rest, result);
      if (inner != ErrorNone) return inner;
      return handOut(*result);
    }
  } else {
    for (auto& entry : values) {
      if (matches(entry.first)) return handOut(entry.first);
    }
    for (auto& entry : stores) {
      if (matches(entry.first)) return handOut(entry.first);
    }
  }
  return RaiseError("DataSystem::CStoreDelegate::GetItem", ErrorNotFound, u"Could not find item '%s' in store '%s'",
                    itemPath, model->GetName());
}

ErrorCode CStoreDelegate::GetItem(const ItemPathStep* step, IItem** result, bool addRef) {
  CLockGuard guard(lock);
  IItem* found = nullptr;
  if (IItemIndexer* indexer = FindIndexer(step->model)) {
    ErrorCode status = indexer->GetItem(step->index, &found);
    if (status != ErrorNone) return status;
  } else {
    char16_t guidText[Common::GUID::kTextCapacity];
    Common::GUID(*step->model).ToString(guidText);
    if (step->index == kNoIndex) {
      return RaiseError("DataSystem::CStoreDelegate::GetDirectChildItem", ErrorNotFound,
                        u"Could not find item '%s' in store '%s'", guidText, model->GetName());
    }
    return RaiseError("DataSystem::CStoreDelegate::GetDirectChildItem", ErrorNotFound, u"Could not find item '%s[%u]'",
                      guidText, static_cast<unsigned>(step->index));
  }
  if (step->next != nullptr) {
    auto* store = QueryItemInterface<IStore>(found, IID_IStore);
    if (store == nullptr) {
      // DELIBERATE: reported under the label of the path form of GetItem.
      return RaiseError("DataSystem::CStoreDelegate::GetItem", ErrorNotFound,
                        u"Could not find item: item '%s' is not a store", found->GetPath());
    }
    ItemPathStep next = *step->next;
    ErrorCode status = store->GetItem(&next, &found);
    if (status != ErrorNone) return status;
  }
  *result = found;
  if (addRef) found->AddRef();
  return ErrorNone;
}

std::uint64_t CStoreDelegate::GetItemCount(const Common::GUID* childModel) {
  CLockGuard guard(lock);
  IItemIndexer* indexer = FindIndexer(childModel);
  if (indexer == nullptr) {
    static_cast<void>(RaiseError("DataSystem::CStoreDelegate::GetItemCount", ErrorNotFound, nullptr));
    return kNoIndex;
  }
  return indexer->GetItemCount();
}

ErrorCode CStoreDelegate::InsertDefaultItem(const Common::GUID* childModel, IItem** result, bool addRef) {
  constexpr const char* kName = "DataSystem::CStoreDelegate::InsertDefaultItem";
  CLockGuard guard(lock);
  IDataSystem* dataSystem = GetDataSystem();
  if ((dataSystem->GetFlags() & DS_READ_ONLY) != 0) {
    return RaiseError(kName, ErrorInvalidOperation, u"Cannot create new item: Data system '%s' is read-only",
                      dataSystem->GetModelName());
  }
  IItemIndexer* indexer = FindIndexer(childModel);
  if (indexer == nullptr) return RaiseError(kName, ErrorNotFound, nullptr);
  ErrorCode status = indexer->InsertDefaultItem(result);
  if (status == ErrorNone && addRef) (*result)->AddRef();
  return status;
}

ErrorCode CStoreDelegate::InsertDefaultItem(const char16_t* modelName, IItem** result, bool addRef) {
  Common::GUID found;
  for (auto& entry : indexers) {
    const char16_t* name = entry.second->GetModel()->GetName();
    if (name != nullptr && modelName != nullptr && std::u16string_view(name) == modelName) {
      found = *entry.second->GetModel()->GetGuid();
      break;
    }
  }
  // An all-zero half stands for "not found", as it does in every schema.
  std::uint64_t halves[2];
  static_assert(sizeof(halves) == sizeof(found));
  std::memcpy(halves, &found, sizeof(found));
  if (halves[0] == 0 || halves[1] == 0) {
    return RaiseError("DataSystem::CStoreDelegate::InsertDefaultItem", ErrorNotFound,
                      u"Could not find item '%s' in store '%s'", modelName, GetPath());
  }
  return InsertDefaultItem(&found, result, addRef);
}

ErrorCode CStoreDelegate::EraseItem(IItem* child) {
  constexpr const char* kName = "DataSystem::CStoreDelegate::EraseItem";
  CLockGuard guard(lock);
  IDataSystem* dataSystem = GetDataSystem();
  if ((dataSystem->GetFlags() & DS_READ_ONLY) != 0) {
    return RaiseError(kName, ErrorInvalidOperation, u"Cannot delete item: Data system '%s' is read-only",
                      dataSystem->GetModelName());
  }
  IItemIndexer* indexer = FindIndexer(child->GetModelGuid());
  if (indexer == nullptr) return RaiseError(kName, ErrorNotFound, nullptr);
  return indexer->EraseItem(child);
}

ErrorCode CStoreDelegate::EnumItems(IItemEnumTarget* target, const ItemEnumFilter* filter) {
  CLockGuard guard(lock);
  return EnumItemsBase(target, filter);
}

ErrorCode CStoreDelegate::EnumItemsBase(IItemEnumTarget* target, const ItemEnumFilter* filter) {
  const Common::GUID* iid = filter->interfaceId;
  bool wantValues = iid == nullptr || *iid == IID_IValue;
  bool wantStores = iid == nullptr || *iid == IID_IStore || *iid == IID_IStoreInternal;
  bool wantOther = iid != nullptr && !wantValues && !wantStores;
  if (filter->modelId != nullptr) {
    return RaiseError("DataSystem::CStoreDelegate::EnumItemsBase", ErrorNotImplemented,
                      u"Support for model GUID enumeration not implemented yet");
  }
  ForwardingTarget forward(target);
  auto all = [](IItem*) { return true; };
  auto answers = [&](IItem* child) { return child->GetInterface(iid) != nullptr; };
  ErrorCode result = ErrorNone;
  if (wantValues && (result = OfferItems(values, forward, all)) != ErrorNone) return result;
  if (forward.stopped) return ErrorNone;
  if (wantStores && (result = OfferItems(stores, forward, all)) != ErrorNone) return result;
  if (forward.stopped) return ErrorNone;
  if (wantOther) {
    if ((result = OfferItems(values, forward, answers)) != ErrorNone || forward.stopped) return result;
    if ((result = OfferItems(stores, forward, answers)) != ErrorNone || forward.stopped) return result;
  }
  if (filter->mode == 1) {
    for (std::size_t i = 0; i < stores.size(); ++i) {
      if ((result = stores[i].first->EnumItems(&forward, filter)) != ErrorNone || forward.stopped) return result;
    }
  }
  return ErrorNone;
}

ErrorCode CStoreDelegate::Reset(std::uint32_t flags) {
  CLockGuard guard(lock);
  for (auto& entry : indexers) static_cast<void>(entry.second->Clear(flags));
  return ErrorNone;
}

ErrorCode CStoreDelegate::RegisterMonitor(IStoreMonitor* monitor, std::uint32_t mode) {
  constexpr const char* kName = "DataSystem::CStoreDelegate::RegisterMonitor";
  CLockGuard guard(lock);
  if ((GetRights() & RIGHT_MONITOR) == 0) {
    return RaiseError(kName, ErrorAccessDenied, u"Store '%s' does not have monitoring rights", GetPath());
  }
  std::uint32_t notify = GetNotificationFlags();
  if ((notify & NOTIFY_AUTO_UPDATE) == 0) {
    LogWrite(LogLevelInfo, kLogTag, u"Warning: Store '%s' must be manually updated in order to generate notifications",
             GetPath());
  }
  if ((notify & NOTIFY_INSERT_ERASE) == 0) {
    LogWrite(LogLevelInfo, kLogTag, u"Warning: Store '%s' will not generate OnItemInsert/OnItemErase notifications",
             GetPath());
  }
  if ((notify & NOTIFY_VALUE_CHANGE) == 0) {
    LogWrite(LogLevelInfo, kLogTag, u"Warning: Store '%s' will not generate OnValueChange notifications", GetPath());
  }
  IStoreMonitor* target;
  if (mode == MONITOR_DIRECT) {
    target = monitor;
  } else if (mode == MONITOR_ASYNC) {
    target = new (std::nothrow) CStoreMonitorAsyncAdapter(monitor);
    if (target == nullptr) {
      // DELIBERATE: the historical label of this report, a compiler-made lambda name included.
      return RaiseError(
          "DataSystem::CStoreDelegate::RegisterMonitorAsync::<lambda_33ddbd5da6205e0476af4f5991c4f4b2>::operator ()",
          ErrorOutOfMemory, nullptr);
    }
  } else {
    return RaiseError(kName, ErrorInvalidParameter, nullptr);
  }
  ErrorCode result = AddUnique(monitors, monitor, target);
  if (result == ErrorNone) {
    result = AddUnique(dispatchList.monitors, target);
    if (result != ErrorNone) monitors.erase(monitor);
  }
  if (result != ErrorNone && target != monitor) delete target;
  return result;
}

ErrorCode CStoreDelegate::UnregisterMonitor(IStoreMonitor* monitor) {
  CLockGuard guard(lock);
  auto found = monitors.find(monitor);
  if (found == monitors.end())
    return RaiseError("DataSystem::CStoreDelegate::UnregisterMonitor", ErrorNotFound, nullptr);
  IStoreMonitor* target = found->second;
  auto listed = std::find(dispatchList.monitors.begin(), dispatchList.monitors.end(), target);
  if (listed != dispatchList.monitors.end()) dispatchList.monitors.erase(listed);
  monitors.erase(found);
  if (target != monitor && target != nullptr) delete target;
  return ErrorNone;
}

ErrorCode CStoreDelegate::ScanIndexers(CStoreMonitorDispatchList* dispatch, CNotificationCompletionList* completion) {
  for (auto& entry : indexers) {
    if (entry.second->Scan(dispatch, completion) != ErrorNone) {
      LogWrite(LogLevelWarning, kLogTag, u"Warning: error raised during event - scanning remaining indexers anyway");
    }
  }
  return ErrorNone;
}

ErrorCode CStoreDelegate::Scan(CStoreMonitorDispatchList* dispatch, CNotificationCompletionList* completion) {
  CLockGuard guard(lock);
  CStoreMonitorDispatchList localDispatch;
  CStoreMonitorDispatchList* listStack = dispatch != nullptr ? dispatch : &localDispatch;
  // Without this store's list its monitors hear nothing of this scan; the scan goes on.
  bool pushed = listStack->Push(&dispatchList) == ErrorNone;
  ErrorCode result;
  {
    // At the top of a scan the deletions queued here run when this list ends, after every monitor
    // has been told and with the lock still held.
    CNotificationCompletionList localCompletion;
    CNotificationCompletionList* pending = completion != nullptr ? completion : &localCompletion;
    result = ScanIndexers(listStack, pending);
    // By index: a monitor may insert into this store while the loop runs.
    for (std::size_t i = 0; result == ErrorNone && i < stores.size(); ++i) {
      if ((stores[i].first->GetNotificationFlags() & NOTIFY_OWN_SUBSCRIPTION) != 0) continue;
      result = stores[i].second->Scan(listStack, pending);
    }
  }
  if (pushed) listStack->Pop();
  return result;
}

void CStoreDelegate::NotifyErased(CNotificationCompletionList* completion) {
  dispatchList.OnItemErase(item, completion);
}

std::uint64_t CStoreDelegate::GetItemIndex(IItem* child) {
  CLockGuard guard(lock);
  IItemIndexer* indexer = FindIndexer(child->GetModelGuid());
  return indexer != nullptr ? indexer->GetItemIndex(child) : kNoIndex;
}

std::uint64_t CStoreDelegate::GetItemPhysicalIndex(IItem* child) {
  CLockGuard guard(lock);
  IItemIndexer* indexer = FindIndexer(child->GetModelGuid());
  return indexer != nullptr ? indexer->GetItemPhysicalIndex(child) : kNoIndex;
}

}  // namespace DataSystem
