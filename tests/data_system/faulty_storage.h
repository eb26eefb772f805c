// A storage store that passes everything on to a real one, but fails chosen operations: for the
// failure paths of the data system that a healthy registry never takes.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "foundation/extensible.h"
#include "storage_system/storage_system.h"
#include "storage_system/store.h"
#include "storage_system/registry/registry_value.h"

namespace Testing {

// What a FaultyStore and the stores and values it opens do wrong. Value names are the last part of
// a value's path ("{GUID}"); counts are shared by every store of one tree.
struct StorageFaults {
  std::mutex mutex;
  // OpenValue of a value of this name fails with ErrorCannotOpen.
  std::u16string failOpenValue;
  // Read and ReadRealloc of a value of this name fail (ErrorCannotRead) this many more times.
  std::u16string failReadOf;
  int readFailuresLeft = 0;
  // Capability bits taken away from what the storage system says, and the stand-in that says so.
  std::uint32_t maskedCapabilities = 0;
  std::unique_ptr<StorageSystem::IStorageSystem, Common::BoundaryObjectDeleter> maskedStorageSystem;
  // How often each value name was opened and read.
  std::map<std::u16string, int> opens;
  std::map<std::u16string, int> reads;
};

// Wraps `inner` (a counted reference that the wrapper takes over). Stores it opens are wrapped too.
class FaultyStore : public Common::CExtensible<StorageSystem::IStore> {
public:
  FaultyStore(StorageSystem::IStore* inner, StorageFaults& faults);
  ~FaultyStore() override;

  std::uint32_t AddRef() override;
  std::uint32_t Release() override;
  // The real storage system, or with capabilities masked a stand-in that answers with fewer.
  StorageSystem::IStorageSystem* GetStorageSystem() override;
  StorageSystem::IStore* GetParent() override { return m_inner->GetParent(); }
  std::uint32_t GetFlags() override { return m_inner->GetFlags(); }
  const char16_t* GetName() override { return m_inner->GetName(); }
  const char16_t* GetPath() override { return m_inner->GetPath(); }
  ErrorCode QueryAllocAbsolutePath(char16_t** path) override { return m_inner->QueryAllocAbsolutePath(path); }
  ErrorCode EnumStores(StorageSystem::IEnumTarget* target) override { return m_inner->EnumStores(target); }
  ErrorCode OpenStore(const char16_t* path, StorageSystem::IStore** result, std::uint32_t flags) override;
  ErrorCode DeleteStore(const char16_t* path) override { return m_inner->DeleteStore(path); }
  ErrorCode EnumValues(StorageSystem::IEnumTarget* target) override { return m_inner->EnumValues(target); }
  ErrorCode OpenValue(const char16_t* path, StorageSystem::Registry::IRegistryValue** result, std::uint32_t flags,
                      const ITypeDescription* type, const void* defaultData, std::uint32_t defaultSize) override;
  ErrorCode DeleteValue(const char16_t* path) override { return m_inner->DeleteValue(path); }
  bool IsEmpty() override { return m_inner->IsEmpty(); }
  ErrorCode RegisterMonitor(StorageSystem::IStoreMonitor* monitor) override {
    return m_inner->RegisterMonitor(monitor);
  }
  ErrorCode UnregisterMonitor(StorageSystem::IStoreMonitor* monitor) override {
    return m_inner->UnregisterMonitor(monitor);
  }
  ErrorCode Open(const void* parameters, std::uint32_t flags) override { return m_inner->Open(parameters, flags); }
  void Close() override { m_inner->Close(); }

private:
  StorageSystem::IStore* m_inner;
  StorageFaults& m_faults;
  std::atomic<std::uint32_t> m_count{1};
};

}  // namespace Testing
