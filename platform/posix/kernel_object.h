// The handle model of the Linux platform layer.
//
// A HANDLE points at a reference-counted kernel object that knows its kind. Every open handle is
// entered in one process-wide table, so that a bad or closed handle is recognised instead of being
// followed, and so that an object stays alive while a call that looked it up is still using it,
// even if another thread closes the handle meanwhile.
#pragma once

#include <memory>

#include "platform/types.h"

namespace Platform::Posix {

enum class KernelObjectKind {
  Event,
  RegisteredWait,
  TimerQueueTimer,
  Pipe,
  Process,
};

class WaitableObject;

// Base of every object behind a HANDLE. Objects are shared: the handle table holds one reference
// per open handle, and callers that look a handle up hold their own for the length of the call.
class KernelObject {
public:
  explicit KernelObject(KernelObjectKind kind) : m_kind(kind) {}
  virtual ~KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;

  KernelObjectKind Kind() const { return m_kind; }

  // The waitable face of the object, or null for kinds that cannot be waited on.
  virtual WaitableObject* AsWaitable() { return nullptr; }

  // Whether CloseHandle may close this kind. Pool objects (registered waits, timers) end through
  // their own functions, as on Windows, where CloseHandle refuses them.
  virtual bool ClosableByCloseHandle() const { return true; }

private:
  const KernelObjectKind m_kind;
};

// Called by a waitable object after it became signalled, on the signalling thread, outside the
// object's lock. The observer must stay valid for the rest of the process once it was added.
class SignalObserver {
public:
  virtual void OnSignalled() = 0;

protected:
  ~SignalObserver() = default;
};

// An object that can be signalled and waited on.
class WaitableObject {
public:
  // Takes the signal if the object is signalled now (an auto-reset object is reset by taking it).
  // Returns whether it was signalled. Never blocks; any thread.
  virtual bool TryAcquire() = 0;

  // Whether taking the signal leaves the object signalled (a manual-reset event). Any thread.
  virtual bool KeepsSignalWhenTaken() const = 0;

  // Waits up to `milliseconds` (INFINITE: no limit) and takes the signal. Returns WAIT_OBJECT_0 or
  // WAIT_TIMEOUT. Any thread.
  virtual DWORD Wait(DWORD milliseconds) = 0;

  // Adds or removes an observer told of each signal. Adding the same observer twice counts twice.
  virtual void AddObserver(SignalObserver* observer) = 0;
  virtual void RemoveObserver(SignalObserver* observer) = 0;

protected:
  ~WaitableObject() = default;
};

// Enters `object` in the handle table and returns its new handle. Never fails short of memory
// exhaustion (std::bad_alloc). Any thread.
HANDLE InsertHandle(std::shared_ptr<KernelObject> object);

// The object behind an open handle of `kind`, or null (with ERROR_INVALID_HANDLE as the last
// error) for a handle that is not open or of another kind. The caller holds a reference.
std::shared_ptr<KernelObject> LookupHandle(HANDLE handle, KernelObjectKind kind);

// The object behind any open handle, or null with ERROR_INVALID_HANDLE.
std::shared_ptr<KernelObject> LookupAnyHandle(HANDLE handle);

// Takes an open handle of `kind` out of the table and returns its object (the table's reference
// passes to the caller), or null with ERROR_INVALID_HANDLE. After this the handle is not open.
std::shared_ptr<KernelObject> RemoveHandle(HANDLE handle, KernelObjectKind kind);

// As RemoveHandle, for any kind that CloseHandle may close.
std::shared_ptr<KernelObject> RemoveClosableHandle(HANDLE handle);

}  // namespace Platform::Posix
