// Objects whose vtables the daemon's compiler reads: one destructor slot, Microsoft's way.
//
// The daemon that loads the library is built with Microsoft's compiler and calls our objects, and
// hands us objects of its own, through vtables in Microsoft's layout. There a virtual destructor
// takes ONE slot, the scalar deleting destructor: it is called with `this` and a flags word, and
// bit 0 of the flags means "free the memory too". GCC, on Linux and in the MinGW build alike, gives
// a virtual destructor TWO slots (the complete-object and the deleting destructor), which would
// move every later operation one slot down.
//
// So an interface that crosses the boundary never declares a destructor. It derives from
// IBoundaryObject, whose one slot is an ordinary virtual operation with the contract of the scalar
// deleting destructor, and lists its operations after it in the daemon's order. A concrete class
// implements that slot by running a destructor of the compiler's own that it declares virtual
// AFTER the interface's operations: the compiler puts the slots of that destructor behind the
// interface's, where the daemon never looks. `delete` through an interface pointer is replaced by
// DestroyBoundaryObject, which calls slot 0 as the daemon would.
#pragma once

#include <cstdint>
#include <type_traits>

namespace Common {

// Bit 0 of the deleting destructor's flags: free the object's memory once it is destroyed.
inline constexpr std::uint32_t kDeleteMemory = 0x1;

// The root of every interface that crosses the boundary. Its one slot, slot 0, is the scalar
// deleting destructor of Microsoft's layout.
class IBoundaryObject {
public:
  // Destroys the whole object, whichever of its interfaces `this` is, and frees its memory when
  // `flags` has kDeleteMemory; without it the memory stays, as for an object built in place.
  // Returns the address of the class that implements the slot, as Microsoft's destructor returns
  // its `this` after the adjustment to that class; no caller uses it. Whoever owns the object calls
  // it, once.
  virtual void* ScalarDeletingDestructor(std::uint32_t flags) = 0;

protected:
  // Not virtual, so that it adds no slot; protected, so that `delete` of this pointer fails to
  // compile instead of destroying half an object.
  ~IBoundaryObject() = default;
};

// True for an interface that keeps the boundary's layout: rooted in IBoundaryObject, and without
// a destructor of the compiler's own anywhere in its chain (which would take slots among the
// operations). Each boundary interface asserts it beside its declaration.
template <class Interface>
inline constexpr bool kIsBoundaryInterface =
    std::is_base_of_v<IBoundaryObject, Interface> && !std::has_virtual_destructor_v<Interface>;

// The body of slot 0 for a class whose own destructor is virtual: both paths dispatch to the
// most-derived class, as the daemon's `delete` would.
template <class Self>
void* RunScalarDeletingDestructor(Self* self, std::uint32_t flags) {
  static_assert(std::has_virtual_destructor_v<Self>, "slot 0 needs a virtual destructor behind the interface");
  void* const address = self;
  if (flags & kDeleteMemory) {
    delete self;
  } else {
    self->~Self();
  }
  return address;
}

// What `delete` of an interface pointer becomes. Null is allowed and does nothing.
inline void DestroyBoundaryObject(IBoundaryObject* object) {
  if (object != nullptr) object->ScalarDeletingDestructor(kDeleteMemory);
}

// The deleter of a std::unique_ptr that owns an object through one of its boundary interfaces.
struct BoundaryObjectDeleter {
  void operator()(IBoundaryObject* object) const { DestroyBoundaryObject(object); }
};

// The base of a class that implements boundary interfaces and is not an extensible object
// (CExtensible<T> does the same for those): it implements slot 0 of every interface in
// `Interfaces` at once, and declares the virtual destructor behind their operations.
template <class... Interfaces>
class CBoundaryObjectT : public Interfaces... {
  static_assert((kIsBoundaryInterface<Interfaces> && ...), "each base must be a boundary interface");

public:
  void* ScalarDeletingDestructor(std::uint32_t flags) override { return RunScalarDeletingDestructor(this, flags); }
  virtual ~CBoundaryObjectT() = default;
};

}  // namespace Common
