#include "platform/synchronization.h"

#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "platform/posix/event.h"
#include "platform/system_error.h"
#include "platform/test_seam.h"

namespace Platform {
namespace {

std::shared_ptr<Posix::Event> LookupEvent(HANDLE handle) {
  return std::static_pointer_cast<Posix::Event>(Posix::LookupHandle(handle, Posix::KernelObjectKind::Event));
}

}  // namespace

HANDLE CreateEventW(const SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState, LPCWSTR name) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::createEventW, attributes, manualReset, initialState, name)) {
    return *diverted;
  }
  if (name != nullptr) {
    // Named events would need a namespace shared between processes, which nothing here uses.
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  try {
    return Posix::InsertHandle(std::make_shared<Posix::Event>(manualReset != FALSE, initialState != FALSE));
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

BOOL SetEvent(HANDLE event) {
  std::shared_ptr<Posix::Event> object = LookupEvent(event);
  if (!object) return FALSE;
  object->Set();
  return TRUE;
}

BOOL ResetEvent(HANDLE event) {
  std::shared_ptr<Posix::Event> object = LookupEvent(event);
  if (!object) return FALSE;
  object->Reset();
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  std::shared_ptr<Posix::KernelObject> object = Posix::LookupAnyHandle(handle);
  if (!object) return WAIT_FAILED;
  Posix::WaitableObject* waitable = object->AsWaitable();
  if (waitable == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
  }
  return waitable->Wait(milliseconds);
}

BOOL CloseHandle(HANDLE handle) {
  // The table's reference goes out of scope here; the object dies with the last user.
  return Posix::RemoveClosableHandle(handle) ? TRUE : FALSE;
}

void Sleep(DWORD milliseconds) {
  if (milliseconds == 0) {
    // As on Windows, a zero sleep gives the rest of the time slice to another ready thread.
    sched_yield();
    return;
  }
  if (milliseconds == INFINITE) {
    for (;;) pause();
  }
  timespec remaining{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
  // A signal handler may cut the sleep short; sleep on for what is left.
  while (nanosleep(&remaining, &remaining) == -1 && errno == EINTR) {
  }
}

DWORD GetCurrentThreadId() { return static_cast<DWORD>(::gettid()); }

}  // namespace Platform
