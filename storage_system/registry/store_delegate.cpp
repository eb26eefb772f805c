// Opening, enumerating and deleting through a registry store's key.
#include "storage_system/registry/store_delegate.h"

#include <new>

#include "foundation/auto_release.h"
#include "foundation/log.h"
#include "platform/com_ptr.h"
#include "storage_system/interface_ids.h"
#include "storage_system/storage_flags.h"
#include "storage_system/storage_system.h"
#include "storage_system/registry/create_value.h"
#include "storage_system/registry/enum_item_objects.h"
#include "storage_system/registry/native_type_table.h"
#include "storage_system/registry/open_parameters.h"
#include "storage_system/registry/store.h"

namespace StorageSystem::Registry {

namespace {

// The rights of a key by the access flags, before the storage system's extra bits.
Platform::REGSAM AccessMaskFor(std::uint32_t flags) {
  const bool read = (flags & SF_READ) != 0;
  const bool write = (flags & SF_WRITE) != 0;
  if (read && write) return Platform::kKeyReadWrite64;
  if (write) return Platform::kKeyWrite64;
  if (read) return Platform::kKeyRead64;
  return Platform::KEY_WOW64_64KEY;
}

// Records whether an enumeration offered anything, and stops it at the first item.
class CFirstItemTarget : public IEnumTarget {
public:
  ErrorCode OnEnumeratedItem(Common::IExtensible* item, bool* stop) override {
    found = true;
    *stop = true;
    return ErrorNone;
  }
  bool found = false;
};

}  // namespace

CStoreDelegate::~CStoreDelegate() { Close(); }

IRegistryProperties* CStoreDelegate::RegistryProperties() {
  return static_cast<IRegistryProperties*>(
      m_owner->GetStorageSystem()->GetProperties()->GetInterface(&IID_IRegistryProperties));
}

ILock* CStoreDelegate::Lock() {
  ILock* lock = m_lock.load(std::memory_order_acquire);
  if (lock == nullptr) {
    lock = m_owner->GetStorageSystem()->GetProperties()->GetLock();
    m_lock.store(lock, std::memory_order_release);
  }
  return lock;
}

ErrorCode CStoreDelegate::Open(Platform::HKEY rootKey, const char16_t* subKey, std::uint32_t flags) {
  IRegistryProperties* properties = RegistryProperties();
  Lock();
  const Platform::REGSAM mask = AccessMaskFor(flags) | properties->GetAccessMask();
  Platform::HKEY key = nullptr;
  if (ErrorCode code = OpenOrCreateSubKey(rootKey, subKey, flags, mask, &key); code != ErrorNone) return code;
  m_key.Reset(key);
  m_flags = flags;
  m_accessMask = mask;
  return ErrorNone;
}

void CStoreDelegate::Close() {
  StopTimer();
  m_key.Reset();
}

ErrorCode CStoreDelegate::OpenOrCreateSubKey(Platform::HKEY rootKey, const char16_t* subKey, std::uint32_t flags,
                                             Platform::REGSAM mask, Platform::HKEY* result) {
  static constexpr const char* kName = "StorageSystem::Registry::CStoreDelegate::OpenOrCreateSubKey";
  Platform::LSTATUS status = Platform::RegOpenKeyExW(rootKey, subKey, 0, mask, result);
  if (status == Platform::ERROR_SUCCESS) return ErrorNone;
  if ((flags & SF_CREATE) == 0) {
    LogWrite(LogLevelError, kLogTag, u"Error while opening subkey '%s' of Registry key 0x%p", subKey, rootKey);
    return RaiseSystemError(kName, static_cast<Platform::DWORD>(status), "RegOpenKeyExW");
  }
  const Platform::DWORD option =
      (flags & SF_VOLATILE) != 0 ? Platform::REG_OPTION_VOLATILE : Platform::REG_OPTION_NON_VOLATILE;
  status = Platform::RegCreateKeyExW(rootKey, subKey, 0, nullptr, option, mask,
                                     RegistryProperties()->GetSecurityAttributes(), result, nullptr);
  if (status == Platform::ERROR_SUCCESS) return ErrorNone;
  LogWrite(LogLevelError, kLogTag, u"Error while creating subkey '%s' of Registry key 0x%p", subKey, rootKey);
  return RaiseSystemError(kName, static_cast<Platform::DWORD>(status), "RegCreateKeyExW");
}

ErrorCode CStoreDelegate::OpenStore(const char16_t* path, IStore** result, std::uint32_t flags) {
  char16_t* nativePath = nullptr;
  if (ErrorCode code = m_pathHelper->AllocReplace(path, &nativePath); code != ErrorNone) return code;

  Platform::ComPtr<CStore> store(new (std::nothrow) CStore(m_owner));
  if (!store) {
    m_pathHelper->FreePath(nativePath);
    // DELIBERATE: a compiler-made lambda name as the report label, the one this failure has always
    // had.
    return RaiseError(
        "StorageSystem::Registry::CStoreDelegate::OpenStore::<lambda_b6632cc3b4d3e0936e3ef6fe4bf9cbae>::operator ()",
        ErrorOutOfMemory, nullptr);
  }
  const StoreParameters parameters = {m_key.Get(), nativePath, path};
  const ErrorCode code = store->Open(&parameters, flags);
  m_pathHelper->FreePath(nativePath);
  if (code != ErrorNone) return code;
  *result = store.Detach();
  return ErrorNone;
}

ErrorCode CStoreDelegate::DeleteStore(const char16_t* path) {
  static constexpr const char* kName = "StorageSystem::Registry::CStoreDelegate::DeleteStore";
  char16_t* nativePath = nullptr;
  if (ErrorCode code = m_pathHelper->AllocReplace(path, &nativePath); code != ErrorNone) return code;
  const Platform::LSTATUS status = Platform::RegDeleteTreeW(m_key.Get(), nativePath);
  m_pathHelper->FreePath(nativePath);
  switch (status) {
    case Platform::ERROR_SUCCESS:
      return ErrorNone;
    case Platform::ERROR_FILE_NOT_FOUND:
      return RaiseError(kName, ErrorNotFound, u"Store '%s' was not found", path);
    case Platform::ERROR_ACCESS_DENIED:
      return RaiseError(kName, ErrorAccessDenied, u"Access to store '%s' was denied", path);
    default:
      return RaiseSystemError(kName, static_cast<Platform::DWORD>(status), "RegDeleteTreeW");
  }
}

ErrorCode CStoreDelegate::OpenValue(const char16_t* path, IRegistryValue** result, std::uint32_t flags,
                                    const ITypeDescription* type, const void* defaultData, std::uint32_t defaultSize) {
  static constexpr const char* kName = "StorageSystem::Registry::CStoreDelegate::OpenValue";
  if (type == nullptr && (flags & kWriteAccessFlags) != 0) {
    return RaiseError(kName, ErrorCannotOpen,
                      u"Write access denied for Registry key '%s'. You must specify a data type.", path);
  }

  Platform::ComPtr<IRegistryValue> value;
  const ITypeDescription* effectiveType = nullptr;
  if (ErrorCode code = CreateValue(m_owner, type, value.Put(), &effectiveType); code != ErrorNone) return code;

  char16_t* block = nullptr;
  char16_t* parent = nullptr;
  char16_t* leaf = nullptr;
  if (ErrorCode code = m_pathHelper->ToSplitPathNative(path, &block, &parent, &leaf); code != ErrorNone) {
    return code;
  }

  // A value of unknown type cannot be written, so write rights are not taken over from the store.
  if (type == nullptr && (m_flags & kWriteAccessFlags) != 0 && (flags & SF_INHERIT) != 0) {
    flags &= ~(SF_INHERIT | kWriteAccessFlags);
    flags |= m_flags & ~kWriteAccessFlags;
    LogWrite(LogLevelWarning, kLogTag,
             u"WARNING: All access rights could not be inherited when opening Registry value '%s'", parent);
  }

  const ValueParameters parameters = {m_key.Get(), parent, leaf, path, effectiveType, defaultData, defaultSize};
  const ErrorCode code = value->Initialize(&parameters, flags);
  m_pathHelper->FreePath(block);
  if (code != ErrorNone) return code;
  *result = value.Detach();
  return ErrorNone;
}

ErrorCode CStoreDelegate::DeleteValue(const char16_t* path) {
  static constexpr const char* kName = "StorageSystem::Registry::CStoreDelegate::DeleteValue";
  char16_t* block = nullptr;
  char16_t* parent = nullptr;
  char16_t* leaf = nullptr;
  if (ErrorCode code = m_pathHelper->ToSplitPathNative(path, &block, &parent, &leaf); code != ErrorNone) return code;
  const Platform::LSTATUS status = Platform::RegDeleteKeyValueW(m_key.Get(), parent, leaf);
  m_pathHelper->FreePath(block);
  switch (status) {
    case Platform::ERROR_SUCCESS:
      return ErrorNone;
    case Platform::ERROR_FILE_NOT_FOUND:
      return RaiseError(kName, ErrorNotFound, u"Value '%s' was not found", path);
    case Platform::ERROR_ACCESS_DENIED:
      return RaiseError(kName, ErrorAccessDenied, u"Access to value '%s' was denied", path);
    default:
      return RaiseSystemError(kName, static_cast<Platform::DWORD>(status), "RegDeleteKeyValueW");
  }
}

ErrorCode CStoreDelegate::EnumStores(IEnumTarget* target) {
  char16_t name[256];
  for (Platform::DWORD index = 0;; ++index) {
    Platform::DWORD length = 255;
    const Platform::LSTATUS status =
        Platform::RegEnumKeyExW(m_key.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == Platform::ERROR_NO_MORE_ITEMS) return ErrorNone;
    if (status != Platform::ERROR_SUCCESS) {
      LogWrite(LogLevelError, kLogTag, u"Error while enumerating subkeys of Registry key %s", m_owner->GetName());
      return RaiseSystemError("StorageSystem::Registry::CStoreDelegate::EnumStores",
                              static_cast<Platform::DWORD>(status), "RegEnumKeyExW");
    }
    CStoreEnumItem item(name);
    bool stop = false;
    if (ErrorCode code = target->OnEnumeratedItem(&item, &stop); code != ErrorNone) return code;
    if (stop) return ErrorNone;
  }
}

ErrorCode CStoreDelegate::EnumValues(IEnumTarget* target) {
  static constexpr const char* kName = "StorageSystem::Registry::CStoreDelegate::EnumValues";
  static constexpr Platform::DWORD kStackLength = 64;
  // Longer names move to a heap buffer for the rest of the enumeration. It is larger than the
  // 16383 characters it is used for.
  static constexpr std::size_t kHeapCharacters = 0x1FFF8 / sizeof(char16_t);
  static constexpr Platform::DWORD kHeapLength = 16383;

  char16_t stackName[kStackLength];
  CAutoReleaseT<char16_t> heapName;
  for (Platform::DWORD index = 0;;) {
    char16_t* name = heapName.Get() != nullptr ? heapName.Get() : stackName;
    Platform::DWORD length = heapName.Get() != nullptr ? kHeapLength : kStackLength;
    Platform::DWORD typeId = 0;
    const Platform::LSTATUS status =
        Platform::RegEnumValueW(m_key.Get(), index, name, &length, nullptr, &typeId, nullptr, nullptr);
    if (status == Platform::ERROR_MORE_DATA) {
      if (heapName.Get() != nullptr)
        return RaiseSystemError(kName, static_cast<Platform::DWORD>(status), "RegEnumValueW");
      if (ErrorCode code = heapName.Alloc(kHeapCharacters); code != ErrorNone) return code;
      continue;
    }
    if (status == Platform::ERROR_NO_MORE_ITEMS) return ErrorNone;
    if (status != Platform::ERROR_SUCCESS)
      return RaiseSystemError(kName, static_cast<Platform::DWORD>(status), "RegEnumValueW");

    const NativeTypeInfo* row = nullptr;
    if (ErrorCode code = GetNativeTypeInfo(typeId, &row); code != ErrorNone) return code;
    CRegistryValueEnumItem item(name, row->type, typeId);
    bool stop = false;
    if (ErrorCode code = target->OnEnumeratedItem(&item, &stop); code != ErrorNone) return code;
    if (stop) return ErrorNone;
    ++index;
  }
}

bool CStoreDelegate::IsEmpty() {
  CFirstItemTarget target;
  if (EnumValues(&target) == ErrorNone && target.found) return false;
  if (EnumStores(&target) == ErrorNone && target.found) return false;
  return true;
}

}  // namespace StorageSystem::Registry
