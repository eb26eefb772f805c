// The calling thread's last error: the system's own.
#include "platform/system_error.h"

#include "platform/win32/windows_api.h"

namespace Platform {

DWORD GetLastError() { return ::GetLastError(); }

void SetLastError(DWORD error) { ::SetLastError(error); }

}  // namespace Platform
