#include "platform/system_error.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "platform/utf.h"
#include "tests/support/wine.h"

namespace {

std::string Describe(Platform::DWORD error) {
  char16_t buffer[2048];
  Platform::DWORD length =
      Platform::FormatMessageW(Platform::FORMAT_MESSAGE_FROM_SYSTEM | Platform::FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                               error, 1024, buffer, 2048, nullptr);
  return length == 0 ? std::string() : Platform::Utf16ToUtf8(std::u16string(buffer, length));
}

TEST(SystemErrorTest, NumbersTheSystemMeetsHaveTheirWindowsWording) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine words system errors its own way (\"File not found.\")";
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

TEST(SystemErrorTest, UnknownNumberGivesZero) { EXPECT_EQ(Describe(0x7FFF0001u), ""); }

TEST(SystemErrorTest, SmallBufferGivesZeroAndInsufficientBuffer) {
  char16_t buffer[4];
  EXPECT_EQ(Platform::FormatMessageW(Platform::FORMAT_MESSAGE_FROM_SYSTEM | Platform::FORMAT_MESSAGE_IGNORE_INSERTS,
                                     nullptr, 5, 1024, buffer, 4, nullptr),
            0u);
  EXPECT_EQ(Platform::GetLastError(), static_cast<Platform::DWORD>(Platform::ERROR_INSUFFICIENT_BUFFER));
}

TEST(SystemErrorTest, LastErrorBelongsToTheThread) {
  // The threads meet through atomics only: on Windows any system call, creating and joining a
  // thread among them, may overwrite the caller's last error.
  std::atomic<int> stage{0};
  Platform::DWORD seenByOtherThread = 1;
  std::thread other([&] {
    while (stage.load() != 1) std::this_thread::yield();
    seenByOtherThread = Platform::GetLastError();
    Platform::SetLastError(87);
    stage = 2;
  });
  Platform::SetLastError(5);
  stage = 1;
  while (stage.load() != 2) std::this_thread::yield();
  const Platform::DWORD mine = Platform::GetLastError();
  other.join();
  EXPECT_EQ(seenByOtherThread, 0u);
  EXPECT_EQ(mine, 5u);
}

}  // namespace
