#include "data_system/friendly_storage.h"

#include "data_system/flags.h"
#include "foundation/log.h"
#include "platform/environment.h"

namespace DataSystem {

namespace {

char16_t AsciiLower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c; }

bool EqualsIgnoringAsciiCase(const char16_t* text, const char16_t* lowerCase) {
  for (; *text != u'\0' && *lowerCase != u'\0'; ++text, ++lowerCase) {
    if (AsciiLower(*text) != *lowerCase) return false;
  }
  return *text == *lowerCase;
}

}  // namespace

bool ReadFriendlyStorageSwitch() {
  char16_t buffer[8] = {};
  Platform::DWORD length = Platform::GetEnvironmentVariableW(u"FriendlyDataSystemStorage", buffer, 8);
  // A value that does not fit the buffer is answered with the size it needs, and counts as off.
  if (length == 0 || length >= 8) return false;
  buffer[7] = u'\0';
  return EqualsIgnoringAsciiCase(buffer, u"true") || EqualsIgnoringAsciiCase(buffer, u"1");
}

std::uint32_t ApplyFriendlyStorage(std::uint32_t flags) {
  static const bool friendly = ReadFriendlyStorageSwitch();
  std::uint32_t wanted = friendly ? kFriendlyStorageMask : 0;
  std::uint32_t present = flags & kFriendlyStorageMask;
  if (present == wanted) return flags;
  LogWrite(LogLevelWarning, kLogTag, u"WARNING: friendly storage flags modified: 0x%X replaced by 0x%X", present,
           wanted);
  return (flags & ~kFriendlyStorageMask) | wanted;
}

}  // namespace DataSystem
