// The items of a data system tree: what every store and value offers its clients and its tree.
//
// Every operation that can fail returns an ErrorCode that has been reported already; strings are
// UTF-16 and NUL-terminated. The order of the virtual operations is part of the contract.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/extensible.h"
#include "data_system/flags.h"
#include "data_system/model.h"

namespace DataSystem {

class IDataSystem;

// An item of the tree. References count on the item and on the top of its chain (the data system
// object, or a deleted vector instance), so a client that keeps any item keeps the whole tree. The
// counts are guarded by the tree's lock once the item is initialized.
class IItem : public Common::IExtensible {
public:
  virtual void AddRef() = 0;
  virtual void Release() = 0;
  // The data system of the tree; borrowed.
  virtual IDataSystem* GetDataSystem() = 0;
  virtual IModel* GetModel() = 0;
  // Borrowed; null at the root.
  virtual IItem* GetParent() = 0;
  // The logical index in the parent's vector, or kNoIndex.
  virtual std::uint64_t GetIndex() = 0;
  // The display path ("Root.Store.Vector[2].value"), or "[item was deleted]". Borrowed; valid until
  // the paths of the item's vector change.
  virtual const char16_t* GetPath() = 0;
  virtual std::uint64_t GetPhysicalIndex() = 0;
  // Deletes this vector instance, its place in storage included. ErrorInvalidOperation, not
  // reported, for a deleted item and for an item that is no vector instance.
  [[nodiscard]] virtual ErrorCode Erase() = 0;
  // A store resets its children, a value writes its default.
  [[nodiscard]] virtual ErrorCode Reset(std::uint32_t flags) = 0;
  // 1 until the item is deleted.
  virtual int IsAlive() = 0;
  virtual const Common::GUID* GetModelGuid() = 0;
  virtual const char16_t* GetModelName() = 0;
};

// The tree's side of an item. Called under the tree's lock, or before any other thread can reach
// the item.
class IItemInternal {
public:
  // Uninitializes the item if it was initialized and deletes it; a second call does nothing.
  virtual void Destroy() = 0;
  virtual std::uint32_t GetRefCount() = 0;
  // The sum of the references held on everything below the item.
  virtual std::int64_t GetSubtreeRefCount() = 0;
  // The item at the top of this item's reference chain: its root, or itself when it has none.
  virtual IItem* GetRoot() = 0;
  // Marks the item deleted. With null it becomes the top of its own chain and takes over the
  // references of its subtree; below it, `root` is the new top.
  virtual void MarkDeleted(IItem* root) = 0;
  // 1: the item exists in storage already and is opened, not created; 0: it is new.
  virtual void SetOpenMode(std::uint32_t mode) = 0;
  // Rebuilds the display path after the indexes of a vector changed.
  virtual void UpdatePath() = 0;

protected:
  ~IItemInternal() = default;
};

class IInitializable {
public:
  // Brings the item up: its lock, its path, its place in storage, its children.
  [[nodiscard]] virtual ErrorCode Init() = 0;
  // Undoes Init; cannot fail.
  virtual void Uninit() = 0;

protected:
  ~IInitializable() = default;
};

// One step of a walk by GUID.
struct ItemPathStep {
  const Common::GUID* model;
  // The logical index in the vector, or kNoIndex for a plain child.
  std::uint64_t index;
  const ItemPathStep* next;
};

// What EnumItems offers.
struct ItemEnumFilter {
  // 1: descend into sub-stores after the direct items.
  std::uint32_t mode;
  // Only items that answer for this interface; null for all.
  const Common::GUID* interfaceId;
  // Must be null.
  const Common::GUID* modelId;
};

// The receiver of an item enumeration; runs under the tree's lock.
class IItemEnumTarget {
public:
  // Setting `*stop` ends the walk with success; a failing code ends it with that code.
  [[nodiscard]] virtual ErrorCode OnEnumeratedItem(IItem* item, bool* stop) = 0;

protected:
  ~IItemEnumTarget() = default;
};

}  // namespace DataSystem
