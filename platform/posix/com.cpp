// The COM runtime on Linux: per-thread initialization and the free-threaded marshaler.
//
// There are no apartments here: every object is reachable from every thread, which is what the
// free-threaded marshaler declares on Windows. Its marshaling operations therefore only describe
// the in-process form; there is no stream to marshal into.
#include "platform/com.h"

#include <atomic>
#include <new>

namespace Platform {
namespace {

thread_local int comInitCount = 0;

constexpr CLSID CLSID_InProcFreeMarshaler = {
    0x0000033A, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// Aggregated by `outer`: IMarshal delegates identity to the outer object, the inner IUnknown owns
// the marshaler's own count.
class FreeThreadedMarshaler final : public IMarshal {
public:
  explicit FreeThreadedMarshaler(IUnknown* outer) : m_outer(outer), m_inner(this) {}

  IUnknown* NonDelegatingUnknown() { return &m_inner; }

  HRESULT QueryInterface(REFIID iid, void** object) override { return m_outer->QueryInterface(iid, object); }
  ULONG AddRef() override { return m_outer->AddRef(); }
  ULONG Release() override { return m_outer->Release(); }

  HRESULT GetUnmarshalClass(REFIID, void*, DWORD, void*, DWORD, CLSID* clsid) override {
    if (clsid == nullptr) return E_POINTER;
    *clsid = CLSID_InProcFreeMarshaler;
    return S_OK;
  }
  HRESULT GetMarshalSizeMax(REFIID, void*, DWORD, void*, DWORD, DWORD* size) override {
    if (size == nullptr) return E_POINTER;
    *size = sizeof(void*) + sizeof(DWORD) * 2;
    return S_OK;
  }
  HRESULT MarshalInterface(IStream*, REFIID, void*, DWORD, void*, DWORD) override { return E_NOTIMPL; }
  HRESULT UnmarshalInterface(IStream*, REFIID, void**) override { return E_NOTIMPL; }
  HRESULT ReleaseMarshalData(IStream*) override { return E_NOTIMPL; }
  HRESULT DisconnectObject(DWORD) override { return S_OK; }

private:
  class InnerUnknown final : public IUnknown {
  public:
    explicit InnerUnknown(FreeThreadedMarshaler* owner) : m_owner(owner) {}
    HRESULT QueryInterface(REFIID iid, void** object) override {
      if (object == nullptr) return E_POINTER;
      if (iid == IID_IUnknown) {
        *object = static_cast<IUnknown*>(this);
      } else if (iid == IID_IMarshal) {
        *object = static_cast<IMarshal*>(m_owner);
      } else {
        *object = nullptr;
        return E_NOINTERFACE;
      }
      // Through the interface handed out: the marshaler's IMarshal counts on the outer object.
      static_cast<IUnknown*>(*object)->AddRef();
      return S_OK;
    }
    ULONG AddRef() override { return ++m_count; }
    ULONG Release() override {
      ULONG count = --m_count;
      if (count == 0) delete m_owner;
      return count;
    }

  private:
    FreeThreadedMarshaler* m_owner;
    std::atomic<ULONG> m_count{1};
  };

  IUnknown* m_outer;
  InnerUnknown m_inner;
};

}  // namespace

HRESULT CoInitialize(void*) { return comInitCount++ == 0 ? S_OK : S_FALSE; }

void CoUninitialize() {
  if (comInitCount > 0) --comInitCount;
}

HRESULT CoCreateFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler) {
  if (marshaler == nullptr) return E_INVALIDARG;
  *marshaler = nullptr;
  if (outer == nullptr) return E_INVALIDARG;
  auto* created = new (std::nothrow) FreeThreadedMarshaler(outer);
  if (created == nullptr) return E_OUTOFMEMORY;
  *marshaler = created->NonDelegatingUnknown();
  return S_OK;
}

}  // namespace Platform
