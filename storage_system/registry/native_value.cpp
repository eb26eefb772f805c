#include "storage_system/registry/native_value.h"

#include <new>

#include "foundation/heap_block.h"
#include "foundation/log.h"
#include "platform/utf.h"
#include "storage_system/prepare_access_mask.h"
#include "storage_system/storage_flags.h"
#include "storage_system/storage_system.h"
#include "storage_system/registry/registry_store.h"

namespace StorageSystem::Registry {

namespace {

const char16_t* OrEmpty(const char16_t* text) { return text != nullptr ? text : u""; }

// A copy on the process heap, or null for null.
char16_t* Duplicate(const char16_t* text) {
  if (text == nullptr) return nullptr;
  const std::size_t length = Platform::StringLength(text);
  auto* copy = static_cast<char16_t*>(AllocBlock((length + 1) * sizeof(char16_t)));
  if (copy != nullptr) {
    for (std::size_t i = 0; i <= length; ++i) copy[i] = text[i];
  }
  return copy;
}

}  // namespace

CNativeValue::CNativeValue(IStore* store) : m_store(store) {
  RegisterInterfaceBase(IID_IRegistryValue, static_cast<IRegistryValue*>(this));
  m_store->AddRef();
}

CNativeValue::~CNativeValue() {
  Uninitialize();
  m_store->Release();
}

bool CNativeValue::MatchType(const ITypeDescription* type) {
  const ITypeDescription* own = GetDataType();
  return own != nullptr && own->Match(type, GetStorageSystem()->GetProperties()->GetTypeMatchFlags());
}

ErrorCode CNativeValue::Read(void* destination, std::uint32_t capacity) {
  if ((m_flags & SF_READ) == 0) {
    return RaiseError("StorageSystem::Registry::CNativeValue::Read", ErrorCannotRead,
                      u"Read access denied for Registry value '%s'", GetName());
  }
  return m_nativeType->handler->Read(m_location, destination, capacity);
}

ErrorCode CNativeValue::ReadRealloc(void** buffer, std::uint32_t* capacity, std::uint32_t* size) {
  if ((m_flags & SF_READ) == 0) {
    return RaiseError("StorageSystem::Registry::CNativeValue::ReadRealloc", ErrorCannotRead,
                      u"Read access denied for Registry value '%s'", GetName());
  }
  return m_nativeType->handler->ReadRealloc(m_location, buffer, capacity, size);
}

ErrorCode CNativeValue::Write(const void* data, std::uint32_t size) {
  if ((m_flags & SF_WRITE) == 0) {
    return RaiseError("StorageSystem::Registry::CNativeValue::Write", ErrorCannotWrite,
                      u"Write access denied for Registry value '%s'", GetName());
  }
  return m_nativeType->handler->Write(m_location, data, size);
}

ErrorCode CNativeValue::RegTestValue(const ValueParameters& parameters, std::uint32_t flags, Platform::DWORD* id) {
  static constexpr const char* kName = "StorageSystem::Registry::CNativeValue::RegTestValue";
  // Only the type matters, so a small buffer will do.
  unsigned char buffer[16];
  Platform::DWORD size = sizeof buffer;
  Platform::DWORD type = 0;
  const Platform::LSTATUS status = Platform::RegGetValueW(parameters.key, parameters.subKey, parameters.valueName,
                                                          Platform::RRF_RT_ANY, &type, buffer, &size);
  if (status == Platform::ERROR_FILE_NOT_FOUND || status == Platform::ERROR_NOT_FOUND) {
    if ((flags & (SF_CREATE | SF_OPEN_ALWAYS)) == 0) {
      return RaiseError(kName, ErrorNotFound, u"Value '%s%s' does not exist", OrEmpty(parameters.subKey),
                        parameters.valueName);
    }
    *id = 0;
    return ErrorNone;
  }
  if (status != Platform::ERROR_SUCCESS && status != Platform::ERROR_MORE_DATA) {
    LogWrite(LogLevelError, kLogTag, u"Error reading Registry value '%s%s'", OrEmpty(parameters.subKey),
             parameters.valueName);
    return RaiseSystemError(kName, static_cast<Platform::DWORD>(status), "RegGetValueW");
  }

  const NativeTypeInfo* row = nullptr;
  if (ErrorCode code = GetNativeTypeInfo(type, &row); code != ErrorNone) return code;
  const ITypeDescription* declared = parameters.type;
  if (declared == nullptr || row->type->Match(declared, kTypeMatchNative)) {
    *id = type;
    return ErrorNone;
  }

  if ((flags & kWriteAccessFlags) != kWriteAccessFlags) {
    return RaiseError(kName, ErrorCannotOpen,
                      u"Registry value '%s%s' cannot store type %s: registry type already set to %d (%s).",
                      OrEmpty(parameters.subKey), parameters.valueName, declared->GetName(), static_cast<int>(type),
                      row->type->GetName());
  }
  LogWrite(LogLevelWarning, kLogTag,
           u"WARNING: Registry value '%s%s' has unexpected type ID %d (%s). Trying to reset the value in order to "
           u"store type %s.",
           OrEmpty(parameters.subKey), parameters.valueName, static_cast<int>(type), row->type->GetName(),
           declared->GetName());
  *id = 0;
  return ErrorNone;
}

ErrorCode CNativeValue::Initialize(const ValueParameters* parameters, std::uint32_t flags) {
  static constexpr const char* kName = "StorageSystem::Registry::CNativeValue::Initialize";
  if (ErrorCode code = PrepareAccessMask(this, &flags); code != ErrorNone) return code;

  Platform::DWORD id = 0;
  if (ErrorCode code = RegTestValue(*parameters, flags, &id); code != ErrorNone) return code;

  const NativeTypeInfo* row = nullptr;
  bool writeDefault = false;
  if (id != 0) {
    if (ErrorCode code = GetNativeTypeInfo(id, &row); code != ErrorNone) return code;
  } else if (parameters->type == nullptr) {
    return RaiseError(kName, ErrorCannotOpen, u"Cannot deduce data type from Registry for value '%s%s'",
                      OrEmpty(parameters->subKey), parameters->valueName);
  } else {
    if (ErrorCode code = GetNativeTypeInfo(parameters->type, &row); code != ErrorNone) return code;
    writeDefault = (flags & SF_CREATE) != 0 && (flags & SF_OPEN_ALWAYS) == 0;
  }

  if (ErrorCode code = m_pathHelper.InitializeNameAndPath(parameters->path); code != ErrorNone) return code;

  if ((flags & SF_KEEP_OPEN) != 0) {
    // Without its own key the value still works through the store's; the result does not matter.
    auto* store = static_cast<IRegistryStore*>(m_store->GetInterface(&IID_IRegistryStore));
    if (store != nullptr) static_cast<void>(store->OpenSubKey(parameters->key, parameters->subKey, &m_location.ownKey));
  }

  m_location.rootKey = parameters->key;
  m_location.subKey = Duplicate(parameters->subKey);
  m_location.valueName = Duplicate(parameters->valueName != nullptr ? parameters->valueName : u"");
  m_location.allocator = GetStorageSystem()->GetProperties()->GetAllocator();
  m_flags = flags;
  m_nativeType = row;

  if (writeDefault) {
    ErrorCode code = ErrorNone;
    if (parameters->defaultData == nullptr) {
      const Platform::LSTATUS status = RegSetKeyValueHelper(m_location.rootKey, m_location.subKey, m_location.valueName,
                                                            row->id, row->defaultData, row->defaultSize);
      if (status != Platform::ERROR_SUCCESS) {
        code = RaiseSystemError("StorageSystem::Registry::CNativeValue::WriteDefault",
                                static_cast<Platform::DWORD>(status), "RegSetKeyValueHelper");
      }
    } else {
      code = Write(parameters->defaultData, parameters->defaultSize);
    }
    if (code != ErrorNone) {
      Uninitialize();
      return code;
    }
  }
  return ErrorNone;
}

void CNativeValue::Uninitialize() {
  m_nativeType = nullptr;
  m_flags = 0;
  m_location.rootKey = nullptr;
  FreeBlock(const_cast<char16_t*>(m_location.subKey));
  FreeBlock(const_cast<char16_t*>(m_location.valueName));
  m_location.subKey = nullptr;
  m_location.valueName = nullptr;
  if (m_location.ownKey != nullptr) Platform::RegCloseKey(m_location.ownKey);
  m_location.ownKey = nullptr;
  m_pathHelper.Reset();
}

ErrorCode CreateNativeValue(const ITypeDescription* type, IStore* store, IRegistryValue** value,
                            const ITypeDescription** effectiveType) {
  auto* created = new (std::nothrow) CNativeValue(store);
  if (created == nullptr) return RaiseError("StorageSystem::Registry::CreateNativeValue", ErrorOutOfMemory, nullptr);
  *value = created;
  *effectiveType = type;
  return ErrorNone;
}

}  // namespace StorageSystem::Registry
