#include "audio_service/product_library_cache.h"

#include <exception>

#include "foundation/error.h"
#include "platform/file_system.h"
#include "platform/module.h"

using namespace Platform;

namespace {

// An address inside this library, by which the loader names the library.
const char kInsideThisLibrary = 0;

constexpr DWORD kPathCapacity = 260;

bool Exists(const std::u16string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  return GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) != FALSE;
}

}  // namespace

CProductLibraryCache::CProductLibraryCache() { InitializeCriticalSectionAndSpinCount(&m_lock, 0); }

CProductLibraryCache::~CProductLibraryCache() {
  for (const auto& [path, library] : m_libraries) FreeLibrary(library);
  DeleteCriticalSection(&m_lock);
}

CProductLibraryCache& CProductLibraryCache::Instance() {
  static CProductLibraryCache cache;
  return cache;
}

std::u16string CProductLibraryCache::FindAbove(const char16_t* name) {
  HMODULE self = nullptr;
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          reinterpret_cast<LPCWSTR>(&kInsideThisLibrary), &self)) {
    return {};
  }
  char16_t ownPath[kPathCapacity];
  const DWORD length = GetModuleFileNameW(self, ownPath, kPathCapacity);
  if (length == 0 || length >= kPathCapacity) return {};
  std::u16string directory(ownPath, length);
  std::size_t separatorAt = directory.find_last_of(u"\\/");
  if (separatorAt == std::u16string::npos) return {};
  const char16_t separator = directory[separatorAt];
  // Each round looks in `directory` and goes one up; the last round looks in the root, whose
  // directory part is empty ("/" or "C:").
  for (;;) {
    directory.resize(separatorAt);
    std::u16string candidate = directory + separator + name;
    if (Exists(candidate)) return candidate;
    separatorAt = directory.find_last_of(u"\\/");
    if (separatorAt == std::u16string::npos) return {};
  }
}

HMODULE CProductLibraryCache::Load(const char16_t* name) {
  const std::u16string path = FindAbove(name);
  if (path.empty()) return nullptr;
  CriticalSectionGuard guard(&m_lock);
  HMODULE library = nullptr;
  try {
    if (auto found = m_libraries.find(path); found != m_libraries.end()) {
      library = found->second;
    } else if (HMODULE loaded = LoadLibraryW(path.c_str()); loaded != nullptr) {
      m_libraries.emplace(path, loaded);
      library = loaded;
    }
  } catch (const std::exception& e) {
    static_cast<void>(RaiseStlException("CProductLibraryCache::Load", e.what()));
  }
  return library;
}
