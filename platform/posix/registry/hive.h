// One hive of the Linux registry: a SQLite database in WAL mode, shared by every process.
//
// The hive holds the keys (a tree, each row with its full folded path) and the values. Every
// registry call that changes something is one IMMEDIATE transaction, so that several
// processes may write at once and a writer killed at any moment leaves either all of its call or
// none of it. Reads are single statements, each on its own WAL snapshot, without a transaction.
//
// Reads go through an in-process cache of key ids and values that is checked against the hive's
// shared change counters (HiveGenerations) at every use, so that a change by any process is seen
// by the next call of every other one. When the values' counter has moved, the announced records
// of the changes (announcements.h) tell which keys' values to forget; the rest stay cached.
//
// A process has one RegistryHive per hive file. Its lock serialises the use of its connection and
// caches; any thread may call any function.
//
// The class is implemented along its seams: hive_open.cpp (opening and schema), hive_statements.cpp
// (the prepared SQL), hive_transaction.cpp (the write transaction and its announcement), hive_cache.cpp
// (the caches), hive_read.cpp (reads and enumeration) and hive_write.cpp (writes).
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/posix/registry/change_record.h"
#include "platform/posix/registry/checkpointer.h"
#include "platform/posix/registry/generation.h"
#include "platform/posix/registry/names.h"
#include "platform/posix/registry/sqlite.h"
#include "platform/types.h"

namespace Platform::Posix {

constexpr std::uint64_t kNoGeneration = 1;  // odd: never a count at which something is current

struct SubKeyEntry {
  std::u16string name;
  std::u16string folded;
  std::u16string keyClass;
  std::int64_t lastWrite = 0;  // FILETIME ticks
};

struct ValueEntry {
  std::u16string name;
  DWORD type = 0;
  std::vector<BYTE> data;
};

// What an open handle knows of its key. Owned by the handle; its mutable parts are guarded by the
// hive's lock.
struct HiveKey {
  std::int64_t id = 0;
  std::u16string path;  // folded path within the hive, "" for the hive's root
  bool isVolatile = false;
  std::uint64_t aliveAt = kNoGeneration;  // structure count at which the key was last seen to exist
  // Enumeration snapshots, taken at index 0 or when the hive changed since.
  std::vector<SubKeyEntry> subKeys;
  std::uint64_t subKeysStructure = kNoGeneration;
  std::uint64_t subKeysValues = kNoGeneration;
  std::vector<ValueEntry> values;
  std::uint64_t valuesAt = kNoGeneration;

  // Becomes the key that `other` names, without its enumeration snapshots, which belong to the
  // handle that took them.
  void NameSameKeyAs(const HiveKey& other) {
    id = other.id;
    path = other.path;
    isVolatile = other.isVolatile;
    aliveAt = other.aliveAt;
  }
};

struct KeySummary {
  std::u16string keyClass;
  DWORD subKeys = 0;
  DWORD maxSubKeyLength = 0;  // characters
  DWORD maxClassLength = 0;   // characters
  DWORD values = 0;
  DWORD maxValueNameLength = 0;  // characters
  DWORD maxValueLength = 0;      // bytes
  DWORD securityDescriptorLength = 0;
  std::int64_t lastWrite = 0;
};

struct CreateOptions {
  bool isVolatile = false;
  std::u16string_view keyClass;
  std::span<const BYTE> security;  // self-relative security descriptor, empty for none
};

// Receives a value's type and bytes under the hive's lock; must not call back into the registry.
using ValueConsumer = void (*)(void* context, DWORD type, const BYTE* data, std::size_t size);

class RegistryHive;
// Hears of the changes this process commits to a hive, right after each commit and before the
// changing call returns, under the hive's lock; must not call back into the hive.
using CommitListener = void (*)(void* context, RegistryHive& hive, const std::vector<ChangeRecord>& changes);

class RegistryHive {
public:
  // Opens (creating when the folder allows) the hive `name` in `folder`. `bootId` tells which
  // volatile keys belong to this boot; the others are removed. Returns ERROR_SUCCESS; ERROR_BADDB
  // for a file that is not a hive (the file is left untouched); other errors of the open.
  static LSTATUS Open(const std::string& folder, const std::string& name, const std::string& bootId,
                      std::unique_ptr<RegistryHive>& hive);
  ~RegistryHive();
  RegistryHive(const RegistryHive&) = delete;
  RegistryHive& operator=(const RegistryHive&) = delete;

  const std::string& FilePath() const { return m_filePath; }
  bool IsWritable() const { return m_writable; }
  // The memory this hive shares with other processes; null when the hive has none (a hive in a
  // read-only folder without its generation file), which then cannot be watched.
  HiveGenerations* Generations() const { return m_generations.get(); }

  // Sets the one listener of this process's commits, before the hive is shared between threads.
  void SetCommitListener(CommitListener listener, void* context) {
    m_listener = listener;
    m_listenerContext = context;
  }

  // Fills `root` with the hive's root key, or with the key at `path` below it, which is created
  // when missing and the hive is writable.
  LSTATUS OpenRoot(std::u16string_view path, HiveKey& root);

  // Opens the key at `relative` below `base` (the same key when empty). ERROR_FILE_NOT_FOUND,
  // ERROR_KEY_DELETED when `base` no longer exists.
  LSTATUS OpenKey(HiveKey& base, const KeyPath& relative, HiveKey& key);

  // Creates what is missing of `relative` below `base` and opens the last key. `disposition`
  // receives REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY. ERROR_CHILD_MUST_BE_VOLATILE under a
  // volatile key, ERROR_ACCESS_DENIED in a read-only hive, ERROR_KEY_DELETED.
  LSTATUS CreateKey(HiveKey& base, const KeyPath& relative, const CreateOptions& options, HiveKey& key,
                    DWORD& disposition);

  // Hands the value `name` of `key` to `consumer`. ERROR_FILE_NOT_FOUND, ERROR_KEY_DELETED.
  LSTATUS ReadValue(HiveKey& key, std::u16string_view name, ValueConsumer consumer, void* context);

  // Sets the value `name` of the key at `relative` below `key`, creating that key (not volatile)
  // when it is missing. ERROR_CHILD_MUST_BE_VOLATILE, ERROR_ACCESS_DENIED, ERROR_KEY_DELETED.
  LSTATUS SetValue(HiveKey& key, const KeyPath& relative, std::u16string_view name, DWORD type, const BYTE* data,
                   std::size_t size);

  // Deletes the value `name` of the key at `relative` below `key`. ERROR_FILE_NOT_FOUND for a
  // missing key or value.
  LSTATUS DeleteValue(HiveKey& key, const KeyPath& relative, std::u16string_view name);

  // With `relative` empty: deletes every sub-key and value of `key`. Otherwise deletes the key at
  // `relative` with its subtree. ERROR_FILE_NOT_FOUND, ERROR_KEY_DELETED.
  LSTATUS DeleteTree(HiveKey& key, const KeyPath& relative);

  // Deletes the key at `relative` below `key` (`key` itself when empty), which must have no
  // sub-keys (ERROR_ACCESS_DENIED otherwise, and for a hive's root).
  LSTATUS DeleteKey(HiveKey& key, const KeyPath& relative);

  // Calls `visit` with the sub-key at `index` in enumeration order, from the handle's snapshot and
  // under the hive's lock. ERROR_NO_MORE_ITEMS past the end.
  LSTATUS EnumSubKey(HiveKey& key, DWORD index, bool needLastWrite,
                     void (*visit)(void* context, const SubKeyEntry& entry), void* context);

  // Calls `visit` with the value at `index` of `key` in enumeration order, under the hive's lock.
  LSTATUS EnumValue(HiveKey& key, DWORD index, void (*visit)(void* context, const ValueEntry& entry), void* context);

  LSTATUS QueryInfo(HiveKey& key, KeySummary& summary);

  // Replaces the key's security descriptor (self-relative, stored unchanged).
  LSTATUS SetSecurity(HiveKey& key, std::span<const BYTE> descriptor);

  // Puts every change committed to the hive so far, by any process, on the disk. ERROR_SUCCESS
  // (also for a hive that lives in memory only, with nothing to sync), or ERROR_CANTWRITE.
  LSTATUS Flush();

private:
  class Transaction;
  struct CachedKey {
    std::int64_t id = 0;  // 0: no such key
    bool isVolatile = false;
  };
  struct CachedValue {
    bool exists = false;
    DWORD type = 0;
    std::vector<BYTE> data;
  };
  // The cached values of one key.
  struct CachedKeyValues {
    std::size_t bytes = 0;
    std::unordered_map<std::u16string, CachedValue> byName;  // by folded name
  };
  struct Statements;

  RegistryHive() = default;

  // Opening (hive_open.cpp). Each returns ERROR_SUCCESS, ERROR_BADDB for a file that is not a hive
  // (reported once), or the error of the failed SQLite step.
  LSTATUS Initialize();
  LSTATUS Probe(bool& empty, bool& hasKeys);
  LSTATUS FindStaleVolatileKeys(bool& stale);
  // Creates what a new hive lacks and removes the volatile keys of other boots, in one transaction.
  LSTATUS PrepareContents(bool staleVolatile);
  LSTATUS PrepareStatements();
  // The status of a failed SQLite step while opening; a file that is no hive is reported with
  // `detail` as the reason.
  LSTATUS OpeningFailed(int result, const char* detail) const;

  // The caches (hive_cache.cpp), under m_mutex.
  LSTATUS CheckAlive(HiveKey& key);
  LSTATUS LookUpKey(const std::u16string& path, CachedKey& found);
  bool KeyCacheCurrent(std::uint64_t& structure);
  void ClearKeyCache();
  void ClearSubKeyCache();
  // The cached sub-keys of the key `id`, or null; `structure` receives the count at which the key
  // cache is current, kNoGeneration when it is not.
  const std::vector<SubKeyEntry>* FindCachedSubKeys(std::int64_t id, std::uint64_t& structure);
  // Keeps `subKeys` of the key `id`, read at the count `structure`, when the cache is current at it.
  void KeepSubKeys(std::int64_t id, std::uint64_t structure, const std::vector<SubKeyEntry>& subKeys);
  bool ValueCacheCurrent(std::uint64_t& values);
  // Forgets the cached values of the keys whose values changed in the records announced after
  // m_valueCacheAnnounced up to `staged`. False when the records do not say (the ring no longer
  // holds them, or a key was deleted): the caller then forgets every value.
  bool ForgetChangedValues(std::int64_t staged);
  void ForgetValues(const std::u16string& path);
  void ClearValueCache();
  void ForgetCaches();
  // Drops the cached values of the key `id`.
  void DropValuesOf(std::int64_t id);
  // Puts `entry` in the value cache as the value named m_scratch (folded) of `key`, replacing what
  // was there; returns the entry kept.
  const CachedValue* StoreValue(const HiveKey& key, CachedValue entry);
  // The cached value `name` of `key`, or null. `values` receives the count at which the cache is
  // current, kNoGeneration when it is not; `folded` the folded name, valid until the next call of
  // a cache function.
  const CachedValue* FindCachedValue(const HiveKey& key, std::u16string_view name, std::uint64_t& values,
                                     std::u16string_view& folded);
  // Keeps `read`, the value of `key` last asked for of FindCachedValue, when the cache is still
  // current at `values`; returns the entry kept, or `read` itself.
  const CachedValue* KeepValue(const HiveKey& key, std::uint64_t values, CachedValue& read);
  // After a commit that created keys: enters them in the key cache, which then follows the commit,
  // when the cache was current before it (true); otherwise the cache is emptied. False as well
  // when no key was created.
  bool CacheCreatedKeys(Transaction& transaction);
  // After a commit that changed the value `name` of `key`: puts `entry` in the value cache when
  // that cache was current before the commit; otherwise the cache is dropped.
  void CacheValueChange(const Transaction& transaction, const HiveKey& key, std::u16string_view name,
                        CachedValue entry);

  // Reads (hive_read.cpp), under m_mutex.
  LSTATUS ReadValueRow(std::int64_t keyId, std::u16string_view folded, CachedValue& read);
  LSTATUS LoadSubKeys(HiveKey& key, bool needLastWrite);
  LSTATUS LoadValues(HiveKey& key);

  // Writes (hive_write.cpp), inside a write transaction.
  // Walks `relative` below `base`, creating what is missing when `create`. Fills `key`, and
  // `created` when something was created.
  LSTATUS ResolveForWrite(Transaction& transaction, HiveKey& base, const KeyPath& relative, bool create,
                          const CreateOptions& options, HiveKey& key, bool& created);
  // Inserts the key `name` (folded: `folded`, full path: `path`) below `parentId`, touches the
  // parent and logs the creation; `id` receives the new key's id.
  LSTATUS InsertKey(Transaction& transaction, std::int64_t parentId, std::u16string_view name,
                    std::u16string_view folded, const std::u16string& path, bool last, const CreateOptions& options,
                    std::int64_t& id);
  // Records a change of the value `name` of `target`, commits, and caches `entry` (what the value
  // now is).
  LSTATUS CommitValueChange(Transaction& transaction, const HiveKey& target, std::u16string_view name,
                            CachedValue entry);
  // Deletes every sub-key and value of `target`, and logs what went.
  LSTATUS EmptyKey(Transaction& transaction, const HiveKey& target);
  // Deletes `target` with its subtree, and logs it.
  LSTATUS DeleteSubtree(Transaction& transaction, const HiveKey& target);
  // Runs one statement of a deletion that binds `id` as ?1 and, when `time` is not 0, `time` as ?2.
  LSTATUS RunForKey(SqliteStatement& statement, std::int64_t id, std::int64_t time = 0);
  // Runs one statement that binds the byte range of `path`'s subtree as ?1 and ?2.
  LSTATUS RunForSubtree(SqliteStatement& statement, std::u16string_view path);

  std::mutex m_mutex;
  std::string m_filePath;
  bool m_writable = false;
  std::string m_bootId;
  sqlite3* m_db = nullptr;
  std::unique_ptr<Statements> m_statements;
  std::unique_ptr<HiveGenerations> m_generations;
  std::unique_ptr<HiveCheckpointer> m_checkpointer;
  CommitListener m_listener = nullptr;
  void* m_listenerContext = nullptr;

  std::unordered_map<std::u16string, CachedKey> m_keyCache;
  // The sub-keys of keys by id, sorted as an enumeration lists them, current with m_keyCache.
  std::unordered_map<std::int64_t, std::vector<SubKeyEntry>> m_subKeyCache;
  std::size_t m_subKeyCacheEntries = 0;
  std::uint64_t m_keyCacheAt = kNoGeneration;
  std::unordered_map<std::int64_t, CachedKeyValues> m_valueCache;  // by key id
  std::unordered_map<std::u16string, std::int64_t> m_valueCacheKeys;  // the ids of m_valueCache by path
  std::uint64_t m_valueCacheAt = kNoGeneration;
  // Every change committed after the count m_valueCacheAt has a record numbered above this.
  std::int64_t m_valueCacheAnnounced = 0;
  std::size_t m_valueCacheBytes = 0;
  std::u16string m_scratch;
};

}  // namespace Platform::Posix
