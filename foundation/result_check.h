// Result checks on COM calls: a throwing and a returning check on an HRESULT, each naming the
// source that made the call and its line, and the exception that carries a failure up to the
// operation's boundary.
//
// They stand in for the result macros of the Windows Implementation Library, whose names the
// audio service's code keeps (`wil::ResultException`). A failed check writes one record to the
// debug channel, in that library's form, only while a debugger is attached; otherwise it is silent
// and the failure reaches the log only where the service catches the exception and logs it.
#pragma once

#include <cstddef>
#include <exception>

#include "platform/types.h"

namespace wil {

// A failed HRESULT with the place of the check that found it. Thrown by ThrowIfFailed and caught at
// the top of the operation; never crosses an interface.
class ResultException : public std::exception {
public:
  // `source` is a static string (the name of the checking source).
  ResultException(Platform::HRESULT result, const char* source, int line) noexcept;

  Platform::HRESULT GetErrorCode() const noexcept { return m_result; }
  const char* GetSource() const noexcept { return m_source; }
  int GetLine() const noexcept { return m_line; }
  // "<source>(<line>) <HRESULT in 8 capital hexadecimal digits>".
  const char* what() const noexcept override { return m_what; }

private:
  Platform::HRESULT m_result;
  const char* m_source;
  int m_line;
  char m_what[96];
};

// The throwing check: a negative `result` is recorded and thrown as a ResultException naming
// `source` (a static string) and `line`. Any thread.
void ThrowIfFailed(Platform::HRESULT result, const char* source, int line);

// The returning check: a negative `result` is recorded. Returns `result` as it stands, which the
// caller returns when it is a failure. Any thread.
Platform::HRESULT ReturnIfFailed(Platform::HRESULT result, const char* source, int line);

// Writes the record of a failure into `destination` of `capacity` characters:
// "<source>(<line>) tid(<thread id, hexadecimal>) <HRESULT, 8 capital digits> <system text>" and a
// line feed; the system text is the platform's wording of the HRESULT, empty when it has none.
// Returns the number of characters written, or -1 when the record was cut off. Any thread.
int FormatFailureRecord(char16_t* destination, std::size_t capacity, Platform::HRESULT result, const char* source,
                        int line, Platform::DWORD threadId);

}  // namespace wil
