// The registry storage system: the root store of a registry tree, with its properties.
#pragma once

#include <cstdint>

#include "storage_system/release_handler.h"
#include "storage_system/storage_system.h"
#include "storage_system/registry/open_parameters.h"
#include "storage_system/registry/properties.h"
#include "storage_system/registry/store.h"

namespace StorageSystem::Registry {

// The layer of a storage system: the object answers for IStore through a second base, so that it
// can stand wherever a store is expected, and for IStorageSystem. The second base's share of the
// item operations is forwarded to the first.
class CStorageSystemBase : public CStorageItemT<IStorageSystem>, public IStore {
public:
  void* GetInterface(const Common::GUID* iid) override { return CStorageItemT::GetInterface(iid); }
  std::uint32_t AddRef() override { return CStorageItemT::AddRef(); }
  std::uint32_t Release() override { return CStorageItemT::Release(); }
  [[nodiscard]] ErrorCode QueryAllocAbsolutePath(char16_t** path) override {
    return CStorageItemT::QueryAllocAbsolutePath(path);
  }

protected:
  CStorageSystemBase() {
    RegisterInterfaceBase(IID_IStore, static_cast<IStore*>(this));
    RegisterInterfaceBase(IID_IStorageSystem, static_cast<IStorageSystem*>(this));
  }
};

// A storage system on a predefined key and a path under it. It embeds its properties, with the
// lock of the whole tree, and tells its release handler when it goes. Made by OpenStorageSystem.
class CStorageSystem : public CRegistryStoreT<CStorageSystemBase> {
public:
  CStorageSystem() = default;
  ~CStorageSystem() override;

  IStorageSystem* GetStorageSystem() override { return this; }
  IStore* GetParent() override { return nullptr; }
  const char16_t* GetName() override { return u"/"; }
  const char16_t* GetPath() override { return nullptr; }
  IProperties* GetProperties() override { return &m_properties; }
  // `parameters` is a StorageSystemParameters. PrepareAccessMask, the key, then the root text; on
  // failure nothing stays open.
  [[nodiscard]] ErrorCode Open(const void* parameters, std::uint32_t flags) override;
  // Closes the key; the object stays and can be opened again.
  void Close() override;

  void SetReleaseHandler(IReleaseHandler* releaseHandler) { m_releaseHandler = releaseHandler; }

private:
  CProperties m_properties;
  IReleaseHandler* m_releaseHandler = nullptr;
};

// Opens a storage system on `parameters` with `flags` (StorageFlags; SF_FLOAT_AS_STRING sets the
// text form of floating-point values). `*result` receives it with one reference, which the caller
// owns. `releaseHandler` (may be null) hears of its final release. With `applySecurity`, the
// attributes' descriptor is set on the predefined key. Returns ErrorNone, ErrorOutOfMemory, or the
// code of the failed open. The caller's thread.
[[nodiscard]] ErrorCode OpenStorageSystem(const StorageSystemParameters& parameters, IStorageSystem** result,
                                          std::uint32_t flags, IReleaseHandler* releaseHandler, bool applySecurity);

}  // namespace StorageSystem::Registry
