// CProductLibraryCache: the libraries of the product's other files that this library loads, found
// on disk above this library and loaded once each.
//
// A library is looked for in this library's own directory and then in each directory above it, up
// to the root; the nearest wins. Each path found is loaded once and kept in a map under a critical
// section until the cache is destroyed, which frees the libraries. A load that fails is not
// remembered, so the next call tries again.
#pragma once

#include <map>
#include <string>

#include "platform/critical_section.h"
#include "platform/types.h"

class CProductLibraryCache {
public:
  CProductLibraryCache();
  // Frees every library loaded.
  ~CProductLibraryCache();
  CProductLibraryCache(const CProductLibraryCache&) = delete;
  CProductLibraryCache& operator=(const CProductLibraryCache&) = delete;

  // The process's cache, built at the first call and destroyed at the end of the process. Any
  // thread.
  static CProductLibraryCache& Instance();

  // The library `name` (a file name) nearest above this library, loaded at the first request for
  // its path; null when it is found nowhere, when this library's own path cannot be had, or when it
  // cannot be loaded. The handle stays owned by the cache. Throws std::bad_alloc. Any thread.
  Platform::HMODULE Load(const char16_t* name);

  // The path that Load would load for `name`: the first existing entry of that name in this
  // library's directory or above; empty when there is none. Throws std::bad_alloc. Any thread.
  static std::u16string FindAbove(const char16_t* name);

private:
  Platform::CRITICAL_SECTION m_lock;
  std::map<std::u16string, Platform::HMODULE> m_libraries;
};
