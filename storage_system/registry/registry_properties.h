// The properties of a registry storage system.
#pragma once

#include <cstdint>

#include "platform/registry.h"
#include "storage_system/properties.h"

namespace StorageSystem::Registry {

// Bit of GetOptionFlags: floating-point values are stored as text.
inline constexpr std::uint32_t kOptionFloatAsString = 0x1;

// IProperties with what the registry backend adds. Pure queries, safe from any thread while the
// storage system is open. The order of the virtual operations is part of the contract.
class IRegistryProperties : public IProperties {
public:
  // The attributes given to created keys, or null for the platform's default. Borrowed.
  virtual const Platform::SECURITY_ATTRIBUTES* GetSecurityAttributes() = 0;
  // Extra bits ORed into the access mask of every key: KEY_WOW64_64KEY (256).
  virtual Platform::REGSAM GetAccessMask() = 0;
  // "<predefined key>\<path>\", for messages. Borrowed.
  virtual const char16_t* GetRootText() = 0;
  // kOptionFloatAsString and further option bits.
  virtual std::uint32_t GetOptionFlags() = 0;
};

}  // namespace StorageSystem::Registry

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::Registry::IRegistryProperties> =
    "Common::CExtensible<class StorageSystem::Registry::IRegistryProperties>::RegisterInterfaceBase";
