// The worker behind every registry store and storage system.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "foundation/error.h"
#include "foundation/type_description.h"
#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "storage_system/lock.h"
#include "storage_system/path_helper.h"
#include "storage_system/store.h"
#include "storage_system/store_monitor.h"
#include "storage_system/registry/registry_properties.h"
#include "storage_system/registry/registry_value.h"

namespace StorageSystem::Registry {

// A store on an open registry key: opens, deletions and enumerations go straight to the registry
// on the caller's thread; nothing is cached but the key, the flags and the access mask.
//
// It also carries the change notifications of the store. The first registered monitor turns them
// on: an auto-reset event, a pool wait on it that runs the handler, and a watch of the key's
// subtree that is armed again by a pool work item at the start of every handler, so that no change
// is lost. The handler only tries the storage system's lock, because the removal of the last
// monitor holds that lock while it waits for running handlers; an event it cannot handle at once
// is postponed to a one-shot timer of 15 ms, of which at most one exists. The counters and handles
// that the pool threads share are atomics, exchanged rather than locked.
class CStoreDelegate {
public:
  // `owner` is the outer store (for a storage system its IStore facet) and `pathHelper` its helper;
  // neither is counted.
  CStoreDelegate(IStore* owner, CPathHelper* pathHelper) : m_owner(owner), m_pathHelper(pathHelper) {}
  ~CStoreDelegate();
  CStoreDelegate(const CStoreDelegate&) = delete;
  CStoreDelegate& operator=(const CStoreDelegate&) = delete;

  // Opens (under SF_CREATE creates) `subKey` of `rootKey` with the access mask of `flags`, which
  // PrepareAccessMask settled. On failure nothing changes. Returns ErrorNone or ErrorSystem.
  [[nodiscard]] ErrorCode Open(Platform::HKEY rootKey, const char16_t* subKey, std::uint32_t flags);
  // Stops a pending postponement and closes the key.
  void Close();

  // Opens `subKey` of `rootKey` with `mask`, or creates it under SF_CREATE (volatile under
  // SF_VOLATILE) with the storage system's security attributes. The caller owns `*result`.
  // ErrorNone or ErrorSystem.
  [[nodiscard]] ErrorCode OpenOrCreateSubKey(Platform::HKEY rootKey, const char16_t* subKey, std::uint32_t flags,
                                             Platform::REGSAM mask, Platform::HKEY* result);
  // OpenOrCreateSubKey with this store's own flags and mask.
  [[nodiscard]] ErrorCode OpenSubKey(Platform::HKEY rootKey, const char16_t* subKey, Platform::HKEY* result) {
    return OpenOrCreateSubKey(rootKey, subKey, m_flags, m_accessMask, result);
  }

  // The operations of IStore; see storage_system/store.h.
  [[nodiscard]] ErrorCode EnumStores(IEnumTarget* target);
  [[nodiscard]] ErrorCode OpenStore(const char16_t* path, IStore** result, std::uint32_t flags);
  [[nodiscard]] ErrorCode DeleteStore(const char16_t* path);
  [[nodiscard]] ErrorCode EnumValues(IEnumTarget* target);
  [[nodiscard]] ErrorCode OpenValue(const char16_t* path, IRegistryValue** result, std::uint32_t flags,
                                    const ITypeDescription* type, const void* defaultData, std::uint32_t defaultSize);
  [[nodiscard]] ErrorCode DeleteValue(const char16_t* path);
  bool IsEmpty();
  [[nodiscard]] ErrorCode RegisterMonitor(IStoreMonitor* monitor);
  [[nodiscard]] ErrorCode UnregisterMonitor(IStoreMonitor* monitor);

  std::uint32_t GetFlags() const { return m_flags; }
  Platform::HKEY GetKey() const { return m_key.Get(); }
  Platform::REGSAM GetAccessMask() const { return m_accessMask; }

private:
  IRegistryProperties* RegistryProperties();
  ILock* Lock();

  // Monitor list and notification machinery (store_notifications.cpp).
  [[nodiscard]] ErrorCode QueueMonitor(IStoreMonitor* monitor);
  [[nodiscard]] ErrorCode UnqueueMonitor(IStoreMonitor* monitor);
  [[nodiscard]] ErrorCode InitializeNotif();
  [[nodiscard]] ErrorCode RequestNotif();
  void RegEventPostponeRequest();
  void UnregisterWaitSafe();
  void HandleEvent();
  void StopTimer();
  static void WaitCallback(void* context, Platform::BOOLEAN timerOrWaitFired);
  static void TimerCallback(void* context, Platform::BOOLEAN timerOrWaitFired);
  static Platform::DWORD NotifyWorker(void* context);

  IStore* const m_owner;
  CPathHelper* const m_pathHelper;
  std::uint32_t m_flags = 0;
  Platform::UniqueKey m_key;
  Platform::REGSAM m_accessMask = 0;
  std::atomic<ILock*> m_lock{nullptr};

  std::atomic<std::uint64_t> m_monitorCount{0};
  std::atomic<std::uint64_t> m_eventsInProgress{0};
  // Guarded by the storage system's lock.
  std::vector<IStoreMonitor*> m_monitors;
  // Owned while set; exchanged atomically because pool threads read them during teardown.
  std::atomic<Platform::HANDLE> m_notifyEvent{nullptr};
  std::atomic<Platform::HANDLE> m_waitHandle{nullptr};
  std::atomic<Platform::HANDLE> m_timer{nullptr};
  std::atomic<std::uint32_t> m_timerFired{0};
  std::atomic<std::uint32_t> m_pendingRequests{0};
  // Pool callbacks of this store that have started and not yet returned; the teardown waits for
  // them, so that none touches the store after the last monitor is gone. It adds a wait to the
  // teardown and changes nothing else that a caller or a monitor can see: the same calls come, in
  // the same order.
  std::atomic<std::uint32_t> m_callbacksInFlight{0};
  // Makes the exchange-and-move of a postponement one step, so that two handlers postponing at
  // once cannot leave two timers. The steps and their outcome stay those of a postponement without
  // it; it only keeps two of them from interleaving.
  std::mutex m_postponeMutex;
};

}  // namespace StorageSystem::Registry
