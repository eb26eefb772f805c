#include "foundation/registry_helper.h"

#include "foundation/log.h"

namespace Win32Helper {

bool RegistryHelper::TryOpenSubKey(Platform::HKEY root, const char16_t* subKey, Platform::HKEY& result) {
  Platform::LSTATUS status = Platform::RegOpenKeyExW(root, subKey, 0, kReadWriteAccess, &result);
  if (status == Platform::ERROR_SUCCESS) return true;
  if (status == Platform::ERROR_FILE_NOT_FOUND || status == Platform::ERROR_KEY_DELETED) return false;
  LogWrite(LogLevelTrace, kLogTag, u"Win32Helper::RegistryHelper::TryOpenSubKeyError %ld %s", status, subKey);
  static_cast<void>(RaiseError("Win32Helper::RegistryHelper::TryOpenSubKey", ErrorCannotOpen, nullptr));
  return false;
}

ErrorCode RegistryHelper::SetDwValue(Platform::HKEY key, const char16_t* name, Platform::DWORD value) {
  constexpr const char* kFunction = "Win32Helper::RegistryHelper::SetDwValue";
  if (key == nullptr) return RaiseError(kFunction, ErrorInvalidParameter, nullptr);
  Platform::LSTATUS status = Platform::RegSetValueExW(key, name, 0, Platform::REG_DWORD,
                                                      reinterpret_cast<const Platform::BYTE*>(&value), sizeof(value));
  switch (status) {
    case Platform::ERROR_SUCCESS:
      return ErrorNone;
    case Platform::ERROR_FILE_NOT_FOUND:
      return RaiseError(kFunction, ErrorNotFound, nullptr);
    case Platform::ERROR_KEY_DELETED:
      return RaiseError(kFunction, ErrorUnavailable, nullptr);
    default:
      return RaiseError(kFunction, ErrorCannotWrite, nullptr);
  }
}

}  // namespace Win32Helper
