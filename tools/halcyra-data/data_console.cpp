#include "tools/halcyra-data/data_console.h"

#include <cstdio>
#include <mutex>

#include "platform/debug_channel.h"
#include "platform/utf.h"

namespace HalcyraData {

namespace {

// The last line shown, so that the reporter's second copy of a line is left out, and the lines held
// back while reports are held.
struct ReportFilter {
  std::mutex mutex;
  std::string last;
  bool holding = false;
  std::string held;
};

ReportFilter& Filter() {
  static ReportFilter filter;
  return filter;
}

void WriteReport(void* context, const char* text) {
  auto* filter = static_cast<ReportFilter*>(context);
  std::lock_guard<std::mutex> guard(filter->mutex);
  std::string line(text);
  if (!line.empty() && line.back() != '\n') line += '\n';
  if (line == filter->last) return;
  filter->last = line;
  if (filter->holding) {
    filter->held += line;
    return;
  }
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
  ReportFilter& filter = Filter();
  {
    std::lock_guard<std::mutex> guard(filter.mutex);
    filter.holding = false;
    filter.held.clear();
  }
  Platform::SetDebugChannelHook(WriteReport, &filter);
}

void HoldReports() {
  ReportFilter& filter = Filter();
  {
    std::lock_guard<std::mutex> guard(filter.mutex);
    filter.holding = true;
  }
  Platform::SetDebugChannelHook(WriteReport, &filter);
}

void ShowHeldReports() {
  ReportFilter& filter = Filter();
  std::lock_guard<std::mutex> guard(filter.mutex);
  std::fputs(filter.held.c_str(), stderr);
  filter.held.clear();
  filter.holding = false;
}

ErrorCode Fail(const char* what, ErrorCode code) {
  std::string text = Platform::Utf16ToUtf8(GetErrorText(code));
  std::fprintf(stderr, "halcyra-data: %s: error %d (%s)\n", what, code, text.c_str());
  return code;
}

}  // namespace HalcyraData
