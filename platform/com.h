// The COM subset the system uses: IUnknown, the free-threaded marshaler, and per-thread
// initialisation.
//
// Interfaces are declared with the slot order of the real ones, so that on Windows real objects
// and ours are interchangeable. On Linux a small runtime stands in for the system's.
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
  virtual HRESULT GetUnmarshalClass(REFIID iid, void* object, DWORD destinationContext, void* reserved,
                                    DWORD flags, CLSID* clsid) = 0;
  virtual HRESULT GetMarshalSizeMax(REFIID iid, void* object, DWORD destinationContext, void* reserved,
                                    DWORD flags, DWORD* size) = 0;
  virtual HRESULT MarshalInterface(IStream* stream, REFIID iid, void* object, DWORD destinationContext,
                                   void* reserved, DWORD flags) = 0;
  virtual HRESULT UnmarshalInterface(IStream* stream, REFIID iid, void** object) = 0;
  virtual HRESULT ReleaseMarshalData(IStream* stream) = 0;
  virtual HRESULT DisconnectObject(DWORD reserved) = 0;
};

// Initialises COM on the calling thread: S_OK the first time, S_FALSE when already initialised.
// Each successful call (S_OK or S_FALSE) is paired with one CoUninitialize on the same thread.
HRESULT CoInitialize(void* reserved);
void CoUninitialize();

// Makes the free-threaded marshaler aggregated by `outer`; the caller owns the returned reference.
// Returns S_OK, E_INVALIDARG for a null argument, or E_OUTOFMEMORY.
HRESULT CoCreateFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler);

}  // namespace Platform
