#include "platform/system_error.h"

namespace Platform {
namespace {

thread_local DWORD t_lastError = ERROR_SUCCESS;

}  // namespace

DWORD GetLastError() { return t_lastError; }

void SetLastError(DWORD error) { t_lastError = error; }

}  // namespace Platform
