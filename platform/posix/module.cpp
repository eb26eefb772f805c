// Loaded modules on Linux. As on Windows, a module handle is the module's load address, which is
// what dladdr reports for any address inside it.
#include "platform/module.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "platform/system_error.h"
#include "platform/utf.h"

namespace Platform {
namespace {

std::string ExecutablePath() {
  char path[PATH_MAX];
  ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path) - 1);
  if (length <= 0) return {};
  return std::string(path, static_cast<std::size_t>(length));
}

// The load address of the object behind a handle of dlopen; null when it cannot be found.
HMODULE BaseOf(void* handle) {
  link_map* map = nullptr;
  Dl_info info;
  if (handle == nullptr || ::dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr ||
      ::dladdr(reinterpret_cast<void*>(map->l_ld), &info) == 0) {
    return nullptr;
  }
  return static_cast<HMODULE>(info.dli_fbase);
}

HMODULE ExecutableHandle() {
  void* self = ::dlopen(nullptr, RTLD_LAZY);
  HMODULE base = BaseOf(self);
  if (self != nullptr) ::dlclose(self);
  return base;
}

// The file of the module loaded at `base`; the executable's path for the main program.
bool FindModuleFile(HMODULE base, std::string& path) {
  if (base == nullptr || base == ExecutableHandle()) {
    path = ExecutablePath();
    return !path.empty();
  }
  Dl_info info;
  if (::dladdr(base, &info) == 0 || info.dli_fbase != base || info.dli_fname == nullptr) return false;
  path = info.dli_fname;
  return true;
}

}  // namespace

// Defined by the linker in every module it links, at the module's first byte.
extern "C" __attribute__((visibility("hidden"))) const char __ehdr_start;

HMODULE GetLinkedImageBase() { return reinterpret_cast<HMODULE>(const_cast<char*>(&__ehdr_start)); }

DWORD GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size) {
  std::string path;
  if (!FindModuleFile(module, path)) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return 0;
  }
  std::u16string wide = Utf8ToUtf16(path);
  if (size == 0) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  if (wide.size() + 1 > size) {
    wide.copy(fileName, size - 1);
    fileName[size - 1] = 0;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
  }
  wide.copy(fileName, wide.size());
  fileName[wide.size()] = 0;
  return static_cast<DWORD>(wide.size());
}

BOOL GetModuleHandleExW(DWORD flags, LPCWSTR moduleName, HMODULE* module) {
  if (module == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  *module = nullptr;
  if ((flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) != 0) {
    Dl_info info;
    if (::dladdr(moduleName, &info) == 0 || info.dli_fbase == nullptr) {
      SetLastError(ERROR_MOD_NOT_FOUND);
      return FALSE;
    }
    *module = static_cast<HMODULE>(info.dli_fbase);
  } else if (moduleName == nullptr) {
    *module = ExecutableHandle();
  } else {
    void* handle = ::dlopen(Utf16ToUtf8(moduleName).c_str(), RTLD_LAZY | RTLD_NOLOAD);
    *module = BaseOf(handle);
    if (handle != nullptr) ::dlclose(handle);
    if (*module == nullptr) {
      SetLastError(ERROR_MOD_NOT_FOUND);
      return FALSE;
    }
  }
  // The loader keeps its own count; the flags that change it on Windows need nothing more here,
  // since a library loaded by LoadLibraryW stays until its FreeLibrary.
  return TRUE;
}

HMODULE LoadLibraryW(LPCWSTR fileName) {
  if (fileName == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  void* handle = ::dlopen(Utf16ToUtf8(fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  HMODULE base = BaseOf(handle);
  if (base == nullptr) {
    ::dlclose(handle);
    SetLastError(ERROR_MOD_NOT_FOUND);
  }
  return base;
}

BOOL FreeLibrary(HMODULE module) {
  std::string path;
  if (module == nullptr || !FindModuleFile(module, path)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  void* handle = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  // Once for the look-up just made, once for the reference LoadLibraryW gave.
  ::dlclose(handle);
  ::dlclose(handle);
  return TRUE;
}

FARPROC GetProcAddress(HMODULE module, const char* procName) {
  std::string path;
  void* handle = nullptr;
  if (module == nullptr || module == ExecutableHandle()) {
    handle = ::dlopen(nullptr, RTLD_LAZY);
  } else if (FindModuleFile(module, path)) {
    handle = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  }
  if (handle == nullptr || procName == nullptr) {
    if (handle != nullptr) ::dlclose(handle);
    SetLastError(handle == nullptr ? ERROR_MOD_NOT_FOUND : ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  void* symbol = ::dlsym(handle, procName);
  ::dlclose(handle);
  if (symbol == nullptr) {
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
  }
  return reinterpret_cast<FARPROC>(symbol);
}

}  // namespace Platform
