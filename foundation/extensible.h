// Objects that answer for their interfaces by GUID.
//
// No run-time type information and no QueryInterface: each object carries a map from interface GUID
// to a raw pointer into itself, filled layer by layer by the constructors of its class tree. Asking
// by GUID is the only sanctioned way from one interface of an object to another; the answer is a
// borrowed pointer, or null.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <map>

#include "foundation/boundary_object.h"
#include "foundation/error.h"
#include "foundation/guid.h"
#include "foundation/interface_ids.h"

namespace Common {

// The daemon calls GetInterface on the modules, and the module on the daemon's objects, so this root
// keeps the boundary's layout: slot 0 the deleting destructor, slot 1 GetInterface.
class IExtensible : public IBoundaryObject {
public:
  // The pointer registered for `iid`, or null. Borrowed: no reference is added. Safe from any
  // thread once the object is built.
  virtual void* GetInterface(const GUID* iid) = 0;

  // Slot 0 of a second extensible chain of an object, beside the one of its CExtensible<T> (a
  // storage system that is also a store): the object's root, which it registers for IID_IExtensible,
  // destroys the whole object. An object whose root is this chain and which implements no slot 0
  // cannot be destroyed through an interface; that is a fault of the program, as a call of a pure
  // virtual operation is, and ends the process.
  void* ScalarDeletingDestructor(std::uint32_t flags) override {
    auto* root = static_cast<IExtensible*>(GetInterface(&IID_IExtensible));
    if (root == nullptr || root == this) std::abort();
    return root->ScalarDeletingDestructor(flags);
  }

protected:
  ~IExtensible() = default;
};
static_assert(kIsBoundaryInterface<IExtensible>);

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

  // Slot 0 runs the destructor below, which reaches the most-derived class.
  void* ScalarDeletingDestructor(std::uint32_t flags) override { return RunScalarDeletingDestructor(this, flags); }

  // Declared after T's operations, so that its slots of the compiler's own come behind them.
  virtual ~CExtensible() = default;

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
