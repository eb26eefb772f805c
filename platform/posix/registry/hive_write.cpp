// Writes of a hive: creating keys, setting and deleting values, deleting keys and subtrees, and
// replacing security descriptors. Each call is one write transaction.
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/posix/registry/hive.h"
#include "platform/posix/registry/hive_statements.h"
#include "platform/posix/registry/hive_transaction.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

using Counter = HiveGenerations::Counter;

void AppendBytes(std::string& out, std::u16string_view text) {
  out.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
}

// The byte range of the paths strictly below `path` in the index of paths: every path that
// starts with the bytes of `path` and a backslash.
void SubtreeRange(std::u16string_view path, std::string& low, std::string& high) {
  low.clear();
  AppendBytes(low, path);
  AppendBytes(low, u"\\");
  high = low;
  high.back() = static_cast<char>(high.back() + 1);
}

}  // namespace

LSTATUS RegistryHive::RunForKey(SqliteStatement& statement, std::int64_t id, std::int64_t time) {
  StatementUse use(statement);
  use.Bind(1, id);
  if (time != 0) use.Bind(2, time);
  int result = use.Step();
  return result == SQLITE_DONE ? ERROR_SUCCESS : SqliteErrorToStatus(result);
}

LSTATUS RegistryHive::RunForSubtree(SqliteStatement& statement, std::u16string_view path) {
  std::string low, high;
  SubtreeRange(path, low, high);
  StatementUse use(statement);
  use.BindBlob(1, low.data(), low.size());
  use.BindBlob(2, high.data(), high.size());
  int result = use.Step();
  return result == SQLITE_DONE ? ERROR_SUCCESS : SqliteErrorToStatus(result);
}

LSTATUS RegistryHive::ResolveForWrite(Transaction& transaction, HiveKey& base, const KeyPath& relative, bool create,
                                      const CreateOptions& options, HiveKey& key, bool& created) {
  created = false;
  // Under the write lock no other process changes the tree, so a key cache that is current now
  // answers both look-ups without a query.
  LSTATUS status = CheckAlive(base);
  if (status != ERROR_SUCCESS) return status;
  bool parentVolatile = base.isVolatile;
  if (relative.components.empty()) {
    key.NameSameKeyAs(base);
    return ERROR_SUCCESS;
  }
  // The key is usually there already: one look-up of its whole path finds it.
  std::u16string full = JoinFolded(base.path, relative.folded);
  CachedKey found;
  status = LookUpKey(full, found);
  if (status != ERROR_SUCCESS) return status;
  if (found.id != 0) {
    key.id = found.id;
    key.isVolatile = found.isVolatile;
    key.path = std::move(full);
    key.aliveAt = kNoGeneration;
    return ERROR_SUCCESS;
  }
  if (!create) return ERROR_FILE_NOT_FOUND;
  std::int64_t parentId = base.id;
  std::u16string path = base.path;
  std::size_t foldedOffset = 0;
  for (std::size_t i = 0; i < relative.components.size(); ++i) {
    std::u16string_view name = relative.components[i];
    std::u16string_view folded(relative.folded.data() + foldedOffset, name.size());
    foldedOffset += name.size() + 1;
    if (!path.empty()) path += u'\\';
    path.append(folded);

    StatementUse find(m_statements->keyByPath);
    find.BindText(1, path);
    int result = find.Step();
    if (result == SQLITE_ROW) {
      parentId = find.Int(0);
      parentVolatile = find.Int(1) != 0;
      continue;
    }
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    if (parentVolatile && !options.isVolatile) return ERROR_CHILD_MUST_BE_VOLATILE;
    bool last = i + 1 == relative.components.size();
    status = InsertKey(transaction, parentId, name, folded, path, last, options, parentId);
    if (status != ERROR_SUCCESS) return status;
    created = true;
    parentVolatile = options.isVolatile;
  }
  key.id = parentId;
  key.path = std::move(path);
  key.isVolatile = parentVolatile;
  key.aliveAt = kNoGeneration;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::InsertKey(Transaction& transaction, std::int64_t parentId, std::u16string_view name,
                                std::u16string_view folded, const std::u16string& path, bool last,
                                const CreateOptions& options, std::int64_t& id) {
  std::int64_t now = NowAsFileTime();
  {
    StatementUse insert(m_statements->insertKey);
    insert.Bind(1, parentId);
    insert.BindText(2, name);
    insert.BindText(3, folded);
    insert.BindText(4, path);
    if (last && !options.keyClass.empty()) {
      insert.BindText(5, options.keyClass);
    } else {
      insert.BindNull(5);
    }
    if (!options.security.empty()) {
      insert.BindBlob(6, options.security.data(), options.security.size());
    } else {
      insert.BindNull(6);
    }
    if (options.isVolatile) {
      insert.BindUtf8(7, m_bootId);
    } else {
      insert.BindNull(7);
    }
    insert.Bind(8, now);
    int result = insert.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  std::int64_t inserted = sqlite3_last_insert_rowid(m_db);
  LSTATUS status = RunForKey(m_statements->touchKey, parentId, now);
  if (status != ERROR_SUCCESS) return status;
  transaction.Record(ChangeKind::KeyCreated, path);
  transaction.createdKeys.emplace_back(path, CachedKey{inserted, options.isVolatile});
  transaction.Touch(Counter::Structure);
  id = inserted;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::CreateKey(HiveKey& base, const KeyPath& relative, const CreateOptions& options, HiveKey& key,
                                DWORD& disposition) {
  LSTATUS status = OpenKey(base, relative, key);
  if (status != ERROR_FILE_NOT_FOUND) {
    if (status == ERROR_SUCCESS) disposition = REG_OPENED_EXISTING_KEY;
    return status;
  }
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  status = transaction.Begin();
  if (status != ERROR_SUCCESS) return status;
  bool created = false;
  status = ResolveForWrite(transaction, base, relative, true, options, key, created);
  if (status == ERROR_SUCCESS) status = transaction.Commit();
  if (status != ERROR_SUCCESS) return status;
  disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  if (CacheCreatedKeys(transaction)) key.aliveAt = m_keyCacheAt;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::SetValue(HiveKey& key, const KeyPath& relative, std::u16string_view name, DWORD type,
                               const BYTE* data, std::size_t size) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  HiveKey target;
  LSTATUS status = transaction.BeginAt(key, relative, true, target);
  if (status != ERROR_SUCCESS) return status;
  std::u16string folded = Folded(name);
  {
    StatementUse use(m_statements->upsertValue);
    use.Bind(1, target.id);
    use.BindText(2, name);
    use.BindText(3, folded);
    use.Bind(4, type);
    use.BindBlob(5, data, size);
    // The time goes with the value, so that a write touches no page of the keys table.
    use.Bind(6, NowAsFileTime());
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  status = CommitValueChange(transaction, target, name, CachedValue{true, type, std::vector<BYTE>(data, data + size)});
  if (status != ERROR_SUCCESS) return status;
  CacheCreatedKeys(transaction);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::DeleteValue(HiveKey& key, const KeyPath& relative, std::u16string_view name) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  HiveKey target;
  LSTATUS status = transaction.BeginAt(key, relative, false, target);
  if (status != ERROR_SUCCESS) return status;
  std::u16string folded = Folded(name);
  {
    StatementUse use(m_statements->deleteValue);
    use.Bind(1, target.id);
    use.BindText(2, folded);
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    if (sqlite3_changes(m_db) == 0) return ERROR_FILE_NOT_FOUND;
  }
  status = RunForKey(m_statements->touchKey, target.id, NowAsFileTime());
  if (status != ERROR_SUCCESS) return status;
  return CommitValueChange(transaction, target, name, CachedValue{});
}

LSTATUS RegistryHive::CommitValueChange(Transaction& transaction, const HiveKey& target, std::u16string_view name,
                                        CachedValue entry) {
  transaction.Record(ChangeKind::ValueSet, target.path);
  transaction.Touch(Counter::Values);
  LSTATUS status = transaction.Commit();
  if (status != ERROR_SUCCESS) return status;
  CacheValueChange(transaction, target, name, std::move(entry));
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::DeleteTree(HiveKey& key, const KeyPath& relative) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  HiveKey target;
  LSTATUS status = transaction.BeginAt(key, relative, false, target);
  if (status != ERROR_SUCCESS) return status;
  status = relative.components.empty() ? EmptyKey(transaction, target) : DeleteSubtree(transaction, target);
  if (status != ERROR_SUCCESS) return status;
  return transaction.CommitRemoval();
}

LSTATUS RegistryHive::EmptyKey(Transaction& transaction, const HiveKey& target) {
  std::vector<std::u16string> children;
  {
    StatementUse use(m_statements->childPaths);
    use.Bind(1, target.id);
    int result;
    while ((result = use.Step()) == SQLITE_ROW) children.push_back(use.Text(0));
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  std::int64_t valueCount = 0;
  {
    StatementUse use(m_statements->valueCount);
    use.Bind(1, target.id);
    int result = use.Step();
    if (result != SQLITE_ROW) return SqliteErrorToStatus(result);
    valueCount = use.Int(0);
  }
  if (children.empty() && valueCount == 0) return ERROR_SUCCESS;
  LSTATUS status;
  if (target.path.empty()) {
    StatementUse use(m_statements->deleteAllValues);
    int result = use.Step();
    status = result == SQLITE_DONE ? ERROR_SUCCESS : SqliteErrorToStatus(result);
    if (status == ERROR_SUCCESS) status = RunForKey(m_statements->deleteAllKeysBut, target.id);
  } else {
    status = RunForSubtree(m_statements->deleteSubtreeValues, target.path);
    if (status == ERROR_SUCCESS) status = RunForKey(m_statements->deleteKeyValues, target.id);
    if (status == ERROR_SUCCESS) status = RunForSubtree(m_statements->deleteSubtreeKeys, target.path);
  }
  if (status == ERROR_SUCCESS) status = RunForKey(m_statements->touchKey, target.id, NowAsFileTime());
  if (status != ERROR_SUCCESS) return status;
  for (const std::u16string& child : children) transaction.Record(ChangeKind::KeyDeleted, child);
  if (valueCount != 0) transaction.Record(ChangeKind::ValueSet, target.path);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::DeleteSubtree(Transaction& transaction, const HiveKey& target) {
  LSTATUS status = RunForSubtree(m_statements->deleteSubtreeValues, target.path);
  if (status == ERROR_SUCCESS) status = RunForSubtree(m_statements->deleteSubtreeKeys, target.path);
  if (status == ERROR_SUCCESS) status = RunForKey(m_statements->touchParent, target.id, NowAsFileTime());
  if (status == ERROR_SUCCESS) status = RunForKey(m_statements->deleteKeyValues, target.id);
  if (status == ERROR_SUCCESS) status = RunForKey(m_statements->deleteKeyRow, target.id);
  if (status == ERROR_SUCCESS) transaction.Record(ChangeKind::KeyDeleted, target.path);
  return status;
}

LSTATUS RegistryHive::DeleteKey(HiveKey& key, const KeyPath& relative) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  HiveKey target;
  LSTATUS status = transaction.BeginAt(key, relative, false, target);
  if (status != ERROR_SUCCESS) return status;
  if (target.path.empty()) return ERROR_ACCESS_DENIED;
  {
    StatementUse use(m_statements->hasChildren);
    use.Bind(1, target.id);
    int result = use.Step();
    if (result == SQLITE_ROW) return ERROR_ACCESS_DENIED;
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  }
  status = RunForKey(m_statements->touchParent, target.id, NowAsFileTime());
  if (status == ERROR_SUCCESS) status = RunForKey(m_statements->deleteKeyValues, target.id);
  if (status == ERROR_SUCCESS) status = RunForKey(m_statements->deleteKeyRow, target.id);
  if (status != ERROR_SUCCESS) return status;
  transaction.Record(ChangeKind::KeyDeleted, target.path);
  return transaction.CommitRemoval();
}

LSTATUS RegistryHive::SetSecurity(HiveKey& key, std::span<const BYTE> descriptor) {
  std::lock_guard<std::mutex> lock(m_mutex);
  Transaction transaction(*this);
  LSTATUS status = transaction.Begin();
  if (status != ERROR_SUCCESS) return status;
  {
    StatementUse use(m_statements->setSecurity);
    use.Bind(1, key.id);
    use.BindBlob(2, descriptor.data(), descriptor.size());
    int result = use.Step();
    if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
    if (sqlite3_changes(m_db) == 0) return ERROR_KEY_DELETED;
  }
  transaction.Record(ChangeKind::SecuritySet, key.path);
  return transaction.Commit();
}

LSTATUS RegistryHive::Flush() {
  // Commits are in the WAL file, and checkpoints move them into the database file; syncing both
  // (through descriptors of our own: a sync covers the file, whoever wrote it) and the folder that
  // lists them puts every committed change on the disk without taking the write lock.
  std::string folder = m_filePath.substr(0, m_filePath.rfind('/'));
  for (const std::string& path : {m_filePath + "-wal", m_filePath, folder}) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 && errno == ENOENT) continue;
    if (fd < 0) return ERROR_CANTWRITE;
    int result = ::fsync(fd);
    ::close(fd);
    if (result != 0) return ERROR_CANTWRITE;
  }
  return ERROR_SUCCESS;
}

}  // namespace Platform::Posix
