// The process-wide switch of friendly storage names.
#pragma once

#include <cstdint>

namespace DataSystem {

// Sets the friendly storage bits of `flags` (DS_STORE_BY_NAME and DS_FLOAT_AS_STRING) from the
// environment variable "FriendlyDataSystemStorage", read once per process: "true" or "1", in any
// case, turns both on; anything else, a missing variable or one too long for 8 characters turns
// both off. A caller cannot choose them itself: bits that differ are replaced, with a warning. The
// two forms of storage name address different places, so data written one way is not found the
// other. Any thread.
std::uint32_t ApplyFriendlyStorage(std::uint32_t flags);

// Reads the switch from the environment now; ApplyFriendlyStorage does so once, at its first call.
bool ReadFriendlyStorageSwitch();

}  // namespace DataSystem
