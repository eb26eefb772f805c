// Reads of a hive: opening keys, reading values, enumerating sub-keys and values, and the summary
// of a key.
#include <algorithm>

#include "platform/posix/registry/hive.h"
#include "platform/posix/registry/hive_statements.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

using Counter = HiveGenerations::Counter;

}  // namespace

LSTATUS RegistryHive::OpenRoot(std::u16string_view path, HiveKey& root) {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    StatementUse use(m_statements->rootId);
    int result = use.Step();
    if (result == SQLITE_DONE) return ERROR_BADDB;
    if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
    root = HiveKey{};
    root.id = use.Int(0);
  }
  if (path.empty()) return ERROR_SUCCESS;
  std::u16string text(path);
  KeyPath relative;
  LSTATUS status = ParseKeyPath(text.c_str(), relative);
  if (status != ERROR_SUCCESS) return status;
  HiveKey base = std::move(root);
  root = HiveKey{};
  status = OpenKey(base, relative, root);
  if (status == ERROR_FILE_NOT_FOUND && m_writable) {
    DWORD disposition = 0;
    status = CreateKey(base, relative, CreateOptions{}, root, disposition);
  }
  return status;
}

LSTATUS RegistryHive::OpenKey(HiveKey& base, const KeyPath& relative, HiveKey& key) {
  std::lock_guard<std::mutex> lock(m_mutex);
  LSTATUS status = CheckAlive(base);
  if (status != ERROR_SUCCESS) return status;
  if (relative.components.empty()) {
    key.NameSameKeyAs(base);
    return ERROR_SUCCESS;
  }
  std::u16string path = JoinFolded(base.path, relative.folded);
  CachedKey found;
  status = LookUpKey(path, found);
  if (status != ERROR_SUCCESS) return status;
  if (found.id == 0) return ERROR_FILE_NOT_FOUND;
  key.id = found.id;
  key.path = std::move(path);
  key.isVolatile = found.isVolatile;
  key.aliveAt = m_keyCacheAt;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::ReadValue(HiveKey& key, std::u16string_view name, ValueConsumer consumer, void* context) {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::uint64_t values = kNoGeneration;
  std::u16string_view folded;
  const CachedValue* found = FindCachedValue(key, name, values, folded);
  CachedValue read;
  if (found == nullptr) {
    LSTATUS status = ReadValueRow(key.id, folded, read);
    if (status != ERROR_SUCCESS) return status;
    found = KeepValue(key, values, read);
  }
  if (!found->exists) return ERROR_FILE_NOT_FOUND;
  consumer(context, found->type, found->data.data(), found->data.size());
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::ReadValueRow(std::int64_t keyId, std::u16string_view folded, CachedValue& read) {
  StatementUse use(m_statements->readValue);
  use.Bind(1, keyId);
  use.BindText(2, folded);
  int result = use.Step();
  if (result == SQLITE_DONE) return ERROR_KEY_DELETED;
  if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
  if (!use.IsNull(0)) {
    read.exists = true;
    read.type = static_cast<DWORD>(use.Int(0));
    const BYTE* data = use.Blob(1);
    read.data.assign(data, data + use.BlobSize(1));
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::LoadSubKeys(HiveKey& key, bool needLastWrite) {
  std::uint64_t structure = m_generations != nullptr ? m_generations->Load(Counter::Structure) : kNoGeneration;
  std::uint64_t values = m_generations != nullptr ? m_generations->Load(Counter::Values) : kNoGeneration;
  key.subKeys.clear();
  key.subKeysStructure = kNoGeneration;
  key.subKeysValues = kNoGeneration;
  // Names and classes change only with the tree's shape; the last write times also with values.
  std::uint64_t cachedAt = kNoGeneration;
  if (!needLastWrite) {
    if (const std::vector<SubKeyEntry>* cached = FindCachedSubKeys(key.id, cachedAt)) {
      key.subKeys = *cached;
      key.subKeysStructure = cachedAt;
      return ERROR_SUCCESS;
    }
  }
  {
    StatementUse use(m_statements->children);
    use.Bind(1, key.id);
    int result;
    while ((result = use.Step()) == SQLITE_ROW) {
      SubKeyEntry entry;
      entry.name = use.Text(0);
      entry.folded = use.Text(1);
      if (!use.IsNull(2)) entry.keyClass = use.Text(2);
      entry.lastWrite = use.Int(3);
      key.subKeys.push_back(std::move(entry));
    }
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  if (key.subKeys.empty()) {
    LSTATUS status = CheckAlive(key);
    if (status != ERROR_SUCCESS) return status;
  }
  std::sort(key.subKeys.begin(), key.subKeys.end(),
            [](const SubKeyEntry& a, const SubKeyEntry& b) { return a.folded < b.folded; });
  if (m_generations != nullptr) {
    if (HiveGenerations::IsStable(structure) && m_generations->Load(Counter::Structure) == structure) {
      key.subKeysStructure = structure;
      if (cachedAt == structure) KeepSubKeys(key.id, structure, key.subKeys);
    }
    if (needLastWrite && HiveGenerations::IsStable(values) && m_generations->Load(Counter::Values) == values) {
      key.subKeysValues = values;
    }
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::EnumSubKey(HiveKey& key, DWORD index, bool needLastWrite,
                                 void (*visit)(void* context, const SubKeyEntry& entry), void* context) {
  std::lock_guard<std::mutex> lock(m_mutex);
  bool current;
  if (m_generations != nullptr) {
    std::uint64_t structure = m_generations->Load(Counter::Structure);
    current = HiveGenerations::IsStable(structure) && key.subKeysStructure == structure;
    if (current && needLastWrite) {
      std::uint64_t values = m_generations->Load(Counter::Values);
      current = HiveGenerations::IsStable(values) && key.subKeysValues == values;
    }
  } else {
    // Without shared counters a walk keeps the snapshot taken at its first index.
    current = index != 0 && key.subKeysStructure == kNoGeneration && !key.subKeys.empty();
  }
  if (!current) {
    LSTATUS status = LoadSubKeys(key, needLastWrite);
    if (status != ERROR_SUCCESS) return status;
  }
  if (index >= key.subKeys.size()) return ERROR_NO_MORE_ITEMS;
  visit(context, key.subKeys[index]);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::LoadValues(HiveKey& key) {
  std::uint64_t values = m_generations != nullptr ? m_generations->Load(Counter::Values) : kNoGeneration;
  key.values.clear();
  key.valuesAt = kNoGeneration;
  {
    StatementUse use(m_statements->valuesOf);
    use.Bind(1, key.id);
    int result;
    while ((result = use.Step()) == SQLITE_ROW) {
      ValueEntry entry;
      entry.name = use.Text(0);
      entry.type = static_cast<DWORD>(use.Int(1));
      const BYTE* data = use.Blob(2);
      entry.data.assign(data, data + use.BlobSize(2));
      key.values.push_back(std::move(entry));
    }
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  if (key.values.empty()) {
    LSTATUS status = CheckAlive(key);
    if (status != ERROR_SUCCESS) return status;
  }
  if (m_generations != nullptr && HiveGenerations::IsStable(values) && m_generations->Load(Counter::Values) == values) {
    key.valuesAt = values;
  }
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::EnumValue(HiveKey& key, DWORD index, void (*visit)(void* context, const ValueEntry& entry),
                                void* context) {
  std::lock_guard<std::mutex> lock(m_mutex);
  bool current;
  if (m_generations != nullptr) {
    std::uint64_t values = m_generations->Load(Counter::Values);
    current = HiveGenerations::IsStable(values) && key.valuesAt == values;
  } else {
    current = index != 0 && !key.values.empty();
  }
  if (!current) {
    LSTATUS status = LoadValues(key);
    if (status != ERROR_SUCCESS) return status;
  }
  if (index >= key.values.size()) return ERROR_NO_MORE_ITEMS;
  visit(context, key.values[index]);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::QueryInfo(HiveKey& key, KeySummary& summary) {
  std::lock_guard<std::mutex> lock(m_mutex);
  StatementUse use(m_statements->info);
  use.Bind(1, key.id);
  int result = use.Step();
  if (result == SQLITE_DONE) return ERROR_KEY_DELETED;
  if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
  summary.keyClass = use.IsNull(0) ? std::u16string() : use.Text(0);
  summary.lastWrite = use.Int(1);
  summary.securityDescriptorLength = static_cast<DWORD>(use.Int(2));
  summary.subKeys = static_cast<DWORD>(use.Int(3));
  summary.maxSubKeyLength = static_cast<DWORD>(use.Int(4) / 2);
  summary.maxClassLength = static_cast<DWORD>(use.Int(5) / 2);
  summary.values = static_cast<DWORD>(use.Int(6));
  summary.maxValueNameLength = static_cast<DWORD>(use.Int(7) / 2);
  summary.maxValueLength = static_cast<DWORD>(use.Int(8));
  return ERROR_SUCCESS;
}

}  // namespace Platform::Posix
