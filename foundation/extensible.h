// Objects that answer for their interfaces by GUID.
//
// No run-time type information and no QueryInterface: each object carries a map from interface GUID
// to a raw pointer into itself, filled layer by layer by the constructors of its class tree. Asking
// by GUID is the only sanctioned way from one interface of an object to another; the answer is a
// borrowed pointer, or null.
#pragma once

#include <exception>
#include <map>

#include "foundation/error.h"
#include "foundation/guid.h"
#include "foundation/interface_ids.h"

namespace Common {

class IExtensible {
public:
  virtual ~IExtensible() = default;
  // The pointer registered for `iid`, or null. Borrowed: no reference is added. Safe from any
  // thread once the object is built.
  virtual void* GetInterface(const GUID* iid) = 0;
};

// The name under which CExtensible<T> reports, one per instance of the template, given beside the
// declaration of each root interface T.
template <class T>
inline constexpr const char* kRegisterInterfaceBaseName = nullptr;

template <class T>
class CExtensible : public T {
public:
  void* GetInterface(const GUID* iid) override {
    auto found = m_interfaces.find(*iid);
    return found == m_interfaces.end() ? nullptr : found->second;
  }

protected:
  CExtensible() { RegisterInterfaceBase(IID_IExtensible, static_cast<IExtensible*>(this)); }

  // Registers `pointer` (the sub-object that implements `iid`) for `iid`; a second registration
  // replaces the first. Called from constructors only. An allocation failure is reported and the
  // object simply lacks the interface.
  void RegisterInterfaceBase(const GUID& iid, void* pointer) {
    static_assert(kRegisterInterfaceBaseName<T> != nullptr, "declare the report name of this root");
    try {
      m_interfaces[iid] = pointer;
    } catch (const std::exception& e) {
      static_cast<void>(RaiseStlException(kRegisterInterfaceBaseName<T>, e.what()));
    }
  }

private:
  std::map<GUID, void*, GuidLess> m_interfaces;
};

}  // namespace Common
