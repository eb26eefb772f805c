#include "data_system/storage_system_store_delegate.h"

#include <algorithm>

#include "data_system/access_flags.h"
#include "data_system/add_unique.h"
#include "data_system/index_table.h"
#include "data_system/interface_ids.h"
#include "data_system/storage_system_index_enumerator.h"
#include "foundation/log.h"
#include "storage_system/lock_guard.h"
#include "storage_system/storage_flags.h"
#include "storage_system/storage_system.h"

namespace DataSystem {

using StorageSystem::CLockGuard;

namespace {
std::uint32_t ModelFlags(IModel* model) {
  auto* storeModel = QueryItemInterface<IStoreModel>(model, IID_IStoreModel);
  return storeModel != nullptr ? storeModel->GetFlags() : 0;
}
}  // namespace

CStorageSystemStoreDelegate::CStorageSystemStoreDelegate(IItem* item, IModel* model, IItem* parent)
    : CStoreDelegate(item, model, parent), CStorageSystemItemDelegate(item),
      accessMask(AccessMaskFromModel(ModelFlags(model), parent->GetDataSystem()->GetFlags())) {}

void CStorageSystemStoreDelegate::SettleRights() {
  if (ownStore != nullptr) {
    std::uint32_t flags = GetStoreFlags();
    std::uint32_t dataSystemFlags = GetDataSystem()->GetFlags();
    std::uint32_t capabilities = ownStore->GetStorageSystem()->GetProperties()->GetCapabilities();
    bool watch = (flags & SM_MONITORED) != 0 && (dataSystemFlags & DS_NO_STORAGE_NOTIFICATIONS) == 0 &&
                 (capabilities & StorageSystem::StorageCapabilityNotifications) != 0;
    if (watch) {
      valueCacheMode = (dataSystemFlags & DS_LOCAL_ON) != 0 ? CACHE_LAZY : CACHE_LAZY | CACHE_ON_WRITE;
    } else {
      valueCacheMode = CACHE_LAZY | CACHE_NONE | CACHE_ON_WRITE;
    }
    rights = RIGHT_READ | RIGHT_WRITE | RIGHT_MONITOR;
    notificationFlags = NOTIFY_INSERT_ERASE;
    if (watch) {
      notificationFlags |= NOTIFY_AUTO_UPDATE | NOTIFY_VALUE_CHANGE;
      // A parent that updates itself scans this store too.
      auto* parentStore = QueryItemInterface<IStore>(parent, IID_IStore);
      if (parentStore == nullptr || (parentStore->GetNotificationFlags() & NOTIFY_AUTO_UPDATE) == 0) {
        notificationFlags |= NOTIFY_OWN_SUBSCRIPTION;
      }
    }
    if ((flags & SM_VOLATILE) != 0) notificationFlags |= NOTIFY_VOLATILE;
    return;
  }
  rights = placeStore->GetRights();
  notificationFlags = placeStore->GetNotificationFlags() & ~static_cast<std::uint32_t>(NOTIFY_OWN_SUBSCRIPTION);
  valueCacheMode = QueryItemInterface<IStorageSystemStore>(placeStore, IID_IStorageSystemStore)->GetValueCacheMode();
}

void CStorageSystemStoreDelegate::SetValuesCacheMode() {
  for (auto& entry : refreshValues) entry.second->SetCacheMode(valueCacheMode);
}

ErrorCode CStorageSystemStoreDelegate::Init() {
  ErrorCode result = ErrorNone;
  if (parent != nullptr && accessMask != 0) {
    char16_t name[128];
    FormatStorageName(model, GetDataSystem()->GetFlags(), GetPhysicalIndex(), name, 128);
    auto* parentFacet = QueryItemInterface<IStorageSystemStore>(parent, IID_IStorageSystemStore);
    StorageSystem::IStore* parentOwn = parentFacet != nullptr ? parentFacet->GetOwnStorageStore() : nullptr;
    if (parentOwn == nullptr) {
      // A store with a place of its own stands directly below another one.
      return RaiseError("DataSystem::CStorageSystemStoreDelegate::Init", ErrorUnreachable, nullptr);
    }
    result = parentOwn->OpenStore(name, &ownStore, accessWord | accessMask);
    if (result != ErrorNone) return result;
  }
  result = InitStoragePath();
  if (result == ErrorNone) {
    SettleRights();
    SetValuesCacheMode();
    result = CStoreDelegate::Init();
    if (result == ErrorNone && (notificationFlags & NOTIFY_OWN_SUBSCRIPTION) != 0) {
      result = ownStore->RegisterMonitor(this);
      if (result != ErrorNone) CStoreDelegate::Uninit();
    }
    if (result != ErrorNone) {
      std::for_each(refreshValues.rbegin(), refreshValues.rend(),
                    [&](auto& entry) { entry.second->SetCacheMode(valueCacheMode); });
      valueCacheMode = CACHE_LAZY;
      notificationFlags = 0;
      FreeStoragePath();
    }
  }
  if (result != ErrorNone && ownStore != nullptr) {
    ownStore->Release();
    ownStore = nullptr;
  }
  return result;
}

void CStorageSystemStoreDelegate::Uninit() {
  if ((notificationFlags & NOTIFY_OWN_SUBSCRIPTION) != 0) static_cast<void>(ownStore->UnregisterMonitor(this));
  CStoreDelegate::Uninit();
  std::for_each(refreshValues.rbegin(), refreshValues.rend(),
                [&](auto& entry) { entry.second->SetCacheMode(valueCacheMode); });
  valueCacheMode = CACHE_LAZY;
  notificationFlags = 0;
  FreeStoragePath();
  if (ownStore != nullptr) {
    ownStore->Release();
    ownStore = nullptr;
  }
}

void CStorageSystemStoreDelegate::SetOpenMode(std::uint32_t mode) {
  SetStorageOpenMode(mode);
  CStoreDelegate::SetOpenMode(mode);
}

ErrorCode CStorageSystemStoreDelegate::Attach(IItem* child) {
  ErrorCode result = CStoreDelegate::Attach(child);
  auto* value = QueryItemInterface<IValue>(child, IID_IValue);
  if (result != ErrorNone || value == nullptr) return result;
  auto* storageValue = QueryItemInterface<IStorageSystemValue>(child, IID_IStorageSystemValue);
  storageValue->SetCacheMode(valueCacheMode);
  result = AddUnique(refreshValues, {value, storageValue});
  if (result != ErrorNone) CStoreDelegate::Detach(child);
  return result;
}

void CStorageSystemStoreDelegate::Detach(IItem* child) {
  if (auto* value = QueryItemInterface<IValue>(child, IID_IValue)) EraseFirst(refreshValues, value);
  CStoreDelegate::Detach(child);
}

ErrorCode CStorageSystemStoreDelegate::ScanIndexers(CStoreMonitorDispatchList* dispatch,
                                                    CNotificationCompletionList* completion) {
  static_cast<void>(CStoreDelegate::ScanIndexers(dispatch, completion));
  if ((notificationFlags & NOTIFY_VALUE_CHANGE) == 0) return ErrorNone;
  // By index: a monitor may attach values (a vector instance) while the loop runs.
  for (std::size_t i = 0; i < refreshValues.size(); ++i) {
    auto [value, storageValue] = refreshValues[i];
    bool changed = false;
    if (storageValue->Refresh(&changed) != ErrorNone) {
      LogWrite(LogLevelInfo, kLogTag,
               u"Failed to update value '%s'. The value was probably deleted, trying with next one.", value->GetPath());
    } else if (changed) {
      dispatch->OnValueChange(value, completion);
    }
  }
  return ErrorNone;
}

void CStorageSystemStoreDelegate::OnStoreChange(std::uint32_t detail) {
  if (detail != 0) return;
  // Nobody waits for the result of a scan that storage started.
  static_cast<void>(
      QueryItemInterface<IStoreInternal>(CItemDelegate::item, IID_IStoreInternal)->Scan(nullptr, nullptr));
}

ErrorCode CStorageSystemStoreDelegate::OpenWorkingStore(std::uint32_t flags, StorageSystem::IStore** result) {
  if (ownStore != nullptr) {
    ownStore->AddRef();
    *result = ownStore;
    return ErrorNone;
  }
  const char16_t* path = storagePath.c_str();
  if (*path == u'/') ++path;
  return storageStore->OpenStore(path, result, flags);
}

ErrorCode CStorageSystemStoreDelegate::EnumIndexes(IModel* childModel, IIndexEnumTarget* target) {
  StorageSystem::IStore* working = nullptr;
  // A place that cannot be opened holds no instances.
  if (OpenWorkingStore(StorageSystem::SF_READ, &working) != ErrorNone) return ErrorNone;
  CStorageSystemIndexEnumerator enumerator(working, GetDataSystem()->GetFlags(), childModel);
  ErrorCode status = enumerator.Run();
  working->Release();
  if (status != ErrorNone) return ErrorNone;
  for (std::uint64_t index : enumerator.indexes) {
    bool stop = false;
    ErrorCode result = target->OnEnumeratedItem(index, &stop);
    if (result != ErrorNone || stop) return result;
  }
  return ErrorNone;
}

ErrorCode CStorageSystemStoreDelegate::AllocateIndex(IModel* childModel, std::uint64_t* index, std::uint64_t highest) {
  auto& table = GetIndexTable();
  StorageSystem::IStore* working = nullptr;
  ErrorCode status = OpenWorkingStore(StorageSystem::SF_READ | StorageSystem::SF_WRITE, &working);
  if (status != ErrorNone) return status;
  std::uint32_t dataSystemFlags = GetDataSystem()->GetFlags();
  CStorageSystemIndexEnumerator enumerator(working, dataSystemFlags, childModel);
  status = enumerator.Run();
  working->Release();
  if (status != ErrorNone) return status;
  const std::set<std::uint64_t>& inUse = enumerator.indexes;
  std::uint64_t candidate = 0;
  if ((dataSystemFlags & DS_REUSE_INDEXES) == 0) {
    std::uint64_t found = inUse.empty() ? 0 : *inUse.rbegin() + 1;
    CLockGuard guard(&indexLock);
    std::uint64_t& next = table[*childModel->GetGuid()];
    // highest + 1 wraps to 0 for a vector that has seen no instance.
    candidate = std::max({found, highest + 1, next});
    next = candidate + 1;
  }
  while (inUse.count(candidate) != 0) ++candidate;
  LogWrite(LogLevelInfo, kLogTag, u"New index created for model '%s': %u", childModel->GetName(),
           static_cast<unsigned>(candidate));
  *index = candidate;
  return ErrorNone;
}

ErrorCode CStorageSystemStoreDelegate::ReleaseIndex(IModel* childModel, std::uint64_t index) {
  StorageSystem::IStore* working = nullptr;
  ErrorCode status = OpenWorkingStore(StorageSystem::SF_READ | StorageSystem::SF_WRITE, &working);
  if (status != ErrorNone) return status;
  char16_t name[128];
  FormatStorageName(childModel, GetDataSystem()->GetFlags(), index, name, 128);
  bool isStore = childModel->GetInterface(&IID_IStoreModel) != nullptr;
  status = isStore ? working->DeleteStore(name) : working->DeleteValue(name);
  working->Release();
  return status;
}

}  // namespace DataSystem
