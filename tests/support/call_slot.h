// Calls an object's operation by its slot number, as a caller that knows only the slot numbers
// (the daemon, built by another compiler) does: the object's first word points at its table of
// functions, and each takes the object first.
#pragma once

namespace Testing {

template <class Result, class... Arguments>
Result CallSlot(void* object, int slot, Arguments... arguments) {
  using Function = Result (*)(void*, Arguments...);
  Function* table = *static_cast<Function**>(object);
  return table[slot](object, arguments...);
}

}  // namespace Testing
