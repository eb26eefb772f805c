// One owner for every kind of platform handle.
//
// UniqueHandle<Traits> owns one handle and closes it with the traits' Close when destroyed or reset.
// Each handle kind has its traits type below; the traits of pool objects say whether closing waits
// for a callback that is running.
#pragma once

#include <utility>

#include "platform/module.h"
#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/thread_pool.h"

namespace Platform {

template <class Traits>
class UniqueHandle {
public:
  using Type = typename Traits::Type;

  UniqueHandle() = default;
  explicit UniqueHandle(Type handle) : m_handle(handle) {}
  UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.Detach()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    Reset(other.Detach());
    return *this;
  }
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  ~UniqueHandle() { Reset(); }

  Type Get() const { return m_handle; }
  explicit operator bool() const { return m_handle != Traits::Invalid(); }

  // Receives a new handle from a function with an out parameter; closes the old one first.
  Type* Put() {
    Reset();
    return &m_handle;
  }

  // Gives up ownership; the caller closes the returned handle.
  Type Detach() { return std::exchange(m_handle, Traits::Invalid()); }

  // Closes the held handle and takes over `handle`.
  void Reset(Type handle = Traits::Invalid()) {
    Type old = std::exchange(m_handle, handle);
    if (old != Traits::Invalid()) Traits::Close(old);
  }

private:
  Type m_handle = Traits::Invalid();
};

struct KeyHandleTraits {
  using Type = HKEY;
  static Type Invalid() { return nullptr; }
  static void Close(Type key) { RegCloseKey(key); }
};

struct KernelHandleTraits {
  using Type = HANDLE;
  static Type Invalid() { return nullptr; }
  static void Close(Type handle) { CloseHandle(handle); }
};

struct LibraryHandleTraits {
  using Type = HMODULE;
  static Type Invalid() { return nullptr; }
  static void Close(Type module) { FreeLibrary(module); }
};

// Closing waits until a callback that is running has returned.
struct WaitHandleTraits {
  using Type = HANDLE;
  static Type Invalid() { return nullptr; }
  static void Close(Type wait) { UnregisterWaitEx(wait, INVALID_HANDLE_VALUE); }
};

// Closing waits until a callback that is running has returned.
struct TimerHandleTraits {
  using Type = HANDLE;
  static Type Invalid() { return nullptr; }
  static void Close(Type timer) { DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE); }
};

using UniqueKey = UniqueHandle<KeyHandleTraits>;
using UniqueKernelHandle = UniqueHandle<KernelHandleTraits>;
using UniqueLibrary = UniqueHandle<LibraryHandleTraits>;
using UniqueWait = UniqueHandle<WaitHandleTraits>;
using UniqueTimer = UniqueHandle<TimerHandleTraits>;

}  // namespace Platform
