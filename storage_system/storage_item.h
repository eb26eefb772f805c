// What stores and values share.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/extensible.h"
#include "storage_system/interface_ids.h"

namespace StorageSystem {

class IStore;
class IStorageSystem;

// An item of a storage system: a store or a value. Items are counted with a plain 32-bit count
// that starts at 1, neither atomic nor locked: a client that shares an item among threads keeps
// its references stable itself. Each item holds a reference on its parent store, so a tree is
// released from the leaves up. The order of the virtual operations is part of the contract.
class IStorageItem : public Common::IExtensible {
public:
  // Returns the new count.
  virtual std::uint32_t AddRef() = 0;
  // Returns the new count; at 0 the object deletes itself.
  virtual std::uint32_t Release() = 0;
  // The storage system of this item, not counted; a storage system returns itself.
  virtual IStorageSystem* GetStorageSystem() = 0;
  // The parent store, not counted; null for the root.
  virtual IStore* GetParent() = 0;
  // The flags word with which the item was opened (after inheritance).
  virtual std::uint32_t GetFlags() = 0;
  // The item's name: a store's ends in "/", the root's is "/". Borrowed; valid while the item is.
  virtual const char16_t* GetName() = 0;
  // The relative path from the parent store to the item's parent, ending in "/", or null. Borrowed.
  virtual const char16_t* GetPath() = 0;
  // Builds the absolute path into a block of the storage system's allocator, which the caller owns
  // and gives back with IAllocator::Free. Returns ErrorNone, ErrorNotImplemented when the block
  // could not be allocated, or ErrorStlException. The caller's thread.
  [[nodiscard]] virtual ErrorCode QueryAllocAbsolutePath(char16_t** path) = 0;
};

}  // namespace StorageSystem
