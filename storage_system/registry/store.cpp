#include "storage_system/registry/store.h"

#include "storage_system/prepare_access_mask.h"
#include "storage_system/registry/open_parameters.h"

namespace StorageSystem::Registry {

CStore::CStore(IStore* parent) : m_parent(parent) { m_parent->AddRef(); }

CStore::~CStore() {
  if (m_isOpen) {
    m_isOpen = false;
    m_delegate.Close();
  }
  // The helper's blocks belong to the storage system, which the parent may be the last to hold.
  m_pathHelper.Reset();
  m_parent->Release();
}

ErrorCode CStore::Open(const void* parameters, std::uint32_t flags) {
  const auto* store = static_cast<const StoreParameters*>(parameters);
  if (ErrorCode code = PrepareAccessMask(this, &flags); code != ErrorNone) return code;
  if (ErrorCode code = m_delegate.Open(store->parentKey, store->subKey, flags); code != ErrorNone) return code;
  if (ErrorCode code = m_pathHelper.InitializeNameAndPath(store->path); code != ErrorNone) {
    m_delegate.Close();
    return code;
  }
  m_isOpen = true;
  return ErrorNone;
}

void CStore::Close() {
  m_isOpen = false;
  m_delegate.Close();
}

}  // namespace StorageSystem::Registry
