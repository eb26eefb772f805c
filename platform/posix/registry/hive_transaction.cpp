// A hive's write transaction and the announcement of its changes.
#include "platform/posix/registry/hive_transaction.h"

#include <time.h>

#include "platform/posix/registry/hive_statements.h"
#include "platform/registry.h"

namespace Platform::Posix {

void (*g_afterCommitHook)() = nullptr;

std::int64_t NowAsFileTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 10000000 + now.tv_nsec / 100 + 116444736000000000LL;
}

RegistryHive::Transaction::~Transaction() {
  if (m_open) StatementUse(m_hive.m_statements->rollback).Step();
}

LSTATUS RegistryHive::Transaction::Begin() {
  if (!m_hive.m_writable) return ERROR_ACCESS_DENIED;
  int result = StatementUse(m_hive.m_statements->begin).Step();
  if (result != SQLITE_DONE) return SqliteErrorToStatus(result);
  m_open = true;
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::Transaction::BeginAt(HiveKey& key, const KeyPath& relative, bool create, HiveKey& target) {
  LSTATUS status = Begin();
  if (status != ERROR_SUCCESS) return status;
  bool created = false;
  return m_hive.ResolveForWrite(*this, key, relative, create, CreateOptions{}, target, created);
}

LSTATUS RegistryHive::Transaction::Commit() {
  HiveGenerations* generations = m_hive.m_generations.get();
  ChangeAnnouncements* announcements = generations != nullptr ? &generations->Announcements() : nullptr;
  bool announcing = announcements != nullptr && !m_changes.empty();
  if (announcing) announcements->Stage(m_changes);
  for (int i = 0; i < 2; ++i) {
    m_before[i] = generations != nullptr ? generations->Load(static_cast<Counter>(i)) : kNoGeneration;
    m_after[i] = m_before[i];
    if (m_touched[i] && generations != nullptr) generations->BeginChange(static_cast<Counter>(i));
  }
  int result = StatementUse(m_hive.m_statements->commit).Step();
  for (int i = 0; i < 2; ++i) {
    if (m_touched[i] && generations != nullptr) m_after[i] = generations->EndChange(static_cast<Counter>(i));
  }
  if (result != SQLITE_DONE) {
    if (announcing) {
      announcements->Withdraw(m_changes);
      announcements->Announce(m_changes.back().sequence);
    }
    return SqliteErrorToStatus(result);
  }
  m_open = false;
  if (m_changes.empty()) return ERROR_SUCCESS;
  if (g_afterCommitHook != nullptr) g_afterCommitHook();
  // This process's own watches first: once announced, the changes could reach them through the
  // watcher thread instead, which signals only after this call has returned.
  if (m_hive.m_listener != nullptr) m_hive.m_listener(m_hive.m_listenerContext, m_hive, m_changes);
  if (announcing) announcements->Announce(m_changes.back().sequence);
  return ERROR_SUCCESS;
}

LSTATUS RegistryHive::Transaction::CommitRemoval() {
  Touch(Counter::Structure);
  Touch(Counter::Values);
  LSTATUS status = Commit();
  m_hive.ForgetCaches();
  return status;
}

}  // namespace Platform::Posix
