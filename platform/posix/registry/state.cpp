#include "platform/posix/registry/state.h"

#include <atomic>

#include "platform/posix/registry/folder.h"
#include "platform/posix/registry/hive_transaction.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

std::atomic<RegistryState*> g_state{nullptr};
std::mutex g_stateMutex;
std::string g_bootIdOverride;

struct PredefinedRoot {
  int hive;              // index into the hives, -1 for keys this registry does not have
  const char16_t* path;  // key within the hive that the predefined key stands for
};

// By the predefined key's number less 0x80000000. HKEY_CLASSES_ROOT and HKEY_CURRENT_CONFIG are
// views into the machine hive, as on Windows; the performance keys do not exist here.
constexpr PredefinedRoot kRoots[] = {
    {0, u"Software\\Classes"},
    {1, u""},
    {0, u""},
    {2, u""},
    {-1, nullptr},
    {0, u"System\\CurrentControlSet\\Hardware Profiles\\Current"},
    {-1, nullptr},
    {-1, nullptr},
};

const char* const kHiveNames[] = {"machine", "user", "users"};

}  // namespace

RegistryState::RegistryState(std::string folder, std::string bootId)
    : m_folder(std::move(folder)), m_bootId(std::move(bootId)), m_notifier(std::make_unique<RegistryNotifier>()) {}

RegistryState& RegistryState::Get() {
  RegistryState* state = g_state.load(std::memory_order_acquire);
  if (state != nullptr) return *state;
  std::lock_guard<std::mutex> lock(g_stateMutex);
  state = g_state.load(std::memory_order_acquire);
  if (state == nullptr) {
    std::string folder = RegistryFolder();
    MakeFolder(folder);
    state = new RegistryState(folder, g_bootIdOverride.empty() ? CurrentBootId() : g_bootIdOverride);
    g_state.store(state, std::memory_order_release);
  }
  return *state;
}

LSTATUS RegistryState::OpenHiveLocked(HiveIndex index, RegistryHive*& hive) {
  if (m_hives[index] == nullptr) {
    if (m_hiveFailures[index] != ERROR_SUCCESS) return m_hiveFailures[index];
    LSTATUS status = RegistryHive::Open(m_folder, kHiveNames[index], m_bootId, m_hives[index]);
    // A hive that cannot be opened (not a database, say) stays unusable for this process, and is
    // reported once, when it is first met.
    if (status != ERROR_SUCCESS) {
      m_hiveFailures[index] = status;
      return status;
    }
    m_hives[index]->SetCommitListener(&RegistryNotifier::OnCommitted, m_notifier.get());
  }
  hive = m_hives[index].get();
  return ERROR_SUCCESS;
}

LSTATUS RegistryState::Resolve(HKEY handle, std::shared_ptr<OpenKey>& key) {
  auto low = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(handle));
  if (low >= 0x80000000u && low < 0x80000000u + kRootCount) {
    std::size_t number = low - 0x80000000u;
    const PredefinedRoot& predefined = kRoots[number];
    if (predefined.hive < 0) return ERROR_INVALID_HANDLE;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_roots[number] == nullptr) {
      RegistryHive* hive = nullptr;
      LSTATUS status = OpenHiveLocked(static_cast<HiveIndex>(predefined.hive), hive);
      if (status != ERROR_SUCCESS) return status;
      auto root = std::make_shared<OpenKey>();
      root->hive = hive;
      root->access = KEY_ALL_ACCESS;
      root->predefined = true;
      status = hive->OpenRoot(predefined.path, root->key);
      if (status != ERROR_SUCCESS) return status;
      m_roots[number] = std::move(root);
    }
    key = m_roots[number];
    return ERROR_SUCCESS;
  }
  key = m_handles.Find(handle);
  return key != nullptr ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

void ResetRegistryForTests(const char* bootId) {
  std::lock_guard<std::mutex> lock(g_stateMutex);
  delete g_state.exchange(nullptr, std::memory_order_acq_rel);
  g_bootIdOverride = bootId != nullptr ? bootId : "";
}

void SetAfterCommitHookForTests(void (*hook)()) { g_afterCommitHook = hook; }

}  // namespace Platform::Posix
