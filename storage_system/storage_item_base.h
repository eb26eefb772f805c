// The first layer of every storage item after the extensible root: the reference count and the
// path helper.
#pragma once

#include <cstdint>

#include "foundation/extensible.h"
#include "storage_system/interface_ids.h"
#include "storage_system/path_helper.h"
#include "storage_system/storage_item.h"

namespace StorageSystem {

// Registers IStorageItem and implements counting, names and the absolute path for the item class
// rooted at `Root` (IStore, IStorageSystem or Registry::IRegistryValue). The count is a plain
// 32-bit number starting at 1, without atomics or locks. Subclasses reset the path helper before
// they release their parent, since the helper's blocks belong to the storage system's allocator.
template <class Root>
class CStorageItemT : public Common::CExtensible<Root> {
public:
  std::uint32_t AddRef() override { return ++m_refCount; }

  std::uint32_t Release() override {
    const std::uint32_t count = --m_refCount;
    if (count == 0) delete this;
    return count;
  }

  const char16_t* GetName() override { return m_pathHelper.GetName(); }
  const char16_t* GetPath() override { return m_pathHelper.GetPath(); }
  [[nodiscard]] ErrorCode QueryAllocAbsolutePath(char16_t** path) override {
    return m_pathHelper.QueryAllocAbsolutePath(path);
  }

protected:
  CStorageItemT() : m_pathHelper(static_cast<IStorageItem*>(this)) {
    this->RegisterInterfaceBase(IID_IStorageItem, static_cast<IStorageItem*>(this));
  }

  std::uint32_t m_refCount = 1;
  CPathHelper m_pathHelper;
};

}  // namespace StorageSystem
