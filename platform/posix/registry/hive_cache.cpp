// The in-process caches of a hive: key ids by path and values by key and name, each current at one
// count of the hive's shared change counters. The key cache is dropped when its count moves; the
// value cache forgets only the keys that the announced records of the changes name.
#include "platform/posix/registry/hive.h"
#include "platform/posix/registry/hive_statements.h"
#include "platform/posix/registry/hive_transaction.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

using Counter = HiveGenerations::Counter;

constexpr std::size_t kMaxCachedKeys = 65536;
constexpr std::size_t kMaxCachedSubKeys = 65536;
constexpr std::size_t kMaxCachedValueBytes = 16 * 1024 * 1024;

// Whether an entry of `size` bytes fits beside the `bytes` that a value cache holds; a cache that
// it would outgrow is emptied first.
bool FitsValueCache(std::size_t bytes, std::size_t size) { return bytes + size <= kMaxCachedValueBytes; }

// What an entry counts against the bound: its data and its name.
std::size_t EntryBytes(const std::u16string& name, std::size_t size) { return size + name.size() * sizeof(char16_t); }

}  // namespace

bool RegistryHive::KeyCacheCurrent(std::uint64_t& structure) {
  if (m_generations == nullptr) return false;
  structure = m_generations->Load(Counter::Structure);
  if (!HiveGenerations::IsStable(structure)) return false;
  if (m_keyCacheAt != structure) {
    ClearKeyCache();
    m_keyCacheAt = structure;
  }
  return true;
}

void RegistryHive::ClearKeyCache() {
  m_keyCache.clear();
  ClearSubKeyCache();
}

void RegistryHive::ClearSubKeyCache() {
  m_subKeyCache.clear();
  m_subKeyCacheEntries = 0;
}

const std::vector<SubKeyEntry>* RegistryHive::FindCachedSubKeys(std::int64_t id, std::uint64_t& structure) {
  structure = kNoGeneration;
  std::uint64_t current = kNoGeneration;
  if (!KeyCacheCurrent(current)) return nullptr;
  structure = current;
  auto cached = m_subKeyCache.find(id);
  return cached != m_subKeyCache.end() ? &cached->second : nullptr;
}

void RegistryHive::KeepSubKeys(std::int64_t id, std::uint64_t structure, const std::vector<SubKeyEntry>& subKeys) {
  if (structure == kNoGeneration || m_keyCacheAt != structure ||
      m_generations->Load(Counter::Structure) != structure) {
    return;
  }
  if (m_subKeyCacheEntries + subKeys.size() > kMaxCachedSubKeys) ClearSubKeyCache();
  m_subKeyCache[id] = subKeys;
  m_subKeyCacheEntries += subKeys.size();
}

bool RegistryHive::ValueCacheCurrent(std::uint64_t& values) {
  if (m_generations == nullptr) return false;
  ChangeAnnouncements& announcements = m_generations->Announcements();
  // The number first, then the count: a change committed after the count was read is announced
  // after the number was read, so its record is numbered above it.
  const std::int64_t announced = announcements.Announced();
  values = m_generations->Load(Counter::Values);
  if (!HiveGenerations::IsStable(values)) return false;
  if (m_valueCacheAt != values) {
    // Every change in the count just read was staged before it moved.
    if (m_valueCacheAt == kNoGeneration || !ForgetChangedValues(announcements.Staged())) ClearValueCache();
    m_valueCacheAt = values;
    m_valueCacheAnnounced = announced;
  }
  return true;
}

bool RegistryHive::ForgetChangedValues(std::int64_t staged) {
  std::vector<ChangeRecord> changes;
  if (!m_generations->Announcements().ReadAfter(m_valueCacheAnnounced, staged, changes)) return false;
  for (const ChangeRecord& change : changes) {
    if (change.kind == ChangeKind::KeyDeleted) return false;
    if (change.kind == ChangeKind::ValueSet) ForgetValues(change.path);
  }
  return true;
}

void RegistryHive::ForgetValues(const std::u16string& path) {
  auto id = m_valueCacheKeys.find(path);
  if (id == m_valueCacheKeys.end()) return;
  DropValuesOf(id->second);
  m_valueCacheKeys.erase(id);
}

void RegistryHive::DropValuesOf(std::int64_t id) {
  auto entry = m_valueCache.find(id);
  if (entry == m_valueCache.end()) return;
  m_valueCacheBytes -= entry->second.bytes;
  m_valueCache.erase(entry);
}

void RegistryHive::ClearValueCache() {
  m_valueCache.clear();
  m_valueCacheKeys.clear();
  m_valueCacheBytes = 0;
}

void RegistryHive::ForgetCaches() {
  ClearKeyCache();
  m_keyCacheAt = kNoGeneration;
  ClearValueCache();
  m_valueCacheAt = kNoGeneration;
}

const RegistryHive::CachedValue* RegistryHive::StoreValue(const HiveKey& key, CachedValue entry) {
  const std::size_t bytes = EntryBytes(m_scratch, entry.data.size());
  if (!FitsValueCache(m_valueCacheBytes, bytes)) ClearValueCache();
  auto [values, added] = m_valueCache.try_emplace(key.id);
  if (added) {
    // A key deleted and made again under the same path has a new id: the values of the old one go.
    auto [id, fresh] = m_valueCacheKeys.try_emplace(key.path, key.id);
    if (!fresh && id->second != key.id) {
      DropValuesOf(id->second);
      id->second = key.id;
    }
  }
  CachedKeyValues& cached = values->second;
  auto [slot, fresh] = cached.byName.try_emplace(m_scratch);
  const std::size_t replaced = fresh ? 0 : EntryBytes(m_scratch, slot->second.data.size());
  slot->second = std::move(entry);
  cached.bytes = cached.bytes - replaced + bytes;
  m_valueCacheBytes = m_valueCacheBytes - replaced + bytes;
  return &slot->second;
}

LSTATUS RegistryHive::CheckAlive(HiveKey& key) {
  std::uint64_t before = kNoGeneration;
  if (m_generations != nullptr) {
    before = m_generations->Load(Counter::Structure);
    if (HiveGenerations::IsStable(before) && key.aliveAt == before) return ERROR_SUCCESS;
  }
  StatementUse use(m_statements->keyById);
  use.Bind(1, key.id);
  int result = use.Step();
  if (result == SQLITE_DONE) return ERROR_KEY_DELETED;
  if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
  if (m_generations != nullptr && HiveGenerations::IsStable(before) &&
      m_generations->Load(Counter::Structure) == before) {
    key.aliveAt = before;
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::LookUpKey(const std::u16string& path, CachedKey& found) {
  std::uint64_t structure = kNoGeneration;
  bool cacheCurrent = KeyCacheCurrent(structure);
  if (cacheCurrent) {
    auto hit = m_keyCache.find(path);
    if (hit != m_keyCache.end()) {
      found = hit->second;
      return ERROR_SUCCESS;
    }
  }
  CachedKey result;
  {
    StatementUse use(m_statements->keyByPath);
    use.BindText(1, path);
    int step = use.Step();
    if (step == SQLITE_ROW) {
      result.id = use.Int(0);
      result.isVolatile = use.Int(1) != 0;
    } else if (step != SQLITE_DONE) {
      return SqliteErrorToStatus(step);
    }
  }
  if (cacheCurrent && m_generations->Load(Counter::Structure) == structure) {
    if (m_keyCache.size() >= kMaxCachedKeys) ClearKeyCache();
    m_keyCache.emplace(path, result);
  }
  found = result;
  return ERROR_SUCCESS;
}

const RegistryHive::CachedValue* RegistryHive::FindCachedValue(const HiveKey& key, std::u16string_view name,
                                                               std::uint64_t& values, std::u16string_view& folded) {
  m_scratch.clear();
  AppendFolded(m_scratch, name);
  folded = m_scratch;
  values = kNoGeneration;
  std::uint64_t current = kNoGeneration;
  if (!ValueCacheCurrent(current)) return nullptr;
  values = current;
  auto entry = m_valueCache.find(key.id);
  if (entry == m_valueCache.end()) return nullptr;
  auto hit = entry->second.byName.find(m_scratch);
  return hit != entry->second.byName.end() ? &hit->second : nullptr;
}

const RegistryHive::CachedValue* RegistryHive::KeepValue(const HiveKey& key, std::uint64_t values, CachedValue& read) {
  if (values == kNoGeneration || m_generations->Load(Counter::Values) != values) return &read;
  return StoreValue(key, std::move(read));
}

bool RegistryHive::CacheCreatedKeys(Transaction& transaction) {
  if (!transaction.Touched(Counter::Structure)) return false;
  if (m_keyCacheAt == transaction.Before(Counter::Structure) && HiveGenerations::IsStable(m_keyCacheAt)) {
    // The parents of the new keys list them now.
    ClearSubKeyCache();
    if (m_keyCache.size() + transaction.createdKeys.size() > kMaxCachedKeys) ClearKeyCache();
    for (auto& [path, cached] : transaction.createdKeys) m_keyCache.insert_or_assign(std::move(path), cached);
    m_keyCacheAt = transaction.After(Counter::Structure);
    return true;
  }
  ClearKeyCache();
  m_keyCacheAt = kNoGeneration;
  return false;
}

void RegistryHive::CacheValueChange(const Transaction& transaction, const HiveKey& key, std::u16string_view name,
                                    CachedValue entry) {
  if (m_valueCacheAt != transaction.Before(Counter::Values) || !HiveGenerations::IsStable(m_valueCacheAt)) {
    ClearValueCache();
    m_valueCacheAt = kNoGeneration;
    return;
  }
  m_scratch.clear();
  AppendFolded(m_scratch, name);
  StoreValue(key, std::move(entry));
  m_valueCacheAt = transaction.After(Counter::Values);
}

}  // namespace Platform::Posix
