// The COM subset the system uses: IUnknown, the free-threaded marshaler, per-thread
// initialization, object creation through class factories, and the task memory allocator.
//
// Interfaces are declared with the slot order of the real ones, so that on Windows real objects
// and ours are interchangeable. On Linux a small runtime stands in for the system's.
//
// Object creation asks a class table of the process first, on both platforms: whoever hosts the
// code (a test, the daemon host with its simulated audio system) can stand in for system
// components by registering class factories there. A library that keeps its own copy of this code
// reaches its host's table through SetHostClassObjectLookup. Only when neither knows the class does
// Windows ask the system; Linux has no system classes.
#pragma once

#include "platform/types.h"

namespace Platform {

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_IMarshal = {0x00000003, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_IAgileObject = {0x94EA2B94, 0xE9CC, 0x49E0, {0xC0, 0xFF, 0xEE, 0x64, 0xCA, 0x8F, 0x5B, 0x90}};

class IUnknown {
public:
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;
};

struct IStream;

// Custom marshaling; objects that are free-threaded forward it to the free-threaded marshaler.
class IMarshal : public IUnknown {
public:
  virtual HRESULT GetUnmarshalClass(REFIID iid, void* object, DWORD destinationContext, void* reserved, DWORD flags,
                                    CLSID* clsid) = 0;
  virtual HRESULT GetMarshalSizeMax(REFIID iid, void* object, DWORD destinationContext, void* reserved, DWORD flags,
                                    DWORD* size) = 0;
  virtual HRESULT MarshalInterface(IStream* stream, REFIID iid, void* object, DWORD destinationContext, void* reserved,
                                   DWORD flags) = 0;
  virtual HRESULT UnmarshalInterface(IStream* stream, REFIID iid, void** object) = 0;
  virtual HRESULT ReleaseMarshalData(IStream* stream) = 0;
  virtual HRESULT DisconnectObject(DWORD reserved) = 0;
};

// Initializes COM on the calling thread: S_OK the first time, S_FALSE when already initialized.
// Each successful call (S_OK or S_FALSE) is paired with one CoUninitialize on the same thread.
HRESULT CoInitialize(void* reserved);
void CoUninitialize();

// Initializes COM on the calling thread for the life of the scope, and undoes it at the end when
// the initialization succeeded. Declare it before the COM references of the scope, so that they are
// released first.
class ComInitializeScope {
public:
  ComInitializeScope() : m_result(CoInitialize(nullptr)) {}
  ~ComInitializeScope() {
    if (SUCCEEDED(m_result)) CoUninitialize();
  }
  ComInitializeScope(const ComInitializeScope&) = delete;
  ComInitializeScope& operator=(const ComInitializeScope&) = delete;

  HRESULT Result() const { return m_result; }

private:
  HRESULT m_result;
};

// Makes the free-threaded marshaler aggregated by `outer`; the caller owns the returned reference.
// Returns S_OK, E_INVALIDARG for a null argument, or E_OUTOFMEMORY.
HRESULT CoCreateFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler);

inline constexpr IID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// Makes the objects of one class.
class IClassFactory : public IUnknown {
public:
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  virtual HRESULT LockServer(BOOL lock) = 0;
};

// Execution contexts of CoCreateInstance.
constexpr DWORD CLSCTX_INPROC_SERVER = 0x1;
constexpr DWORD CLSCTX_INPROC_HANDLER = 0x2;
constexpr DWORD CLSCTX_LOCAL_SERVER = 0x4;
constexpr DWORD CLSCTX_REMOTE_SERVER = 0x10;
constexpr DWORD CLSCTX_ALL = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);

// Creates an object of the class `clsid` as the interface `iid` into `object`, owned by the
// caller. The process class table is asked first, then the host's (see below), then, on Windows
// only, the system. A class found in a table is final: its factory's answer is returned as it
// stands. Returns S_OK, E_POINTER for a null `object`, E_INVALIDARG for a context without any of
// the CLSCTX bits, REGDB_E_CLASSNOTREG when nobody knows the class, or the factory's failure; on
// failure `object` is null. Any thread; the calling thread need not have initialized COM on Linux.
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object);

// Registers `factory` for `clsid` in the process class table, which then holds a reference on it
// until RevokeProcessClass with the cookie written to `cookie`. A later registration of the same
// class hides an earlier one until it is revoked, so that a test can stand in for a host's class
// for a while. Returns S_OK, E_POINTER for a null argument, or E_OUTOFMEMORY. Any thread.
HRESULT RegisterProcessClass(REFCLSID clsid, IClassFactory* factory, DWORD* cookie);

// Removes the registration of `cookie` and releases its factory. Returns S_OK, or E_INVALIDARG for
// a cookie that is not registered. Any thread; objects already made stay alive.
HRESULT RevokeProcessClass(DWORD cookie);

// The class factory registered for `clsid` in this binary's process class table, as the interface
// `iid`, owned by the caller. Returns S_OK, E_POINTER, REGDB_E_CLASSNOTREG, or the failure of the
// factory's QueryInterface. Any thread. This is what a host hands to a library it loads.
HRESULT GetProcessClassObject(REFCLSID clsid, REFIID iid, void** object);

// A host's class table, as a library sees it: GetProcessClassObject of the host's binary.
using ClassObjectLookup = HRESULT (*)(REFCLSID clsid, REFIID iid, void** object);

// Makes CoCreateInstance of this binary ask `lookup` after its own table; null forgets it. Called
// by a library's host-support entry before any object is created. Any thread.
void SetHostClassObjectLookup(ClassObjectLookup lookup);

// The task memory allocator, shared by every binary of the process: blocks that one module
// allocates and another frees (strings handed out by COM objects) come from here. CoTaskMemAlloc
// returns null on failure; CoTaskMemFree accepts null. Any thread.
void* CoTaskMemAlloc(SIZE_T bytes);
void CoTaskMemFree(void* block);

}  // namespace Platform
