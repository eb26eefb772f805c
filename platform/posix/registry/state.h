// The registry of this process: its folder, the hives opened so far, the predefined keys, the
// open handles and the notifier.
//
// Built at the first registry call from the environment of that moment, and kept for the life of
// the process. Tests that need a fresh registry call ResetRegistryForTests, which drops it all so
// that the next call reads the environment (HALCYRA_REGISTRY_ROOT) again.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "platform/posix/registry/hive.h"
#include "platform/posix/registry/key_table.h"
#include "platform/posix/registry/notifier.h"
#include "platform/types.h"

namespace Platform::Posix {

class RegistryState {
public:
  // The registry of the process, built at the first call. Any thread.
  static RegistryState& Get();

  // The key a handle stands for: an open handle or a predefined key. ERROR_INVALID_HANDLE for
  // anything else; the error of opening the hive for a predefined key whose hive cannot be used.
  LSTATUS Resolve(HKEY handle, std::shared_ptr<OpenKey>& key);

  KeyHandleTable& Handles() { return m_handles; }
  RegistryNotifier& Notifier() { return *m_notifier; }
  const std::string& Folder() const { return m_folder; }

private:
  enum HiveIndex { kMachine, kUser, kUsers, kHiveCount };
  static constexpr int kRootCount = 8;

  RegistryState(std::string folder, std::string bootId);
  LSTATUS OpenHiveLocked(HiveIndex index, RegistryHive*& hive);

  const std::string m_folder;
  const std::string m_bootId;
  std::mutex m_mutex;  // guards the hives and roots while they are opened
  std::unique_ptr<RegistryHive> m_hives[kHiveCount];
  LSTATUS m_hiveFailures[kHiveCount] = {};
  std::shared_ptr<OpenKey> m_roots[kRootCount];
  KeyHandleTable m_handles;
  std::unique_ptr<RegistryNotifier> m_notifier;
};

// Test hook: closes every hive and handle and forgets the registry, so that the next registry call
// starts afresh from the environment. With `bootId` not null, volatile keys are tied to that boot
// instead of the running one (to act out a reboot). No other registry call may be running.
void ResetRegistryForTests(const char* bootId = nullptr);

// Test hook: `hook` runs in every write of this process that changed something, right after the
// change is committed and before it is announced to the watchers of other processes (a test ends
// the process there). Null removes it. Set it before any registry call.
void SetAfterCommitHookForTests(void (*hook)());

}  // namespace Platform::Posix
