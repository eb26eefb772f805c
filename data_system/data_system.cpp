#include "data_system/data_system.h"

#include "data_system/friendly_storage.h"
#include "storage_system/storage_system.h"

namespace DataSystem {

CDataSystem::CDataSystem(IStoreModel* model, std::uint32_t flags, StorageSystem::IStore* storageStore,
                         StorageSystem::IReleaseHandler* finalReleaseHandler)
    : m_store(this, model, nullptr), flags(ApplyFriendlyStorage(flags)), finalReleaseHandler(finalReleaseHandler),
      storageStore(storageStore) {
  RegisterInterfaceBase(IID_IDataSystem, static_cast<IDataSystem*>(this));
  RegisterInterfaceBase(IID_IStorageSystemItem, static_cast<IStorageSystemItem*>(this));
  RegisterInterfaceBase(IID_IStorageSystemStore, static_cast<IStorageSystemStore*>(this));
  storageStore->AddRef();
}

CDataSystem::~CDataSystem() { storageStore->Release(); }

ErrorCode CDataSystem::Open(CDataSystem* dataSystem, IDataSystem** result) {
  if (dataSystem == nullptr) return RaiseError("DataSystem::CDataSystem::Open", ErrorOutOfMemory, nullptr);
  ErrorCode status = dataSystem->Init();
  if (status != ErrorNone) {
    dataSystem->Release();
    return status;
  }
  *result = dataSystem;
  return ErrorNone;
}

StorageSystem::ILock* CDataSystem::GetLock() { return storageStore->GetStorageSystem()->GetProperties()->GetLock(); }

void CDataSystem::Destroy() {
  // The one place where a shared owner can drop its pointer before anything is torn down.
  if ((m_lifecycle & kLifecycleDestroying) == 0 && finalReleaseHandler != nullptr) {
    finalReleaseHandler->OnFinalRelease(this);
  }
  CStoreShellT<IDataSystem>::Destroy();
}

}  // namespace DataSystem
