#include "platform/system_error.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "platform/utf.h"

namespace {

std::string Describe(Platform::DWORD error) {
  char16_t buffer[2048];
  Platform::DWORD length = Platform::FormatMessageW(
      Platform::FORMAT_MESSAGE_FROM_SYSTEM | Platform::FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 1024, buffer,
      2048, nullptr);
  return length == 0 ? std::string() : Platform::Utf16ToUtf8(std::u16string(buffer, length));
}

TEST(SystemErrorTest, NumbersTheSystemMeetsHaveTheirWindowsWording) {
  struct Case {
    Platform::DWORD error;
    const char* text;
  } cases[] = {
      {0, "The operation completed successfully.\r\n"},
      {2, "The system cannot find the file specified.\r\n"},
      {5, "Access is denied.\r\n"},
      {6, "The handle is invalid.\r\n"},
      {8, "Not enough memory resources are available to process this command.\r\n"},
      {87, "The parameter is incorrect.\r\n"},
      {122, "The data area passed to a system call is too small.\r\n"},
      {234, "More data is available.\r\n"},
      {259, "No more data is available.\r\n"},
      {997, "Overlapped I/O operation is in progress.\r\n"},
      {1018, "Illegal operation attempted on a registry key that has been marked for deletion.\r\n"},
      {1021, "Cannot create a stable subkey under a volatile parent key.\r\n"},
      {1168, "Element not found.\r\n"},
  };
  for (const Case& c : cases) EXPECT_EQ(Describe(c.error), c.text) << c.error;
}

TEST(SystemErrorTest, UnknownNumberGivesZero) {
  EXPECT_EQ(Describe(0x7FFF0001u), "");
}

TEST(SystemErrorTest, SmallBufferGivesZeroAndInsufficientBuffer) {
  char16_t buffer[4];
  EXPECT_EQ(Platform::FormatMessageW(Platform::FORMAT_MESSAGE_FROM_SYSTEM | Platform::FORMAT_MESSAGE_IGNORE_INSERTS,
                                     nullptr, 5, 1024, buffer, 4, nullptr),
            0u);
  EXPECT_EQ(Platform::GetLastError(), static_cast<Platform::DWORD>(Platform::ERROR_INSUFFICIENT_BUFFER));
}

TEST(SystemErrorTest, LastErrorBelongsToTheThread) {
  Platform::SetLastError(5);
  std::thread([] {
    EXPECT_EQ(Platform::GetLastError(), 0u);
    Platform::SetLastError(87);
  }).join();
  EXPECT_EQ(Platform::GetLastError(), 5u);
}

}  // namespace
