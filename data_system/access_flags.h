// How a data system's flags and a store model's flags become the storage flags of an open.
#pragma once

#include <cstdint>

#include "data_system/model.h"

namespace DataSystem {

// The storage flags of a store's own place, from its model's own flags (SM_INHERIT is never
// inherited here): SM_WRITE gives read, write, create and reset on type mismatch, SM_READ alone
// read; SM_VOLATILE and SM_KEEP_OPEN add their storage flags; DS_READ_ONLY removes write and
// create. A model with SM_INHERIT gets 0: no place of its own.
std::uint32_t AccessMaskFromModel(std::uint32_t modelFlags, std::uint32_t dataSystemFlags);

// The flags with which the storage of a data system's root is opened: read only under
// DS_READ_ONLY, else read, write, create and reset; plus floating-point values as text, and the
// root model's volatile and keep-open flags.
std::uint32_t AccessFromFlags(IStoreModel* storeModel, std::uint32_t dataSystemFlags);

}  // namespace DataSystem
