// The wording of Win32 error numbers, as Windows gives it in English.
#include "platform/system_error.h"

#include <algorithm>
#include <iterator>

namespace Platform {
namespace {

constexpr LONG ERROR_MR_MID_NOT_FOUND = 317;

struct MessageEntry {
  DWORD id;
  const char16_t* text;
};

// Sorted by number.
constexpr MessageEntry kMessages[] = {
    {0, u"The operation completed successfully.\r\n"},
    {1, u"Incorrect function.\r\n"},
    {2, u"The system cannot find the file specified.\r\n"},
    {3, u"The system cannot find the path specified.\r\n"},
    {5, u"Access is denied.\r\n"},
    {6, u"The handle is invalid.\r\n"},
    {8, u"Not enough memory resources are available to process this command.\r\n"},
    {10, u"The environment is incorrect.\r\n"},
    {13, u"The data is invalid.\r\n"},
    {14, u"Not enough memory resources are available to complete this operation.\r\n"},
    {87, u"The parameter is incorrect.\r\n"},
    {112, u"There is not enough space on the disk.\r\n"},
    {122, u"The data area passed to a system call is too small.\r\n"},
    {126, u"The specified module could not be found.\r\n"},
    {127, u"The specified procedure could not be found.\r\n"},
    {161, u"The specified path is invalid.\r\n"},
    {183, u"Cannot create a file when that file already exists.\r\n"},
    {203, u"The system could not find the environment option that was entered.\r\n"},
    {234, u"More data is available.\r\n"},
    {259, u"No more data is available.\r\n"},
    {997, u"Overlapped I/O operation is in progress.\r\n"},
    {1009, u"The configuration registry database is corrupt.\r\n"},
    {1010, u"The configuration registry key is invalid.\r\n"},
    {1011, u"The configuration registry key could not be opened.\r\n"},
    {1012, u"The configuration registry key could not be read.\r\n"},
    {1013, u"The configuration registry key could not be written.\r\n"},
    {1015,
     u"The registry is corrupted. The structure of one of the files containing registry data is corrupted, or "
     u"the system's memory image of the file is corrupted, or the file could not be recovered because the "
     u"alternate copy or log was absent or corrupted.\r\n"},
    {1018, u"Illegal operation attempted on a registry key that has been marked for deletion.\r\n"},
    {1021, u"Cannot create a stable subkey under a volatile parent key.\r\n"},
    {1150, u"The specified program requires a newer version of Windows.\r\n"},
    {1168, u"Element not found.\r\n"},
    {1305, u"The revision level is unknown.\r\n"},
    {1338, u"The security descriptor structure is invalid.\r\n"},
    {1630, u"Data of this type is not supported.\r\n"},
};

}  // namespace

DWORD FormatMessageW(DWORD flags, const void* source, DWORD messageId, DWORD languageId, LPWSTR buffer, DWORD size,
                     va_list* arguments) {
  if ((flags & ~(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS)) != 0 ||
      (flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0 || buffer == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  auto found = std::lower_bound(std::begin(kMessages), std::end(kMessages), messageId,
                                [](const MessageEntry& entry, DWORD id) { return entry.id < id; });
  if (found == std::end(kMessages) || found->id != messageId) {
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    return 0;
  }
  DWORD length = 0;
  while (found->text[length] != 0) ++length;
  if (length + 1 > size) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  std::copy(found->text, found->text + length + 1, buffer);
  return length;
}

}  // namespace Platform
