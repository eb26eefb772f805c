#include "tests/support/system_text.h"

#include "platform/system_error.h"
#include "platform/utf.h"

namespace Testing {

std::string SystemText(Platform::DWORD error) {
  char16_t buffer[1024];
  Platform::DWORD length =
      Platform::FormatMessageW(Platform::FORMAT_MESSAGE_FROM_SYSTEM | Platform::FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                               error, 0, buffer, 1024, nullptr);
  while (length > 0 && (buffer[length - 1] == u'\r' || buffer[length - 1] == u'\n')) --length;
  return Platform::Utf16ToUtf8(std::u16string(buffer, length));
}

}  // namespace Testing
