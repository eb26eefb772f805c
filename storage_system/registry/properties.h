// The properties object of a registry storage system.
#pragma once

#include <cstdint>

#include "foundation/extensible.h"
#include "storage_system/critical_section_lock.h"
#include "storage_system/registry/open_parameters.h"
#include "storage_system/registry/registry_properties.h"

namespace StorageSystem::Registry {

// Implements IRegistryProperties for one storage system, which embeds it: the registry's
// capabilities (13), match flags (125) and separator ("\"), plus the access mask, security
// attributes, allocator and option flags of the open, the text of the root path, and the storage
// system's lock, which it owns. Set while the storage system opens; read from any thread after.
class CProperties : public Common::CExtensible<IRegistryProperties> {
public:
  CProperties();
  ~CProperties() override;
  CProperties(const CProperties&) = delete;
  CProperties& operator=(const CProperties&) = delete;

  // Takes the access mask, attributes, allocator (the process allocator when null) and option
  // flags of `parameters`. Called at the start of the storage system's open.
  void Configure(const StorageSystemParameters& parameters);
  // Builds the root text "<predefined key>\<path>\" for messages. ErrorInvalidParameter for a key
  // outside the table of predefined keys, ErrorOutOfMemory.
  [[nodiscard]] ErrorCode SetPath(const StorageSystemParameters& parameters);
  // Frees the root text.
  void ResetPath();

  std::uint32_t GetCapabilities() override;
  IAllocator* GetAllocator() override { return m_allocator; }
  ILock* GetLock() override { return &m_lock; }
  [[nodiscard]] ErrorCode EnumTypes(IEnumTarget* target) override;
  std::uint32_t GetTypeMatchFlags() override;
  char16_t GetSeparator() override { return u'\\'; }
  const Platform::SECURITY_ATTRIBUTES* GetSecurityAttributes() override { return m_securityAttributes; }
  Platform::REGSAM GetAccessMask() override { return m_accessMask; }
  const char16_t* GetRootText() override { return m_rootText; }
  std::uint32_t GetOptionFlags() override { return m_optionFlags; }

private:
  Platform::REGSAM m_accessMask = Platform::KEY_WOW64_64KEY;
  const Platform::SECURITY_ATTRIBUTES* m_securityAttributes = nullptr;
  IAllocator* m_allocator;
  CCriticalSectionLock m_lock;
  char16_t* m_rootText = nullptr;
  std::uint32_t m_optionFlags = 0;
};

}  // namespace StorageSystem::Registry
