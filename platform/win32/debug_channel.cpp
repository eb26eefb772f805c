// The debug channel on Windows: the system's (an attached debugger or a debug monitor sees the
// lines), or the hook a host installed, which receives them as UTF-8.
#include "platform/debug_channel.h"

#include <mutex>

#include "platform/no_destructor.h"
#include "platform/utf.h"
#include "platform/win32/windows_api.h"

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

}  // namespace

void OutputDebugStringW(LPCWSTR text) {
  if (text == nullptr) return;
  HookState& state = Hook();
  std::lock_guard<std::mutex> lock(state.mutex);
  if (state.hook == nullptr) {
    ::OutputDebugStringW(Win32::ToWide(text));
    return;
  }
  state.hook(state.context, Utf16ToUtf8(text).c_str());
}

// The library's narrow texts are UTF-8 already, so the hook gets them unchanged.
void OutputDebugStringA(const char* text) {
  if (text == nullptr) return;
  HookState& state = Hook();
  std::lock_guard<std::mutex> lock(state.mutex);
  if (state.hook == nullptr) {
    ::OutputDebugStringA(text);
    return;
  }
  state.hook(state.context, text);
}

BOOL IsDebuggerPresent() { return ::IsDebuggerPresent(); }

void SetDebugChannelHook(DebugChannelHook hook, void* context) {
  HookState& state = Hook();
  std::lock_guard<std::mutex> lock(state.mutex);
  state.hook = hook;
  state.context = context;
}

}  // namespace Platform
