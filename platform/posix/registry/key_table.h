// The open registry handles of the process.
//
// An HKEY stands for an OpenKey: a key of a hive with the access rights it was opened with. Every
// open handle is entered in one table; a handle value carries its slot and a generation, so that a
// closed or made-up handle is recognised (ERROR_INVALID_HANDLE) instead of being followed, and a
// call that found a handle keeps its OpenKey alive even if another thread closes the handle.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/posix/registry/hive.h"
#include "platform/types.h"

namespace Platform::Posix {

struct OpenKey {
  RegistryHive* hive = nullptr;
  HiveKey key;
  REGSAM access = 0;
  bool predefined = false;
};

class KeyHandleTable {
public:
  // Enters `key` and returns its new handle. Any thread.
  HKEY Add(std::shared_ptr<OpenKey> key);
  // The key of an open handle, or null. Any thread.
  std::shared_ptr<OpenKey> Find(HKEY handle) const;
  // Removes the handle and returns its key, or null for a handle that is not open. Any thread.
  std::shared_ptr<OpenKey> Remove(HKEY handle);

private:
  struct Slot {
    std::uint32_t generation = 0;
    std::shared_ptr<OpenKey> key;
  };
  bool Decode(HKEY handle, std::size_t& index, std::uint32_t& generation) const;

  mutable std::mutex m_mutex;
  std::vector<Slot> m_slots;
  std::vector<std::size_t> m_free;
};

}  // namespace Platform::Posix
