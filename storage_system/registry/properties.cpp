#include "storage_system/registry/properties.h"

#include <cstdint>

#include "foundation/format.h"
#include "platform/utf.h"
#include "storage_system/heap_allocator.h"
#include "storage_system/interface_ids.h"
#include "storage_system/storage_flags.h"
#include "storage_system/registry/built_in_casters.h"
#include "storage_system/registry/enum_item_objects.h"
#include "storage_system/registry/native_type_table.h"

namespace StorageSystem::Registry {

namespace {

// The text of a predefined key, by its low 32 bits less 0x80000000; null outside the table.
const char16_t* PredefinedKeyText(Platform::HKEY key) {
  const auto number = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(key)) - 0x80000000u;
  switch (number) {
    case 0:
      return u"HKEY_CLASSES_ROOT";
    case 1:
      return u"HKEY_CURRENT_USER";
    case 2:
      return u"HKEY_LOCAL_MACHINE";
    case 3:
      return u"HKEY_USERS";
    case 4:
      return u"HKEY_PERFORMANCE_DATA";
    case 5:
      return u"HKEY_CURRENT_CONFIG";
    case 6:
      return u"HKEY_DYN_DATA";
    case 7:
      return u"HKEY_CURRENT_USER_LOCAL_SETTINGS";
    case 80:
      return u"HKEY_PERFORMANCE_TEXT";
    case 96:
      return u"HKEY_PERFORMANCE_NLSTEXT";
    default:
      return nullptr;
  }
}

}  // namespace

CProperties::CProperties() : m_allocator(GetProcessAllocator()) {
  RegisterInterfaceBase(IID_IProperties, static_cast<IProperties*>(this));
  RegisterInterfaceBase(IID_IRegistryProperties, static_cast<IRegistryProperties*>(this));
}

CProperties::~CProperties() { ResetPath(); }

void CProperties::Configure(const StorageSystemParameters& parameters) {
  ResetPath();
  m_accessMask = parameters.accessMask;
  m_securityAttributes = parameters.securityAttributes;
  m_allocator = parameters.allocator != nullptr ? parameters.allocator : GetProcessAllocator();
  m_optionFlags = parameters.optionFlags;
}

ErrorCode CProperties::SetPath(const StorageSystemParameters& parameters) {
  static constexpr const char* kName = "StorageSystem::Registry::CProperties::SetPath";
  const char16_t* text = PredefinedKeyText(parameters.key);
  if (text == nullptr) {
    return RaiseError(kName, ErrorInvalidParameter, u"Unknown Registry predefined key 0x%p", parameters.key);
  }
  const char16_t* path = parameters.path != nullptr ? parameters.path : u"";
  const std::size_t capacity = Platform::StringLength(text) + Platform::StringLength(path) + 3;
  auto* rootText = static_cast<char16_t*>(m_allocator->Alloc(capacity * sizeof(char16_t)));
  if (rootText == nullptr) return RaiseError(kName, ErrorOutOfMemory, nullptr);
  FormatBounded(rootText, capacity, u"%s\\%s\\", text, path);
  ResetPath();
  m_rootText = rootText;
  return ErrorNone;
}

void CProperties::ResetPath() {
  if (m_rootText != nullptr) m_allocator->Free(m_rootText);
  m_rootText = nullptr;
}

std::uint32_t CProperties::GetCapabilities() {
  return StorageCapabilityVolatile | StorageCapabilityPersistent | StorageCapabilityNotifications;
}

std::uint32_t CProperties::GetTypeMatchFlags() { return kTypeMatchNative; }

ErrorCode CProperties::EnumTypes(IEnumTarget* target) {
  bool stop = false;
  for (const NativeTypeInfo* row = GetNativeTypeTable(); row->id != 0 && !stop; ++row) {
    CTypeEnumItem item(row->type, true);
    if (ErrorCode code = target->OnEnumeratedItem(&item, &stop); code != ErrorNone) return code;
  }
  for (const CasterInfo* row = GetCasterTable(m_optionFlags); row->declaredType != nullptr && !stop; ++row) {
    CTypeEnumItem item(row->declaredType, false);
    if (ErrorCode code = target->OnEnumeratedItem(&item, &stop); code != ErrorNone) return code;
  }
  return ErrorNone;
}

}  // namespace StorageSystem::Registry
