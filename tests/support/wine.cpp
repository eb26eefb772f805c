#include "tests/support/wine.h"

#include "platform/module.h"
#include "tests/support/platform_kind.h"

namespace Testing {

// Wine's ntdll exports its version; Windows' has no such entry.
bool RunningUnderWine() {
  static const bool underWine = [] {
    if (!kRunningOnWindows) return false;
    Platform::HMODULE ntdll = nullptr;
    if (!Platform::GetModuleHandleExW(Platform::GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, u"ntdll.dll", &ntdll)) {
      return false;
    }
    return Platform::GetProcAddress(ntdll, "wine_get_version") != nullptr;
  }();
  return underWine;
}

}  // namespace Testing
