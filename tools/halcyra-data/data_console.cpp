#include "tools/halcyra-data/data_console.h"

#include <cstdio>
#include <mutex>

#include "platform/debug_channel.h"
#include "platform/utf.h"

namespace HalcyraData {

namespace {

// The last line shown, so that the reporter's second copy of a line is left out.
struct ReportFilter {
  std::mutex mutex;
  std::string last;
};

void WriteReport(void* context, const char* text) {
  auto* filter = static_cast<ReportFilter*>(context);
  std::lock_guard<std::mutex> guard(filter->mutex);
  std::string line(text);
  if (!line.empty() && line.back() != '\n') line += '\n';
  if (line == filter->last) return;
  filter->last = line;
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace

void PrintLine(const std::u16string& text) {
  std::string line = Platform::Utf16ToUtf8(text);
  line += '\n';
  std::fputs(line.c_str(), stdout);
  std::fflush(stdout);
}

void ShowReportsOnStandardError() {
  static ReportFilter filter;
  Platform::SetDebugChannelHook(WriteReport, &filter);
}

ErrorCode Fail(const char* what, ErrorCode code) {
  std::string text = Platform::Utf16ToUtf8(GetErrorText(code));
  std::fprintf(stderr, "halcyra-data: %s: error %d (%s)\n", what, code, text.c_str());
  return code;
}

}  // namespace HalcyraData
