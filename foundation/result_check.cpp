#include "foundation/result_check.h"

#include "foundation/format.h"
#include "platform/debug_channel.h"
#include "platform/synchronization.h"
#include "platform/system_error.h"

namespace wil {
namespace {

constexpr std::size_t kRecordCapacity = 1024;
constexpr std::size_t kSystemTextCapacity = 512;

// The system's wording of `result` without its closing line break. Windows words HRESULTs
// directly; where the platform only knows Win32 numbers, an HRESULT of the Win32 facility is worded
// by its number.
void SystemText(Platform::HRESULT result, char16_t* text, std::size_t capacity) {
  constexpr Platform::DWORD kFlags = Platform::FORMAT_MESSAGE_FROM_SYSTEM | Platform::FORMAT_MESSAGE_IGNORE_INSERTS;
  const auto number = static_cast<Platform::DWORD>(result);
  Platform::DWORD length =
      Platform::FormatMessageW(kFlags, nullptr, number, 0, text, static_cast<Platform::DWORD>(capacity), nullptr);
  if (length == 0 && (number & 0xFFFF0000u) == 0x80070000u) {
    length = Platform::FormatMessageW(kFlags, nullptr, number & 0xFFFFu, 0, text,
                                      static_cast<Platform::DWORD>(capacity), nullptr);
  }
  while (length > 0 && (text[length - 1] == u'\r' || text[length - 1] == u'\n' || text[length - 1] == u' ')) {
    --length;
  }
  text[length] = 0;
}

// The record goes out only while a debugger watches, as the library it stands in for does.
void RecordFailure(Platform::HRESULT result, const char* source, int line) {
  if (Platform::IsDebuggerPresent() == Platform::FALSE) return;
  char16_t record[kRecordCapacity];
  FormatFailureRecord(record, kRecordCapacity, result, source, line, Platform::GetCurrentThreadId());
  Platform::OutputDebugStringW(record);
}

}  // namespace

ResultException::ResultException(Platform::HRESULT result, const char* source, int line) noexcept
    : m_result(result), m_source(source), m_line(line) {
  FormatBoundedA(m_what, sizeof(m_what), "%s(%d) %08X", source, line, static_cast<Platform::DWORD>(result));
}

void ThrowIfFailed(Platform::HRESULT result, const char* source, int line) {
  if (result >= 0) return;
  RecordFailure(result, source, line);
  throw ResultException(result, source, line);
}

Platform::HRESULT ReturnIfFailed(Platform::HRESULT result, const char* source, int line) {
  if (result < 0) RecordFailure(result, source, line);
  return result;
}

int FormatFailureRecord(char16_t* destination, std::size_t capacity, Platform::HRESULT result, const char* source,
                        int line, Platform::DWORD threadId) {
  char16_t text[kSystemTextCapacity];
  SystemText(result, text, kSystemTextCapacity);
  return FormatBounded(destination, capacity, u"%S(%d) tid(%x) %08X %s\n", source, line, threadId,
                       static_cast<Platform::DWORD>(result), text);
}

}  // namespace wil
