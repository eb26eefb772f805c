// The logic that every item of a data system tree shares.
#pragma once

#include <cstdint>
#include <string>

#include "data_system/item.h"
#include "storage_system/lock.h"

namespace DataSystem {

class IDataSystem;
class IStoreInternal;

// The references, the place in the tree and the display path of one item. Each item object (a thin
// shell) holds a delegate of this family by value and forwards to it. The counts are guarded by the
// tree's lock from Init on; before Init only the thread that builds the tree reaches the item.
//
// A reference on an item also counts on the top of its reference chain (`root`): the data system
// object, or for what lies below a deleted vector instance, that instance. So a client that keeps
// one value keeps the whole tree, and a deleted instance lives on with its subtree until the last
// client lets go.
class CItemDelegate {
public:
  // Bits of `state`.
  static constexpr std::uint32_t kStateAttached = 0x1;
  static constexpr std::uint32_t kStateAlive = 0x2;
  // The item ends its own life when its count reaches 0.
  static constexpr std::uint32_t kStateOwnsLife = 0x4;

  // `item` is the shell, `model` its model and `parent` its parent (null at the root); none is
  // counted. The root starts with one reference and owns its life.
  CItemDelegate(IItem* item, IModel* model, IItem* parent);
  virtual ~CItemDelegate() = default;
  CItemDelegate(const CItemDelegate&) = delete;
  CItemDelegate& operator=(const CItemDelegate&) = delete;

  virtual IDataSystem* GetDataSystem();
  // The logical index in the parent's vector; kNoIndex for a deleted item and a plain child.
  virtual std::uint64_t GetIndex();
  virtual std::int64_t GetSubtreeRefCount() { return 0; }
  virtual void SetOpenMode(std::uint32_t mode) {}
  virtual void UpdatePath();
  // Takes the tree's lock and builds the display path. ErrorStlException when the path cannot be
  // allocated; the lock is then cleared again.
  [[nodiscard]] virtual ErrorCode Init();
  // Frees the path and clears the lock; cannot fail.
  virtual void Uninit();
  // The last step of the shell's constructor: the parent lists the item.
  virtual void AttachToParent();
  // The first step of the shell's destructor, and part of a deletion.
  virtual void DetachFromParent();
  virtual void MarkChildrenDeleted(IItem* root) {}

  void AddRef();
  void Release();
  const char16_t* GetPath() const;
  std::uint64_t GetPhysicalIndex();
  // Asks the parent to erase this item. ErrorInvalidOperation, not reported, for a deleted item or
  // the root.
  [[nodiscard]] ErrorCode Erase();
  int IsAlive() const { return (state & kStateAlive) != 0 ? 1 : 0; }
  const Common::GUID* GetModelGuid() const { return model->GetGuid(); }
  const char16_t* GetModelName() const { return model->GetName(); }
  std::uint32_t GetRefCount() const { return refCount; }
  IItem* GetRoot() const { return root != nullptr ? root : item; }
  void MarkDeleted(IItem* newRoot);

  // The parent's IStoreInternal, or null at the root. Borrowed.
  IStoreInternal* GetParentInternal() const;
  StorageSystem::ILock* lock = nullptr;
  std::uint32_t refCount;
  IItem* const item;
  IModel* const model;
  IItem* const parent;
  std::uint32_t state;
  std::u16string path;
  IItem* root;

protected:
  // The whole display path: the parent's path, ".", and the own part.
  [[nodiscard]] ErrorCode BuildPath(std::u16string& result);
};

// Writes an item's own part of a display path into `buffer`: `modelName`, with "[index]" for a vector
// instance (`index` not kNoIndex). A name that does not fit is cut to the 127 characters that fit.
void FormatItemName(const char16_t* modelName, std::uint64_t index, char16_t (&buffer)[128]);

// The text that GetPath gives for a deleted item.
inline constexpr const char16_t* kDeletedItemPath = u"[item was deleted]";

// Asks `item` for the interface `iid` as `I`; null when it has none. Borrowed.
template <class I>
I* QueryItemInterface(Common::IExtensible* item, const Common::GUID& iid) {
  return item == nullptr ? nullptr : static_cast<I*>(item->GetInterface(&iid));
}

}  // namespace DataSystem
