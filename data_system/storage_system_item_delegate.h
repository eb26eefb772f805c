// Where an item of a data system lives in its storage system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "data_system/item.h"
#include "data_system/storage_system_item.h"

namespace DataSystem {

// Writes the storage name of an item of `model` into `buffer` of `capacity` characters: the model's
// GUID as text, or under DS_STORE_BY_NAME its name, followed by ", <index>" for a vector instance
// (`physicalIndex` not kNoIndex): "{2D892501-1F2C-4141-B46B-2A6BD660E61D}, 3" or "Profile, 3". The
// physical index stays with an instance for its whole life; a logical index never reaches storage.
void FormatStorageName(IModel* model, std::uint32_t dataSystemFlags, std::uint64_t physicalIndex, char16_t* buffer,
                       std::size_t capacity);

// The storage side of one store or value: the storage store in which its path is read, the data
// store that owns that storage store, the path, and whether it is opened or created. Filled in
// Init, emptied in Uninit, under the tree's lock or before other threads reach the item.
class CStorageSystemItemDelegate {
public:
  // `item` is the shell; not counted.
  explicit CStorageSystemItemDelegate(IItem* item) : item(item) {}

  // Works out the item's place: its own storage store with the path "/", or the parent's place
  // with the parent's path and this item's storage name (ending in "/" for a store).
  // ErrorOutOfMemory when the path cannot be allocated; ErrorUnreachable for an item with neither
  // a place of its own nor a parent.
  [[nodiscard]] ErrorCode QueryAllocStorageSystemPath(std::u16string& path, StorageSystem::IStore** store,
                                                      IStore** place);
  // QueryAllocStorageSystemPath into the fields.
  [[nodiscard]] ErrorCode InitStoragePath() {
    return QueryAllocStorageSystemPath(storagePath, &storageStore, &placeStore);
  }
  void FreeStoragePath();
  // 0: the item is new and created; 1: it exists in storage already and is opened only.
  void SetStorageOpenMode(std::uint32_t mode);

  IItem* const item;
  StorageSystem::IStore* storageStore = nullptr;
  IStore* placeStore = nullptr;
  std::u16string storagePath;
  std::uint32_t accessWord = 0;
};

}  // namespace DataSystem
