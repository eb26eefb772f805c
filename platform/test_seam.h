// A seam for tests, and nothing else: a table of functions that stand in for a few platform calls,
// so that a test program can watch, hold or fail the calls that the code under test makes (the
// storage system's pool probe and registry probe). The product never installs a table; then each
// of these calls costs one atomic load more.
//
// A hook that calls its own platform function again reaches the platform's own work: while a hook
// runs on a thread, no hook stands in for that thread's platform calls.
#pragma once

#include <atomic>
#include <optional>

#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/thread_pool.h"

namespace Platform::TestSeam {

// The calls that a test may stand in for; a null member leaves that call to the platform.
struct Hooks {
  HANDLE (*createEventW)(const SECURITY_ATTRIBUTES*, BOOL, BOOL, LPCWSTR) = nullptr;
  BOOL (*queueUserWorkItem)(LPTHREAD_START_ROUTINE, void*, ULONG) = nullptr;
  BOOL (*createTimerQueueTimer)(HANDLE*, HANDLE, WAITORTIMERCALLBACK, void*, DWORD, DWORD, ULONG) = nullptr;
  BOOL (*changeTimerQueueTimer)(HANDLE, HANDLE, ULONG, ULONG) = nullptr;
  BOOL (*deleteTimerQueueTimer)(HANDLE, HANDLE, HANDLE) = nullptr;
  LSTATUS (*regOpenKeyExW)(HKEY, LPCWSTR, DWORD, REGSAM, HKEY*) = nullptr;
  LSTATUS (*regCloseKey)(HKEY) = nullptr;
  LSTATUS (*regSetKeyValueW)(HKEY, LPCWSTR, LPCWSTR, DWORD, const void*, DWORD) = nullptr;
};

inline std::atomic<const Hooks*> g_installedHooks{nullptr};
inline thread_local bool t_insideHook = false;

// Installs `hooks` for every thread (null: none). The table must stay until another replaces it.
// Install before the calls to watch; a test program does it once, before its first test.
inline void Install(const Hooks* hooks) { g_installedHooks.store(hooks, std::memory_order_release); }

// For the platform's functions: when a hook is installed for `member` and the calling thread is
// not inside a hook already, calls it with `arguments` and returns its result; otherwise returns
// nothing, and the function does its own work.
template <class Result, class... Parameters, class... Arguments>
std::optional<Result> Divert(Result (*Hooks::*member)(Parameters...), Arguments... arguments) {
  const Hooks* hooks = g_installedHooks.load(std::memory_order_acquire);
  if (hooks == nullptr || hooks->*member == nullptr || t_insideHook) return std::nullopt;
  struct Inside {
    Inside() { t_insideHook = true; }
    ~Inside() { t_insideHook = false; }
  } inside;
  return (hooks->*member)(arguments...);
}

}  // namespace Platform::TestSeam
