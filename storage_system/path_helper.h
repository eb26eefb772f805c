// Canonical storage paths: checks, splitting, native conversion and absolute paths.
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/error.h"
#include "storage_system/properties.h"
#include "storage_system/storage_item.h"

namespace StorageSystem {

// The canonical separator of every storage path.
inline constexpr char16_t kCanonicalSeparator = u'/';

// Checks, splits and converts the paths of one storage item, and keeps that item's own parent path
// and name. Every store and value embeds one. Blocks come from the storage system's allocator,
// found through the owner at first need. A failed operation leaves the fields as they were. Used
// on the owner's threads; the fields are written only while the owner is opened or closed.
class CPathHelper {
public:
  // `owner` is the item that holds this helper; not counted.
  explicit CPathHelper(IStorageItem* owner) : m_owner(owner) {}
  virtual ~CPathHelper() { Reset(); }
  CPathHelper(const CPathHelper&) = delete;
  CPathHelper& operator=(const CPathHelper&) = delete;

  // ErrorNone, or ErrorInvalidParameter naming the first of the forbidden characters (back slash,
  // colon, star, question mark, double quote, less-than, greater-than, bar, in this order) that
  // `path` contains. A null path passes. Any thread.
  [[nodiscard]] static ErrorCode CheckPath(const char16_t* path);

  // Splits `path` (a leading "/" skipped) into the parent path, which keeps its final "/", and the
  // leaf; a trailing "/" stays with the leaf. Both lie in one block, given to the caller in
  // `*block` (free it with FreePath); `*parent` is null when there is no parent. ErrorNone or
  // ErrorOutOfMemory.
  [[nodiscard]] ErrorCode ToSplitPath(const char16_t* path, char16_t** block, char16_t** parent, char16_t** leaf);
  // CheckPath, ToSplitPath, then both parts with native separators.
  [[nodiscard]] ErrorCode ToSplitPathNative(const char16_t* path, char16_t** block, char16_t** parent, char16_t** leaf);
  // A copy of `path` with native separators in `*block` (free it with FreePath). Does not check
  // the path. ErrorOutOfMemory for a null path as for a failed allocation.
  [[nodiscard]] ErrorCode AllocReplace(const char16_t* path, char16_t** block);
  // Gives a block of this helper back to the storage system's allocator; null is accepted.
  void FreePath(void* block);

  // Fills the owner's parent path and name from the path it was opened with. A store's name ends in
  // "/" (added when missing); a value's path must not. ErrorNone, ErrorInvalidParameter ("Unexpected
  // trailing separator") or ErrorOutOfMemory.
  [[nodiscard]] ErrorCode InitializeNameAndPath(const char16_t* path);

  // The absolute path of the owner, from the root down, in a block of the storage system's
  // allocator that the caller gives back with FreePath. Pieces are written in the reverse order of
  // the walk up, so that an item opened by a path of several parts has its leaf before its parent
  // path. ErrorNone, ErrorNotImplemented for a failed allocation, or ErrorStlException.
  [[nodiscard]] virtual ErrorCode QueryAllocAbsolutePath(char16_t** path);

  // Frees the buffer and clears path and name.
  void Reset();

  // The parent path of the owner (ending in "/") or null, and its name. Borrowed.
  const char16_t* GetPath() const { return m_path; }
  const char16_t* GetName() const { return m_name; }

  // The properties of the owner's storage system, asked for once.
  IProperties* Properties();

private:
  char16_t* Allocate(std::size_t characters);

  char16_t* m_buffer = nullptr;
  char16_t* m_path = nullptr;
  char16_t* m_name = nullptr;
  IStorageItem* const m_owner;
  std::atomic<IProperties*> m_properties{nullptr};
};

}  // namespace StorageSystem
