// The debug channel on Linux: standard error, or the hook a host installed.
#include "platform/debug_channel.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <mutex>
#include <string>

#include "platform/no_destructor.h"
#include "platform/utf.h"

namespace Platform {
namespace {

struct HookState {
  std::mutex mutex;
  DebugChannelHook hook = nullptr;
  void* context = nullptr;
};

HookState& Hook() {
  // Never destroyed: lines may be written by static destructors that run after this one would.
  static NoDestructor<HookState> state;
  return *state;
}

void Emit(const char* utf8) {
  HookState& state = Hook();
  std::lock_guard<std::mutex> lock(state.mutex);
  if (state.hook != nullptr) {
    state.hook(state.context, utf8);
    return;
  }
  // One write per line, so that lines of concurrent writers do not interleave within a line.
  std::size_t length = std::strlen(utf8);
  while (length > 0) {
    ssize_t written = ::write(STDERR_FILENO, utf8, length);
    if (written <= 0) break;
    utf8 += written;
    length -= static_cast<std::size_t>(written);
  }
}

}  // namespace

void OutputDebugStringW(LPCWSTR text) {
  if (text == nullptr) return;
  // Log lines (at most 2048 UTF-16 units, three bytes each at most) convert on the stack, so that
  // logging allocates nothing; only longer texts take the heap.
  char line[8192];
  std::size_t used = 0;
  std::size_t index = 0;
  while (text[index] != 0 && used + 4 < sizeof(line)) used += EncodeUtf8(DecodeUtf16(text, index), line + used);
  if (text[index] != 0) {
    Emit(Utf16ToUtf8(text).c_str());
    return;
  }
  line[used] = 0;
  Emit(line);
}

void OutputDebugStringA(const char* text) {
  if (text == nullptr) return;
  Emit(text);
}

BOOL IsDebuggerPresent() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("TracerPid:", 0) == 0) {
      return std::strtol(line.c_str() + 10, nullptr, 10) != 0 ? TRUE : FALSE;
    }
  }
  return FALSE;
}

void SetDebugChannelHook(DebugChannelHook hook, void* context) {
  HookState& state = Hook();
  std::lock_guard<std::mutex> lock(state.mutex);
  state.hook = hook;
  state.context = context;
}

}  // namespace Platform
