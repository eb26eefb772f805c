#include "data_system/item_delegate.h"

#include <exception>

#include "data_system/interface_ids.h"
#include "data_system/store.h"
#include "foundation/format.h"
#include "storage_system/lock_guard.h"

namespace DataSystem {

CItemDelegate::CItemDelegate(IItem* item, IModel* model, IItem* parent)
    : refCount(parent == nullptr ? 1 : 0), item(item), model(model), parent(parent),
      state(parent == nullptr ? kStateAlive | kStateOwnsLife : kStateAlive), root(nullptr) {
  if (auto* internal = QueryItemInterface<IItemInternal>(parent, IID_IItemInternal)) root = internal->GetRoot();
}

IDataSystem* CItemDelegate::GetDataSystem() {
  if (parent != nullptr) return parent->GetDataSystem();
  return QueryItemInterface<IDataSystem>(item, IID_IDataSystem);
}

IStoreInternal* CItemDelegate::GetParentInternal() const {
  return QueryItemInterface<IStoreInternal>(parent, IID_IStoreInternal);
}

std::uint64_t CItemDelegate::GetIndex() {
  IStoreInternal* internal = GetParentInternal();
  if (!IsAlive() || internal == nullptr) return kNoIndex;
  return internal->GetItemIndex(item);
}

std::uint64_t CItemDelegate::GetPhysicalIndex() {
  IStoreInternal* internal = GetParentInternal();
  if (!IsAlive() || internal == nullptr) return kNoIndex;
  return internal->GetItemPhysicalIndex(item);
}

ErrorCode CItemDelegate::Erase() {
  IStoreInternal* internal = GetParentInternal();
  if (!IsAlive() || internal == nullptr) return ErrorInvalidOperation;
  return internal->EraseItem(item);
}

const char16_t* CItemDelegate::GetPath() const { return IsAlive() ? path.c_str() : kDeletedItemPath; }

void FormatItemName(const char16_t* modelName, std::uint64_t index, char16_t (&buffer)[128]) {
  // A name that does not fit is kept as far as it fits, as every fixed display buffer does.
  if (index == kNoIndex) {
    static_cast<void>(FormatBounded(buffer, 128, u"%s", modelName));
  } else {
    static_cast<void>(FormatBounded(buffer, 128, u"%s[%u]", modelName, static_cast<unsigned>(index)));
  }
}

ErrorCode CItemDelegate::BuildPath(std::u16string& result) {
  char16_t own[128];
  FormatItemName(model->GetName(), GetIndex(), own);
  try {
    if (parent == nullptr) {
      result = own;
    } else {
      result = parent->GetPath();
      result += u'.';
      result += own;
    }
  } catch (const std::exception& e) {
    return RaiseStlException("DataSystem::CItemDelegate::BuildPath", e.what());
  }
  return ErrorNone;
}

void CItemDelegate::UpdatePath() {
  std::u16string rebuilt;
  if (BuildPath(rebuilt) == ErrorNone) path.swap(rebuilt);
}

ErrorCode CItemDelegate::Init() {
  lock = GetDataSystem()->GetLock();
  ErrorCode result = BuildPath(path);
  if (result != ErrorNone) lock = nullptr;
  return result;
}

void CItemDelegate::Uninit() {
  std::u16string().swap(path);
  lock = nullptr;
}

void CItemDelegate::AttachToParent() {
  IStoreInternal* internal = GetParentInternal();
  if (internal == nullptr) return;
  // A failed attach is remembered by the parent, whose Init hands it back.
  if (internal->Attach(item) == ErrorNone) state |= kStateAttached;
}

void CItemDelegate::DetachFromParent() {
  if ((state & kStateAttached) == 0) return;
  state &= ~kStateAttached;
  if (IStoreInternal* internal = GetParentInternal()) internal->Detach(item);
}

void CItemDelegate::AddRef() {
  StorageSystem::CLockGuard guard(lock);
  if (root != nullptr) root->AddRef();
  ++refCount;
}

void CItemDelegate::Release() {
  IItemInternal* destroy = nullptr;
  IItem* notedRoot;
  {
    StorageSystem::CLockGuard guard(lock);
    notedRoot = root;
    if (refCount-- == 1 && (state & kStateOwnsLife) != 0) {
      destroy = QueryItemInterface<IItemInternal>(item, IID_IItemInternal);
    }
  }
  // Nothing of this object may be touched from here on: either call may delete it.
  if (destroy != nullptr) destroy->Destroy();
  if (notedRoot != nullptr) notedRoot->Release();
}

void CItemDelegate::MarkDeleted(IItem* newRoot) {
  if (newRoot == nullptr) {
    // The item becomes the top of its own chain and takes over the references held below it.
    // Those references counted on the old top when they were taken, so they raise only this
    // item's own count: each of their releases now passes through here to the old top once.
    auto* internal = QueryItemInterface<IItemInternal>(item, IID_IItemInternal);
    std::int64_t held = internal != nullptr ? internal->GetSubtreeRefCount() : 0;
    refCount = static_cast<std::uint32_t>(refCount + held);
    state |= kStateOwnsLife;
    DetachFromParent();
  } else {
    root = newRoot;
  }
  state &= ~kStateAlive;
  MarkChildrenDeleted(newRoot != nullptr ? newRoot : item);
}

}  // namespace DataSystem
