// The storage side of the items of a data system: where each item lives in a storage system.
//
// Called by the tree under its lock, or before any other thread can reach the item. The order of the
// virtual operations is part of the contract.
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "storage_system/store.h"

namespace DataSystem {

class IModel;
class IStore;

class IStorageSystemItem {
public:
  // The item's path inside GetStorageStore: a store's ends in "/", a value's does not. Borrowed.
  virtual const char16_t* GetStoragePath() = 0;
  // The storage store in which the path is read; not counted.
  virtual StorageSystem::IStore* GetStorageStore() = 0;
  // The data store that owns that storage store; not counted.
  virtual IStore* GetStore() = 0;

protected:
  ~IStorageSystemItem() = default;
};

class IStorageSystemStore : public IStorageSystemItem {
public:
  // The store's own storage store, or null when it lives in its parent's place; not counted.
  virtual StorageSystem::IStore* GetOwnStorageStore() = 0;
  // The ValueCacheMode of the store's values.
  virtual std::uint32_t GetValueCacheMode() = 0;
  // The storage flags of the store's own place; 0 without one.
  virtual std::uint32_t GetAccessMask() = 0;

protected:
  ~IStorageSystemStore() = default;
};

class IStorageSystemValue : public IStorageSystemItem {
public:
  // The default's bytes (a wide string's characters) and their size.
  virtual const void* GetDefaultBytes(std::uint32_t* size) = 0;
  // Reads storage into the cache; `*changed` tells whether the value differs from what was cached.
  // On failure `*changed` is left alone.
  [[nodiscard]] virtual ErrorCode Refresh(bool* changed) = 0;
  // Sets the ValueCacheMode.
  virtual void SetCacheMode(std::uint32_t mode) = 0;

protected:
  ~IStorageSystemValue() = default;
};

// The receiver of an index enumeration.
class IIndexEnumTarget {
public:
  // Setting `*stop` ends the walk with success; a failing code ends it with that code.
  [[nodiscard]] virtual ErrorCode OnEnumeratedItem(std::uint64_t index, bool* stop) = 0;

protected:
  ~IIndexEnumTarget() = default;
};

// The numbers of a store's vector instances in storage.
class IStorageSystemItemVector {
public:
  // Offers each index of an instance of `model` in storage, ascending. A store that cannot be
  // opened has no instances: ErrorNone without a call.
  [[nodiscard]] virtual ErrorCode EnumIndexes(IModel* model, IIndexEnumTarget* target) = 0;
  // A physical index for a new instance of `model`, above `highest` (the vector's highest so far,
  // kNoIndex for none) and above everything handed out in this process, unless indexes are reused.
  [[nodiscard]] virtual ErrorCode AllocateIndex(IModel* model, std::uint64_t* index, std::uint64_t highest) = 0;
  // Deletes the place of instance `index` of `model` in storage.
  [[nodiscard]] virtual ErrorCode ReleaseIndex(IModel* model, std::uint64_t index) = 0;

protected:
  ~IStorageSystemItemVector() = default;
};

}  // namespace DataSystem
