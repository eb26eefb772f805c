// The root of a data system tree.
#pragma once

#include <cstdint>

#include "data_system/storage_system_item.h"
#include "data_system/store_shell.h"
#include "storage_system/release_handler.h"
#include "storage_system/store.h"

namespace DataSystem {

// At once the top store of a tree and the IDataSystem that keeps the flags and the storage store of
// the root. A schema derives from it and adds the root's children as members. The object is
// allocated alone, starts with the opener's reference, and lives until the last reference to any
// item of its tree has gone: every item reference counts here too. Its own store flags, rights and
// notification flags are 0, so nothing can monitor the root itself.
class CDataSystem : public CStoreShellT<IDataSystem>, public IStorageSystemStore {
public:
  // `model` is the root's model; `flags` (DataSystemFlags) pass through the friendly storage
  // switch; `storageStore` is the root's place, on which the object takes a reference of its own;
  // `finalReleaseHandler` (may be null, not owned) hears of the object's end before anything is
  // torn down.
  CDataSystem(IStoreModel* model, std::uint32_t flags, StorageSystem::IStore* storageStore,
              StorageSystem::IReleaseHandler* finalReleaseHandler);
  // Releases the storage store, after the schema's members and before the store delegate.
  ~CDataSystem() override;

  // Brings up `dataSystem`, a schema just built, and hands it to `*result` with the opener's
  // reference. On failure (ErrorOutOfMemory for a null object, else the failing child's code) the
  // object is released and `*result` untouched. The thread that opens the data system.
  [[nodiscard]] static ErrorCode Open(CDataSystem* dataSystem, IDataSystem** result);

  std::uint32_t GetFlags() override { return flags; }
  StorageSystem::ILock* GetLock() override;
  std::uint32_t GetStoreFlags() override { return 0; }
  std::uint32_t GetRights() override { return 0; }
  std::uint32_t GetNotificationFlags() override { return 0; }
  void Destroy() override;

  const char16_t* GetStoragePath() override { return u"/"; }
  StorageSystem::IStore* GetStorageStore() override { return storageStore; }
  IStore* GetStore() override { return this; }
  StorageSystem::IStore* GetOwnStorageStore() override { return storageStore; }
  std::uint32_t GetValueCacheMode() override { return 0; }
  std::uint32_t GetAccessMask() override { return 0; }

protected:
  CStoreDelegate& StoreDelegate() final { return m_store; }

  CStoreDelegate m_store;
  const std::uint32_t flags;
  StorageSystem::IReleaseHandler* const finalReleaseHandler;
  StorageSystem::IStore* const storageStore;
};

}  // namespace DataSystem
