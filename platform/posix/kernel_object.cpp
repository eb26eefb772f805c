#include "platform/posix/kernel_object.h"

#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "platform/no_destructor.h"
#include "platform/system_error.h"

namespace Platform::Posix {
namespace {

// The process-wide table of open handles. A handle is the address of its object, which is unique
// while the object lives; the table, not the address, decides whether a handle is open.
class HandleTable {
public:
  HANDLE Insert(std::shared_ptr<KernelObject> object) {
    HANDLE handle = object.get();
    std::unique_lock lock(m_mutex);
    m_objects.emplace(handle, std::move(object));
    return handle;
  }

  std::shared_ptr<KernelObject> Find(HANDLE handle) const {
    std::shared_lock lock(m_mutex);
    auto it = m_objects.find(handle);
    return it == m_objects.end() ? nullptr : it->second;
  }

  // Removes the handle if `accept` agrees with its object.
  template <class Accept>
  std::shared_ptr<KernelObject> Remove(HANDLE handle, Accept accept) {
    std::unique_lock lock(m_mutex);
    auto it = m_objects.find(handle);
    if (it == m_objects.end() || !accept(*it->second)) return nullptr;
    std::shared_ptr<KernelObject> object = std::move(it->second);
    m_objects.erase(it);
    return object;
  }

private:
  mutable std::shared_mutex m_mutex;
  std::unordered_map<HANDLE, std::shared_ptr<KernelObject>> m_objects;
};

// Pool threads may still look handles up while the process runs its static destructors, so the
// table is made once and never destroyed.
HandleTable& Table() {
  static NoDestructor<HandleTable> table;
  return *table;
}

std::shared_ptr<KernelObject> Invalid() {
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

}  // namespace

HANDLE InsertHandle(std::shared_ptr<KernelObject> object) { return Table().Insert(std::move(object)); }

std::shared_ptr<KernelObject> LookupHandle(HANDLE handle, KernelObjectKind kind) {
  std::shared_ptr<KernelObject> object = Table().Find(handle);
  if (!object || object->Kind() != kind) return Invalid();
  return object;
}

std::shared_ptr<KernelObject> LookupAnyHandle(HANDLE handle) {
  std::shared_ptr<KernelObject> object = Table().Find(handle);
  return object ? object : Invalid();
}

std::shared_ptr<KernelObject> RemoveHandle(HANDLE handle, KernelObjectKind kind) {
  std::shared_ptr<KernelObject> object =
      Table().Remove(handle, [kind](const KernelObject& candidate) { return candidate.Kind() == kind; });
  return object ? object : Invalid();
}

std::shared_ptr<KernelObject> RemoveClosableHandle(HANDLE handle) {
  std::shared_ptr<KernelObject> object =
      Table().Remove(handle, [](const KernelObject& candidate) { return candidate.ClosableByCloseHandle(); });
  return object ? object : Invalid();
}

}  // namespace Platform::Posix
