// The flag words of the data system: a store model's flags, a data system's flags, a store's
// rights and notification flags, and a value's cache mode. Each is one unsigned 32-bit word.
#pragma once

#include <cstdint>

namespace DataSystem {

// What a store model asks of its store.
enum StoreModelFlags : std::uint32_t {
  SM_READ = 0x1,
  SM_WRITE = 0x2,
  // Changes of the store in storage are watched.
  SM_MONITORED = 0x4,
  // Values keep a key of their own open.
  SM_KEEP_OPEN = 0x8,
  SM_VOLATILE = 0x10,
  // A whole value, never combined: the store has no rights of its own, lives inside its parent's
  // storage place and takes over the parent's flags.
  SM_INHERIT = 0x8000000,
};

// The flags given when a data system is opened, kept by the data system.
enum DataSystemFlags : std::uint32_t {
  // No insert or erase; stores lose SF_WRITE and SF_CREATE.
  DS_READ_ONLY = 0x1,
  // Vectors send no insert or release notifications; values keep no cache on write.
  DS_LOCAL_ON = 0x2,
  // No store subscribes to changes in storage.
  DS_NO_STORAGE_NOTIFICATIONS = 0x4,
  // Reads of a bounded value are not clamped.
  DS_UNCLAMPED_READ = 0x10,
  // The two range bits form one field (kRangeFieldMask): neither fails a write out of bounds,
  // UNCHECKED writes it, CLAMP clamps it, both drop the write and succeed.
  DS_RANGE_UNCHECKED = 0x20,
  DS_RANGE_CLAMP = 0x40,
  // A new vector instance takes the lowest free index.
  DS_REUSE_INDEXES = 0x100,
  // Storage names come from model names, not from GUID text.
  DS_STORE_BY_NAME = 0x200,
  // Floating-point values are stored as text.
  DS_FLOAT_AS_STRING = 0x400,
  // The next three choose how the storage is opened and are not kept in the data system.
  DS_SHARED_STORAGE = 0x1000,
  DS_PER_USER = 0x2000,
  DS_MACHINE_WIDE = 0x4000,
};

inline constexpr std::uint32_t kRangeFieldMask = DS_RANGE_UNCHECKED | DS_RANGE_CLAMP;
// The bits that the process-wide friendly storage switch decides.
inline constexpr std::uint32_t kFriendlyStorageMask = DS_STORE_BY_NAME | DS_FLOAT_AS_STRING;

// What a client may do with a store.
enum StoreRights : std::uint32_t {
  RIGHT_READ = 0x1,
  RIGHT_WRITE = 0x2,
  RIGHT_MONITOR = 0x8,
};

// How a store learns of changes in storage.
enum StoreNotificationFlags : std::uint32_t {
  // Updated without a manual Update.
  NOTIFY_AUTO_UPDATE = 0x1,
  // Subscribes to changes in storage by itself, so its parent's scan leaves it out.
  NOTIFY_OWN_SUBSCRIPTION = 0x2,
  NOTIFY_VOLATILE = 0x4,
  NOTIFY_INSERT_ERASE = 0x10,
  NOTIFY_VALUE_CHANGE = 0x20,
};

// How a value caches what it read or wrote.
enum ValueCacheMode : std::uint32_t {
  // Read once, then from the cache.
  CACHE_LAZY = 0x1,
  // Read from storage each time.
  CACHE_NONE = 0x2,
  // A successful write updates the cache too.
  CACHE_ON_WRITE = 0x4,
};

// The index of an item that is no vector instance, and of a deleted one.
inline constexpr std::uint64_t kNoIndex = ~std::uint64_t{0};

}  // namespace DataSystem
