// The access and creation flags of every open, and the capability bits of a storage system.
#pragma once

#include <cstdint>

namespace StorageSystem {

// One unsigned 32-bit word, the `flags` argument of all open operations.
enum StorageFlags : std::uint32_t {
  // Open for reading.
  SF_READ = 0x10,
  // Open for writing.
  SF_WRITE = 0x20,
  // Create when missing; implies SF_WRITE.
  SF_CREATE = 0x40,
  // A missing value is no error and is not created.
  SF_OPEN_ALWAYS = 0x80,
  // The item is not kept across a restart of the machine.
  SF_VOLATILE = 0x100,
  // Together with SF_WRITE and SF_CREATE, a value of another native type may be replaced.
  SF_RESET_ON_TYPE_MISMATCH = 0x200,
  // At the opening of a storage system: floating-point values are stored as text.
  SF_FLOAT_AS_STRING = 0x400,
  // A value keeps a key of its own open.
  SF_KEEP_OPEN = 0x800,
  // Take over the flags of the parent store.
  SF_INHERIT = 0x1000,
};

// The flags without which a value cannot be written: writing, creating, resetting.
inline constexpr std::uint32_t kWriteAccessFlags = SF_WRITE | SF_CREATE | SF_RESET_ON_TYPE_MISMATCH;

// Bits of IProperties::GetCapabilities.
enum StorageCapabilities : std::uint32_t {
  StorageCapabilityVolatile = 0x1,
  StorageCapabilityPersistent = 0x4,
  StorageCapabilityNotifications = 0x8,
};

}  // namespace StorageSystem
