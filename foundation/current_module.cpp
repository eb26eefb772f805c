#include "foundation/current_module.h"

#include "foundation/error.h"
#include "platform/module.h"
#include "platform/system_error.h"

Platform::HMODULE GetCurrentModule() {
  Platform::HMODULE module = nullptr;
  if (!Platform::GetModuleHandleExW(
          Platform::GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | Platform::GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<const char16_t*>(&GetCurrentModule), &module)) {
    static_cast<void>(RaiseSystemError("GetCurrentModule", Platform::GetLastError(), "GetModuleHandleExW"));
    return Platform::GetLinkedImageBase();
  }
  return module;
}
