// Win32Helper::RegistryHelper: two small checks around direct registry calls, for the settings that
// the audio service writes at start.
#pragma once

#include "foundation/error.h"
#include "platform/registry.h"

namespace Win32Helper {

class RegistryHelper {
public:
  // Read, write, create subkeys, enumerate subkeys and read control, in the 64-bit view.
  static constexpr Platform::REGSAM kReadWriteAccess = Platform::kKeyReadWrite64;

  // Opens `subKey` below `root` for reading and writing into `result`, which the caller closes.
  // True when the key opened. A key that is missing or deleted gives false silently; any other
  // failure is logged at trace level, reported as ErrorCannotOpen, and gives false. Any thread.
  static bool TryOpenSubKey(Platform::HKEY root, const char16_t* subKey, Platform::HKEY& result);

  // Writes `value` as the REG_DWORD `name` of `key` (borrowed). Returns ErrorNone, or, reported:
  // ErrorInvalidParameter for a null key, ErrorNotFound when the registry answers "not found",
  // ErrorUnavailable for a deleted key, ErrorCannotWrite for any other failure. Any thread.
  [[nodiscard]] static ErrorCode SetDwValue(Platform::HKEY key, const char16_t* name, Platform::DWORD value);
};

}  // namespace Win32Helper
