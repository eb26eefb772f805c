// The registry functions on Linux: argument rules, access rights and the shapes of the results,
// as Windows has them, over the hives of RegistryState.
#include "platform/registry.h"

#include <cstring>
#include <span>
#include <vector>

#include "platform/posix/registry/names.h"
#include "platform/posix/registry/state.h"
#include "platform/posix/registry/value_rules.h"
#include "platform/synchronization.h"
#include "platform/test_seam.h"

namespace Platform {

using Posix::HiveKey;
using Posix::KeyPath;
using Posix::OpenKey;
using Posix::RegistryState;

namespace {

constexpr REGSAM kSpecificRights = 0x0000FFFF;
constexpr REGSAM kStandardRights = 0x001F0000;
constexpr REGSAM kWow64Rights = KEY_WOW64_64KEY | KEY_WOW64_32KEY;
constexpr DWORD kNotifyFilters =
    REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_CHANGE_SECURITY;
constexpr DWORD kCreateOptions =
    REG_OPTION_VOLATILE | REG_OPTION_CREATE_LINK | REG_OPTION_BACKUP_RESTORE | REG_OPTION_OPEN_LINK;

// The rights a handle gets for what was asked: generic rights mapped to the key's, the view flags
// dropped (this registry has one view).
REGSAM GrantedRights(REGSAM desired) {
  if ((desired & (MAXIMUM_ALLOWED | GENERIC_ALL)) != 0) return KEY_ALL_ACCESS;
  REGSAM granted = desired & (kSpecificRights | kStandardRights) & ~kWow64Rights;
  if ((desired & GENERIC_READ) != 0) granted |= KEY_READ;
  if ((desired & GENERIC_WRITE) != 0) granted |= KEY_WRITE;
  if ((desired & GENERIC_EXECUTE) != 0) granted |= KEY_EXECUTE;
  return granted;
}

bool Allows(const OpenKey& key, REGSAM rights) { return (key.access & rights) == rights; }

bool IsEmpty(LPCWSTR text) { return text == nullptr || text[0] == 0; }

std::u16string_view NameOf(LPCWSTR name) {
  return name == nullptr ? std::u16string_view() : std::u16string_view(name, Posix::TerminatedLength(name));
}

LSTATUS Resolve(HKEY handle, std::shared_ptr<OpenKey>& key) { return RegistryState::Get().Resolve(handle, key); }

// Resolves a handle that must carry `rights`; ERROR_ACCESS_DENIED when it does not.
LSTATUS ResolveWithRights(HKEY handle, REGSAM rights, std::shared_ptr<OpenKey>& key) {
  LSTATUS status = Resolve(handle, key);
  if (status != ERROR_SUCCESS) return status;
  return Allows(*key, rights) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// A sub-key path as a call gave it; HKEY_CLASSES_ROOT also takes a path that starts with '\'.
LSTATUS ParseSubKey(const OpenKey& base, HKEY handle, LPCWSTR subKey, KeyPath& path) {
  if (base.predefined && handle == HKEY_CLASSES_ROOT && subKey != nullptr && subKey[0] == u'\\') ++subKey;
  return Posix::ParseKeyPath(subKey, path);
}

// Resolves a handle and the sub-key path a call gave with it.
LSTATUS ResolveSubKey(HKEY handle, LPCWSTR subKey, std::shared_ptr<OpenKey>& key, KeyPath& path) {
  LSTATUS status = Resolve(handle, key);
  if (status != ERROR_SUCCESS) return status;
  return ParseSubKey(*key, handle, subKey, path);
}

HKEY AddHandle(const std::shared_ptr<OpenKey>& base, HiveKey&& key, REGSAM access) {
  auto opened = std::make_shared<OpenKey>();
  opened->hive = base->hive;
  opened->key = std::move(key);
  opened->access = access;
  return RegistryState::Get().Handles().Add(std::move(opened));
}

// The raw value read under the hive's lock, copied into a buffer that each thread keeps.
struct RawValue {
  DWORD type = 0;
  std::vector<BYTE>* data = nullptr;
};

std::vector<BYTE>& ThreadBuffer() {
  thread_local std::vector<BYTE> buffer;
  return buffer;
}

void CopyRaw(void* context, DWORD type, const BYTE* data, std::size_t size) {
  auto* raw = static_cast<RawValue*>(context);
  raw->type = type;
  raw->data->assign(data, data + size);
}

LSTATUS ReadRaw(OpenKey& key, HiveKey& hiveKey, LPCWSTR name, RawValue& raw) {
  raw.data = &ThreadBuffer();
  return key.hive->ReadValue(hiveKey, NameOf(name), CopyRaw, &raw);
}

// Sets a value of the key at `path` below `key` after the checks of the caller's name and data that
// RegSetValueExW and RegSetKeyValueW share (CheckValueToSet).
LSTATUS SetNamedValue(OpenKey& key, const KeyPath& path, LPCWSTR valueName, DWORD type, const BYTE* data,
                      DWORD dataSize) {
  std::u16string_view name = NameOf(valueName);
  DWORD storedSize = 0;
  LSTATUS status = Posix::CheckValueToSet(name, type, data, dataSize, storedSize);
  if (status != ERROR_SUCCESS) return status;
  if (storedSize == dataSize) return key.hive->SetValue(key.key, path, name, type, data, storedSize);
  // The terminator that followed the caller's data goes with a copy, not read again.
  std::vector<BYTE> terminated(storedSize, 0);
  std::memcpy(terminated.data(), data, dataSize);
  return key.hive->SetValue(key.key, path, name, type, terminated.data(), storedSize);
}

// Copies `text` with its terminator; the caller has checked that it fits.
void CopyTerminated(const std::u16string& text, LPWSTR out) {
  text.copy(out, text.size());
  out[text.size()] = 0;
}

FILETIME ToFileTime(std::int64_t ticks) {
  auto value = static_cast<std::uint64_t>(ticks);
  return FILETIME{static_cast<DWORD>(value & 0xFFFFFFFFu), static_cast<DWORD>(value >> 32)};
}

// The security descriptor of a caller's attributes, as the bytes to keep; ERROR_INVALID_SECURITY_DESCR
// for one that is not valid.
LSTATUS DescriptorBytes(PSECURITY_DESCRIPTOR descriptor, std::span<const BYTE>& bytes) {
  if (!IsValidSecurityDescriptor(descriptor)) return ERROR_INVALID_SECURITY_DESCR;
  bytes = std::span<const BYTE>(static_cast<const BYTE*>(descriptor), GetSecurityDescriptorLength(descriptor));
  return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM desired, HKEY* result) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::regOpenKeyExW, key, subKey, options, desired, result)) {
    return *diverted;
  }
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  std::shared_ptr<OpenKey> base;
  LSTATUS status = Resolve(key, base);
  if (status != ERROR_SUCCESS) return status;
  // A predefined key opened with no path is the predefined key itself.
  if (base->predefined && IsEmpty(subKey)) {
    *result = key;
    return ERROR_SUCCESS;
  }
  KeyPath path;
  status = ParseSubKey(*base, key, subKey, path);
  if (status != ERROR_SUCCESS) return status;
  HiveKey opened;
  status = base->hive->OpenKey(base->key, path, opened);
  if (status != ERROR_SUCCESS) return status;
  HKEY handle = AddHandle(base, std::move(opened), GrantedRights(desired));
  if (handle == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  *result = handle;
  return ERROR_SUCCESS;
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM desired,
                        const SECURITY_ATTRIBUTES* securityAttributes, HKEY* result, DWORD* disposition) {
  if (result == nullptr) return ERROR_BADKEY;
  if (reserved != 0 || (options & ~kCreateOptions) != 0) return ERROR_INVALID_PARAMETER;
  std::shared_ptr<OpenKey> base;
  LSTATUS status = Resolve(key, base);
  if (status != ERROR_SUCCESS) return status;
  if (subKey == nullptr) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  status = ParseSubKey(*base, key, subKey, path);
  if (status != ERROR_SUCCESS) return status;
  Posix::CreateOptions create;
  create.isVolatile = (options & REG_OPTION_VOLATILE) != 0;
  create.keyClass = NameOf(keyClass);
  if (securityAttributes != nullptr && securityAttributes->lpSecurityDescriptor != nullptr) {
    status = DescriptorBytes(securityAttributes->lpSecurityDescriptor, create.security);
    if (status != ERROR_SUCCESS) return status;
  }
  HiveKey opened;
  DWORD outcome = 0;
  status = base->hive->CreateKey(base->key, path, create, opened, outcome);
  if (status != ERROR_SUCCESS) return status;
  HKEY handle = AddHandle(base, std::move(opened), GrantedRights(desired));
  if (handle == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  *result = handle;
  if (disposition != nullptr) *disposition = outcome;
  return ERROR_SUCCESS;
}

LSTATUS RegCloseKey(HKEY key) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::regCloseKey, key)) {
    return *diverted;
  }
  RegistryState& state = RegistryState::Get();
  std::shared_ptr<OpenKey> open = state.Handles().Remove(key);
  if (open == nullptr) {
    std::shared_ptr<OpenKey> predefined;
    return state.Resolve(key, predefined) == ERROR_SUCCESS && predefined->predefined ? ERROR_SUCCESS
                                                                                     : ERROR_INVALID_HANDLE;
  }
  state.Notifier().Release(open.get());
  return ERROR_SUCCESS;
}

LSTATUS RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, DWORD* type, void* data, DWORD* dataSize) {
  if ((data != nullptr && dataSize == nullptr) || (flags & RRF_RT_ANY) == 0) return ERROR_INVALID_PARAMETER;
  DWORD capacity = dataSize != nullptr ? *dataSize : 0;
  auto fail = [&](LSTATUS status) {
    if ((flags & RRF_ZEROONFAILURE) != 0 && data != nullptr && capacity != 0) std::memset(data, 0, capacity);
    return status;
  };
  std::shared_ptr<OpenKey> base;
  LSTATUS status = Resolve(key, base);
  if (status != ERROR_SUCCESS) return fail(status);
  RawValue raw;
  if (IsEmpty(subKey)) {
    if (!Allows(*base, KEY_QUERY_VALUE)) return fail(ERROR_ACCESS_DENIED);
    status = ReadRaw(*base, base->key, value, raw);
  } else {
    KeyPath path;
    status = ParseSubKey(*base, key, subKey, path);
    HiveKey sub;
    if (status == ERROR_SUCCESS) status = base->hive->OpenKey(base->key, path, sub);
    if (status == ERROR_SUCCESS) status = ReadRaw(*base, sub, value, raw);
  }
  if (status != ERROR_SUCCESS) return fail(status);

  std::vector<BYTE>& bytes = *raw.data;
  DWORD valueType = raw.type;
  if (valueType == REG_EXPAND_SZ && (flags & RRF_NOEXPAND) == 0) {
    Posix::ExpandEnvironmentText(bytes);
    valueType = REG_SZ;
  }
  Posix::TerminateStrings(valueType, bytes);
  auto size = static_cast<DWORD>(bytes.size());
  if (type != nullptr) *type = valueType;
  status = ERROR_SUCCESS;
  if (data != nullptr) {
    if (size > capacity) {
      status = ERROR_MORE_DATA;
    } else if (size != 0) {
      std::memcpy(data, bytes.data(), size);
    }
  }
  if (dataSize != nullptr) *dataSize = size;
  LSTATUS restriction = Posix::CheckTypeRestriction(flags, valueType, size);
  if (restriction != ERROR_SUCCESS) status = restriction;
  return status == ERROR_SUCCESS ? status : fail(status);
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, DWORD* reserved, DWORD* type, BYTE* data, DWORD* dataSize) {
  if (reserved != nullptr || (data != nullptr && dataSize == nullptr)) return ERROR_INVALID_PARAMETER;
  std::shared_ptr<OpenKey> open;
  LSTATUS status = ResolveWithRights(key, KEY_QUERY_VALUE, open);
  if (status != ERROR_SUCCESS) return status;
  RawValue raw;
  status = ReadRaw(*open, open->key, valueName, raw);
  if (status != ERROR_SUCCESS) {
    if (status == ERROR_FILE_NOT_FOUND && dataSize != nullptr && data == nullptr) *dataSize = 0;
    return status;
  }
  auto size = static_cast<DWORD>(raw.data->size());
  if (type != nullptr) *type = raw.type;
  if (dataSize == nullptr) return ERROR_SUCCESS;
  if (data != nullptr) {
    if (size > *dataSize) {
      *dataSize = size;
      return ERROR_MORE_DATA;
    }
    if (size != 0) std::memcpy(data, raw.data->data(), size);
  }
  *dataSize = size;
  return ERROR_SUCCESS;
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data, DWORD dataSize) {
  std::shared_ptr<OpenKey> open;
  LSTATUS status = ResolveWithRights(key, KEY_SET_VALUE, open);
  if (status != ERROR_SUCCESS) return status;
  return SetNamedValue(*open, KeyPath{}, valueName, type, data, dataSize);
}

LSTATUS RegSetKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR valueName, DWORD type, const void* data, DWORD dataSize) {
  if (auto diverted =
          TestSeam::Divert(&TestSeam::Hooks::regSetKeyValueW, key, subKey, valueName, type, data, dataSize)) {
    return *diverted;
  }
  std::shared_ptr<OpenKey> open;
  KeyPath path;
  LSTATUS status = ResolveSubKey(key, subKey, open, path);
  if (status != ERROR_SUCCESS) return status;
  // The sub-key is opened afresh for writing; only a write to this very key needs this handle's right.
  if (path.components.empty() && !Allows(*open, KEY_SET_VALUE)) return ERROR_ACCESS_DENIED;
  return SetNamedValue(*open, path, valueName, type, static_cast<const BYTE*>(data), dataSize);
}

LSTATUS RegDeleteTreeW(HKEY key, LPCWSTR subKey) {
  std::shared_ptr<OpenKey> open;
  KeyPath path;
  LSTATUS status = ResolveSubKey(key, subKey, open, path);
  if (status != ERROR_SUCCESS) return status;
  if (path.components.empty() && !Allows(*open, KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS | KEY_SET_VALUE)) {
    return ERROR_ACCESS_DENIED;
  }
  return open->hive->DeleteTree(open->key, path);
}

LSTATUS RegDeleteKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR valueName) {
  std::shared_ptr<OpenKey> open;
  KeyPath path;
  LSTATUS status = ResolveSubKey(key, subKey, open, path);
  if (status != ERROR_SUCCESS) return status;
  if (path.components.empty() && !Allows(*open, KEY_SET_VALUE)) return ERROR_ACCESS_DENIED;
  return open->hive->DeleteValue(open->key, path, NameOf(valueName));
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey) {
  std::shared_ptr<OpenKey> open;
  LSTATUS status = Resolve(key, open);
  if (status != ERROR_SUCCESS) return status;
  if (subKey == nullptr) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  status = ParseSubKey(*open, key, subKey, path);
  if (status != ERROR_SUCCESS) return status;
  if (open->predefined && path.components.empty()) return ERROR_ACCESS_DENIED;
  return open->hive->DeleteKey(open->key, path);
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR valueName) {
  std::shared_ptr<OpenKey> open;
  LSTATUS status = ResolveWithRights(key, KEY_SET_VALUE, open);
  if (status != ERROR_SUCCESS) return status;
  return open->hive->DeleteValue(open->key, KeyPath{}, NameOf(valueName));
}

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, DWORD* nameLength, DWORD* reserved, LPWSTR keyClass,
                      DWORD* classLength, FILETIME* lastWriteTime) {
  if (name == nullptr || nameLength == nullptr || reserved != nullptr ||
      (keyClass != nullptr && classLength == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  std::shared_ptr<OpenKey> open;
  LSTATUS status = ResolveWithRights(key, KEY_ENUMERATE_SUB_KEYS, open);
  if (status != ERROR_SUCCESS) return status;
  struct Request {
    LPWSTR name;
    DWORD* nameLength;
    LPWSTR keyClass;
    DWORD* classLength;
    FILETIME* lastWriteTime;
    LSTATUS status = ERROR_SUCCESS;
  } request{name, nameLength, keyClass, classLength, lastWriteTime};
  auto visit = [](void* context, const Posix::SubKeyEntry& entry) {
    auto& r = *static_cast<Request*>(context);
    if (entry.name.size() >= *r.nameLength || (r.keyClass != nullptr && entry.keyClass.size() >= *r.classLength)) {
      r.status = ERROR_MORE_DATA;
      return;
    }
    CopyTerminated(entry.name, r.name);
    *r.nameLength = static_cast<DWORD>(entry.name.size());
    if (r.keyClass != nullptr) {
      CopyTerminated(entry.keyClass, r.keyClass);
    }
    if (r.classLength != nullptr) *r.classLength = static_cast<DWORD>(entry.keyClass.size());
    if (r.lastWriteTime != nullptr) *r.lastWriteTime = ToFileTime(entry.lastWrite);
  };
  status = open->hive->EnumSubKey(open->key, index, lastWriteTime != nullptr, visit, &request);
  return status != ERROR_SUCCESS ? status : request.status;
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD nameLength) {
  DWORD length = nameLength;
  return RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR valueName, DWORD* valueNameLength, DWORD* reserved, DWORD* type,
                      BYTE* data, DWORD* dataSize) {
  if (valueName == nullptr || valueNameLength == nullptr || reserved != nullptr ||
      (data != nullptr && dataSize == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  std::shared_ptr<OpenKey> open;
  LSTATUS status = ResolveWithRights(key, KEY_QUERY_VALUE, open);
  if (status != ERROR_SUCCESS) return status;
  struct Request {
    LPWSTR name;
    DWORD* nameLength;
    DWORD* type;
    BYTE* data;
    DWORD* dataSize;
    LSTATUS status = ERROR_SUCCESS;
  } request{valueName, valueNameLength, type, data, dataSize};
  // The name and the data are each written only when they fit; the sizes say what is needed.
  auto visit = [](void* context, const Posix::ValueEntry& entry) {
    auto& r = *static_cast<Request*>(context);
    auto size = static_cast<DWORD>(entry.data.size());
    if (r.type != nullptr) *r.type = entry.type;
    if (entry.name.size() >= *r.nameLength) {
      if (r.dataSize != nullptr) *r.dataSize = size;
      r.status = ERROR_MORE_DATA;
      return;
    }
    CopyTerminated(entry.name, r.name);
    *r.nameLength = static_cast<DWORD>(entry.name.size());
    if (r.dataSize == nullptr) return;
    if (r.data != nullptr && size > *r.dataSize) {
      r.status = ERROR_MORE_DATA;
    } else if (r.data != nullptr && size != 0) {
      std::memcpy(r.data, entry.data.data(), size);
    }
    *r.dataSize = size;
  };
  status = open->hive->EnumValue(open->key, index, visit, &request);
  return status != ERROR_SUCCESS ? status : request.status;
}

LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, DWORD* classLength, DWORD* reserved, DWORD* subKeys,
                         DWORD* maxSubKeyLength, DWORD* maxClassLength, DWORD* values, DWORD* maxValueNameLength,
                         DWORD* maxValueLength, DWORD* securityDescriptorLength, FILETIME* lastWriteTime) {
  std::shared_ptr<OpenKey> open;
  LSTATUS status = Resolve(key, open);
  if (status != ERROR_SUCCESS) return status;
  if (reserved != nullptr || (keyClass != nullptr && classLength == nullptr)) return ERROR_INVALID_PARAMETER;
  if (!Allows(*open, KEY_QUERY_VALUE)) return ERROR_ACCESS_DENIED;
  Posix::KeySummary summary;
  status = open->hive->QueryInfo(open->key, summary);
  if (status != ERROR_SUCCESS) return status;
  auto classSize = static_cast<DWORD>(summary.keyClass.size());
  // A class buffer of no characters asks for nothing: it is left alone and the length is 0.
  bool classWanted = keyClass != nullptr && *classLength != 0;
  if (classWanted) {
    if (classSize >= *classLength) {
      *classLength = classSize;
      return ERROR_INSUFFICIENT_BUFFER;
    }
    CopyTerminated(summary.keyClass, keyClass);
  }
  if (classLength != nullptr) *classLength = keyClass != nullptr && !classWanted ? 0 : classSize;
  if (subKeys != nullptr) *subKeys = summary.subKeys;
  if (maxSubKeyLength != nullptr) *maxSubKeyLength = summary.maxSubKeyLength;
  if (maxClassLength != nullptr) *maxClassLength = summary.maxClassLength;
  if (values != nullptr) *values = summary.values;
  if (maxValueNameLength != nullptr) *maxValueNameLength = summary.maxValueNameLength;
  if (maxValueLength != nullptr) *maxValueLength = summary.maxValueLength;
  if (securityDescriptorLength != nullptr) *securityDescriptorLength = summary.securityDescriptorLength;
  if (lastWriteTime != nullptr) *lastWriteTime = ToFileTime(summary.lastWrite);
  return ERROR_SUCCESS;
}

LSTATUS RegNotifyChangeKeyValue(HKEY key, BOOL watchSubtree, DWORD filter, HANDLE event, BOOL asynchronous) {
  std::shared_ptr<OpenKey> open;
  LSTATUS status = Resolve(key, open);
  if (status != ERROR_SUCCESS) return status;
  if ((filter & ~(kNotifyFilters | REG_NOTIFY_THREAD_AGNOSTIC)) != 0 || (filter & kNotifyFilters) == 0) {
    return ERROR_INVALID_PARAMETER;
  }
  if (asynchronous && event == nullptr) return ERROR_INVALID_PARAMETER;
  if (!Allows(*open, KEY_NOTIFY)) return ERROR_ACCESS_DENIED;
  // The watch is taken on the key as it is now: a deleted key cannot be watched.
  HiveKey current;
  status = open->hive->OpenKey(open->key, KeyPath{}, current);
  if (status != ERROR_SUCCESS) return status;
  RegistryState& state = RegistryState::Get();
  if (asynchronous) {
    // As on Windows, arming clears the event, so that a signal means a change after this call.
    ResetEvent(event);
    return state.Notifier().Arm(*open->hive, open->key.path, watchSubtree != FALSE, filter, event, open.get());
  }
  HANDLE wait = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (wait == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
  status = state.Notifier().Arm(*open->hive, open->key.path, watchSubtree != FALSE, filter, wait, open.get());
  if (status == ERROR_SUCCESS) WaitForSingleObject(wait, INFINITE);
  CloseHandle(wait);
  return status;
}

LSTATUS RegFlushKey(HKEY key) {
  std::shared_ptr<OpenKey> open;
  LSTATUS status = Resolve(key, open);
  if (status != ERROR_SUCCESS) return status;
  return open->hive->Flush();
}

LSTATUS RegSetKeySecurity(HKEY key, SECURITY_INFORMATION information, PSECURITY_DESCRIPTOR securityDescriptor) {
  std::shared_ptr<OpenKey> open;
  LSTATUS status = Resolve(key, open);
  if (status != ERROR_SUCCESS) return status;
  if (securityDescriptor == nullptr) return ERROR_INVALID_PARAMETER;
  REGSAM needed = 0;
  if ((information & DACL_SECURITY_INFORMATION) != 0) needed |= WRITE_DAC;
  if ((information & (OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION)) != 0) needed |= WRITE_OWNER;
  if (!Allows(*open, needed)) return ERROR_ACCESS_DENIED;
  std::span<const BYTE> bytes;
  status = DescriptorBytes(securityDescriptor, bytes);
  if (status != ERROR_SUCCESS) return status;
  return open->hive->SetSecurity(open->key, bytes);
}

}  // namespace Platform
