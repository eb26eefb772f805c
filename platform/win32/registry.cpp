// The registry: forwarded to the system's.
#include "platform/registry.h"

#include "platform/test_seam.h"
#include "platform/win32/windows_api.h"

namespace Platform {

using Win32::ToNative;
using Win32::ToWide;

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM desired, HKEY* result) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::regOpenKeyExW, key, subKey, options, desired, result)) {
    return *diverted;
  }
  return ::RegOpenKeyExW(ToNative(key), ToWide(subKey), options, desired, ToNative(result));
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM desired,
                        const SECURITY_ATTRIBUTES* securityAttributes, HKEY* result, DWORD* disposition) {
  return ::RegCreateKeyExW(ToNative(key), ToWide(subKey), reserved, ToWide(keyClass), options, desired,
                           ToNative(securityAttributes), ToNative(result), ToNative(disposition));
}

LSTATUS RegCloseKey(HKEY key) {
  if (auto diverted = TestSeam::Divert(&TestSeam::Hooks::regCloseKey, key)) {
    return *diverted;
  }
  return ::RegCloseKey(ToNative(key));
}

LSTATUS RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, DWORD* type, void* data, DWORD* dataSize) {
  return ::RegGetValueW(ToNative(key), ToWide(subKey), ToWide(value), flags, ToNative(type), data, ToNative(dataSize));
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, DWORD* reserved, DWORD* type, BYTE* data, DWORD* dataSize) {
  return ::RegQueryValueExW(ToNative(key), ToWide(valueName), ToNative(reserved), ToNative(type), data,
                            ToNative(dataSize));
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data, DWORD dataSize) {
  return ::RegSetValueExW(ToNative(key), ToWide(valueName), reserved, type, data, dataSize);
}

LSTATUS RegSetKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR valueName, DWORD type, const void* data, DWORD dataSize) {
  if (auto diverted =
          TestSeam::Divert(&TestSeam::Hooks::regSetKeyValueW, key, subKey, valueName, type, data, dataSize)) {
    return *diverted;
  }
  return ::RegSetKeyValueW(ToNative(key), ToWide(subKey), ToWide(valueName), type, data, dataSize);
}

LSTATUS RegDeleteTreeW(HKEY key, LPCWSTR subKey) { return ::RegDeleteTreeW(ToNative(key), ToWide(subKey)); }

LSTATUS RegDeleteKeyValueW(HKEY key, LPCWSTR subKey, LPCWSTR valueName) {
  return ::RegDeleteKeyValueW(ToNative(key), ToWide(subKey), ToWide(valueName));
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey) { return ::RegDeleteKeyW(ToNative(key), ToWide(subKey)); }

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR valueName) { return ::RegDeleteValueW(ToNative(key), ToWide(valueName)); }

LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, DWORD* nameLength, DWORD* reserved, LPWSTR keyClass,
                      DWORD* classLength, FILETIME* lastWriteTime) {
  return ::RegEnumKeyExW(ToNative(key), index, ToWide(name), ToNative(nameLength), ToNative(reserved), ToWide(keyClass),
                         ToNative(classLength), ToNative(lastWriteTime));
}

LSTATUS RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD nameLength) {
  return ::RegEnumKeyW(ToNative(key), index, ToWide(name), nameLength);
}

LSTATUS RegEnumValueW(HKEY key, DWORD index, LPWSTR valueName, DWORD* valueNameLength, DWORD* reserved, DWORD* type,
                      BYTE* data, DWORD* dataSize) {
  return ::RegEnumValueW(ToNative(key), index, ToWide(valueName), ToNative(valueNameLength), ToNative(reserved),
                         ToNative(type), data, ToNative(dataSize));
}

LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR keyClass, DWORD* classLength, DWORD* reserved, DWORD* subKeys,
                         DWORD* maxSubKeyLength, DWORD* maxClassLength, DWORD* values, DWORD* maxValueNameLength,
                         DWORD* maxValueLength, DWORD* securityDescriptorLength, FILETIME* lastWriteTime) {
  return ::RegQueryInfoKeyW(ToNative(key), ToWide(keyClass), ToNative(classLength), ToNative(reserved),
                            ToNative(subKeys), ToNative(maxSubKeyLength), ToNative(maxClassLength), ToNative(values),
                            ToNative(maxValueNameLength), ToNative(maxValueLength), ToNative(securityDescriptorLength),
                            ToNative(lastWriteTime));
}

LSTATUS RegNotifyChangeKeyValue(HKEY key, BOOL watchSubtree, DWORD filter, HANDLE event, BOOL asynchronous) {
  return ::RegNotifyChangeKeyValue(ToNative(key), watchSubtree, filter, event, asynchronous);
}

LSTATUS RegFlushKey(HKEY key) { return ::RegFlushKey(ToNative(key)); }

LSTATUS RegSetKeySecurity(HKEY key, SECURITY_INFORMATION information, PSECURITY_DESCRIPTOR securityDescriptor) {
  return ::RegSetKeySecurity(ToNative(key), information, securityDescriptor);
}

}  // namespace Platform
