// Object creation on Windows: the process class tables first, so that tests and the simulated audio
// system can stand in for system components, then the system's COM runtime.
#include "platform/detail/process_class_table.h"
#include "platform/win32/windows_api.h"

namespace Platform {

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if ((context & CLSCTX_ALL) == 0) return E_INVALIDARG;
  bool found = false;
  HRESULT result = Detail::ProcessClassTable::Instance().Create(clsid, outer, iid, object, found);
  if (found) return result;
  return ::CoCreateInstance(reinterpret_cast<const ::GUID&>(clsid), reinterpret_cast<::IUnknown*>(outer), context,
                            reinterpret_cast<const ::GUID&>(iid), object);
}

HRESULT RegisterProcessClass(REFCLSID clsid, IClassFactory* factory, DWORD* cookie) {
  return Detail::ProcessClassTable::Instance().Register(clsid, factory, cookie);
}

HRESULT RevokeProcessClass(DWORD cookie) { return Detail::ProcessClassTable::Instance().Revoke(cookie); }

HRESULT GetProcessClassObject(REFCLSID clsid, REFIID iid, void** object) {
  return Detail::ProcessClassTable::Instance().GetClassObject(clsid, iid, object);
}

void SetHostClassObjectLookup(ClassObjectLookup lookup) { Detail::ProcessClassTable::Instance().SetHostLookup(lookup); }

}  // namespace Platform
