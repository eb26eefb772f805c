// The in-process caches of a hive: key ids by path and values by key and name, each current at one
// count of the hive's shared change counters and dropped when the count moves.
#include "platform/posix/registry/hive.h"
#include "platform/posix/registry/hive_statements.h"
#include "platform/posix/registry/hive_transaction.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

using Counter = HiveGenerations::Counter;

constexpr std::size_t kMaxCachedKeys = 65536;
constexpr std::size_t kMaxCachedValueBytes = 16 * 1024 * 1024;

// The key of a value cache entry: the key id in four code units, then the folded name; one
// string, built without allocating in a buffer that is kept.
void BuildValueCacheKey(std::u16string& out, std::int64_t id, std::u16string_view name) {
  out.clear();
  for (int shift = 0; shift < 64; shift += 16) {
    out += static_cast<char16_t>((static_cast<std::uint64_t>(id) >> shift) & 0xFFFF);
  }
  AppendFolded(out, name);
}

// Counts an entry of `size` bytes of data under `entryKey` in the `bytes` of a value cache; a cache
// that would outgrow its bound is emptied first.
template <class ValueCache>
void ChargeValueCache(ValueCache& cache, std::size_t& bytes, const std::u16string& entryKey, std::size_t size) {
  if (bytes + size > kMaxCachedValueBytes) {
    cache.clear();
    bytes = 0;
  }
  bytes += size + entryKey.size() * sizeof(char16_t);
}

}  // namespace

bool RegistryHive::KeyCacheCurrent(std::uint64_t& structure) {
  if (m_generations == nullptr) return false;
  structure = m_generations->Load(Counter::Structure);
  if (!HiveGenerations::IsStable(structure)) return false;
  if (m_keyCacheAt != structure) {
    m_keyCache.clear();
    m_keyCacheAt = structure;
  }
  return true;
}

bool RegistryHive::ValueCacheCurrent(std::uint64_t& values) {
  if (m_generations == nullptr) return false;
  values = m_generations->Load(Counter::Values);
  if (!HiveGenerations::IsStable(values)) return false;
  if (m_valueCacheAt != values) {
    m_valueCache.clear();
    m_valueCacheBytes = 0;
    m_valueCacheAt = values;
  }
  return true;
}

void RegistryHive::ForgetCaches() {
  m_keyCache.clear();
  m_keyCacheAt = kNoGeneration;
  m_valueCache.clear();
  m_valueCacheBytes = 0;
  m_valueCacheAt = kNoGeneration;
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
    if (m_keyCache.size() >= kMaxCachedKeys) m_keyCache.clear();
    m_keyCache.emplace(path, result);
  }
  found = result;
  return ERROR_SUCCESS;
}

const RegistryHive::CachedValue* RegistryHive::FindCachedValue(std::int64_t keyId, std::u16string_view name,
                                                               std::uint64_t& values, std::u16string_view& folded) {
  BuildValueCacheKey(m_scratch, keyId, name);
  folded = std::u16string_view(m_scratch).substr(4);
  values = kNoGeneration;
  std::uint64_t current = kNoGeneration;
  if (!ValueCacheCurrent(current)) return nullptr;
  values = current;
  auto hit = m_valueCache.find(m_scratch);
  return hit != m_valueCache.end() ? &hit->second : nullptr;
}

const RegistryHive::CachedValue* RegistryHive::KeepValue(std::uint64_t values, CachedValue& read) {
  if (values == kNoGeneration || m_generations->Load(Counter::Values) != values) return &read;
  ChargeValueCache(m_valueCache, m_valueCacheBytes, m_scratch, read.data.size());
  return &m_valueCache.emplace(m_scratch, std::move(read)).first->second;
}

bool RegistryHive::CacheCreatedKeys(Transaction& transaction) {
  if (!transaction.Touched(Counter::Structure)) return false;
  if (m_keyCacheAt == transaction.Before(Counter::Structure) && HiveGenerations::IsStable(m_keyCacheAt)) {
    if (m_keyCache.size() + transaction.createdKeys.size() > kMaxCachedKeys) m_keyCache.clear();
    for (auto& [path, cached] : transaction.createdKeys) m_keyCache.insert_or_assign(std::move(path), cached);
    m_keyCacheAt = transaction.After(Counter::Structure);
    return true;
  }
  m_keyCache.clear();
  m_keyCacheAt = kNoGeneration;
  return false;
}

void RegistryHive::CacheValueChange(const Transaction& transaction, std::int64_t keyId, std::u16string_view name,
                                    CachedValue entry) {
  if (m_valueCacheAt == transaction.Before(Counter::Values) && HiveGenerations::IsStable(m_valueCacheAt)) {
    BuildValueCacheKey(m_scratch, keyId, name);
    ChargeValueCache(m_valueCache, m_valueCacheBytes, m_scratch, entry.data.size());
    m_valueCache[m_scratch] = std::move(entry);
    m_valueCacheAt = transaction.After(Counter::Values);
  } else {
    m_valueCache.clear();
    m_valueCacheBytes = 0;
    m_valueCacheAt = kNoGeneration;
  }
}

}  // namespace Platform::Posix
