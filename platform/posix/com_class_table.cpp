// Object creation on Linux: the process class tables are all there is.
#include "platform/detail/process_class_table.h"

namespace Platform {

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if ((context & CLSCTX_ALL) == 0) return E_INVALIDARG;
  bool found = false;
  return Detail::ProcessClassTable::Instance().Create(clsid, outer, iid, object, found);
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
