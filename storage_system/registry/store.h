// Registry stores: the outer classes that register the interfaces and forward to CStoreDelegate.
#pragma once

#include <cstdint>

#include "storage_system/interface_ids.h"
#include "storage_system/storage_item_base.h"
#include "storage_system/store.h"
#include "storage_system/registry/registry_store.h"
#include "storage_system/registry/store_delegate.h"

namespace StorageSystem::Registry {

// The layer of a plain store: registers IStore.
class CStoreBase : public CStorageItemT<IStore> {
protected:
  CStoreBase() { RegisterInterfaceBase(IID_IStore, static_cast<IStore*>(this)); }
};

// The delegate layer shared by stores and storage systems: owns the CStoreDelegate, forwards the
// store operations to it, and registers IRegistryStore, its second base, as a sub-object. `Base`
// is CStoreBase or CStorageSystemBase. Each outer class records in `m_isOpen` whether it is open.
template <class Base>
class CRegistryStoreT : public Base, public IRegistryStore {
public:
  std::uint32_t GetFlags() override { return m_delegate.GetFlags(); }
  [[nodiscard]] ErrorCode EnumStores(IEnumTarget* target) override { return m_delegate.EnumStores(target); }
  [[nodiscard]] ErrorCode OpenStore(const char16_t* path, IStore** result, std::uint32_t flags) override {
    return m_delegate.OpenStore(path, result, flags);
  }
  [[nodiscard]] ErrorCode DeleteStore(const char16_t* path) override { return m_delegate.DeleteStore(path); }
  [[nodiscard]] ErrorCode EnumValues(IEnumTarget* target) override { return m_delegate.EnumValues(target); }
  [[nodiscard]] ErrorCode OpenValue(const char16_t* path, IRegistryValue** result, std::uint32_t flags,
                                    const ITypeDescription* type, const void* defaultData,
                                    std::uint32_t defaultSize) override {
    return m_delegate.OpenValue(path, result, flags, type, defaultData, defaultSize);
  }
  [[nodiscard]] ErrorCode DeleteValue(const char16_t* path) override { return m_delegate.DeleteValue(path); }
  bool IsEmpty() override { return m_delegate.IsEmpty(); }
  [[nodiscard]] ErrorCode RegisterMonitor(IStoreMonitor* monitor) override {
    return m_delegate.RegisterMonitor(monitor);
  }
  [[nodiscard]] ErrorCode UnregisterMonitor(IStoreMonitor* monitor) override {
    return m_delegate.UnregisterMonitor(monitor);
  }
  [[nodiscard]] ErrorCode OpenSubKey(Platform::HKEY rootKey, const char16_t* subKey, Platform::HKEY* result) override {
    return m_delegate.OpenSubKey(rootKey, subKey, result);
  }

  // The delegate, for the backend's own classes (values reach their store's key through it).
  CStoreDelegate& Delegate() { return m_delegate; }

protected:
  CRegistryStoreT() : m_delegate(static_cast<IStore*>(this), &this->m_pathHelper) {
    this->RegisterInterfaceBase(IID_IRegistryStore, static_cast<IRegistryStore*>(this));
  }

  CStoreDelegate m_delegate;
  bool m_isOpen = false;
};

// A registry store under a parent store, on which it holds a reference for its whole life. Made by
// the parent's OpenStore, released by its client; Release on the last reference closes it.
class CStore : public CRegistryStoreT<CStoreBase> {
public:
  // Adds a reference on `parent`.
  explicit CStore(IStore* parent);
  ~CStore() override;

  IStorageSystem* GetStorageSystem() override { return m_parent->GetStorageSystem(); }
  IStore* GetParent() override { return m_parent; }
  // `parameters` is a StoreParameters. PrepareAccessMask, the key, then the name and path; on
  // failure nothing stays open.
  [[nodiscard]] ErrorCode Open(const void* parameters, std::uint32_t flags) override;
  void Close() override;

private:
  IStore* const m_parent;
};

}  // namespace StorageSystem::Registry
