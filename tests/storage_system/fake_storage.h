// Stand-ins for a storage system and its items, for the parts of the storage layer that need only
// the interfaces: a properties object with chosen capabilities and separator, a root that answers
// for IStorageSystem, and items with a chosen parent, flags, name and path.
#pragma once

#include <cstdint>
#include <string>

#include "foundation/extensible.h"
#include "storage_system/heap_allocator.h"
#include "storage_system/interface_ids.h"
#include "storage_system/storage_system.h"

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::IProperties> = "FakeProperties";

namespace Testing {

class FakeProperties : public Common::CExtensible<StorageSystem::IProperties> {
public:
  FakeProperties() {
    RegisterInterfaceBase(StorageSystem::IID_IProperties, static_cast<StorageSystem::IProperties*>(this));
  }
  std::uint32_t GetCapabilities() override { return capabilities; }
  StorageSystem::IAllocator* GetAllocator() override { return StorageSystem::GetProcessAllocator(); }
  StorageSystem::ILock* GetLock() override { return nullptr; }
  ErrorCode EnumTypes(StorageSystem::IEnumTarget*) override { return ErrorNone; }
  std::uint32_t GetTypeMatchFlags() override { return 125; }
  char16_t GetSeparator() override { return separator; }

  std::uint32_t capabilities = 13;
  char16_t separator = u'\\';
};

// A root: the storage system itself, with a fixed flags word.
class FakeStorageSystem : public Common::CExtensible<StorageSystem::IStorageSystem> {
public:
  FakeStorageSystem() {
    RegisterInterfaceBase(StorageSystem::IID_IStorageItem, static_cast<StorageSystem::IStorageItem*>(this));
    RegisterInterfaceBase(StorageSystem::IID_IStorageSystem, static_cast<StorageSystem::IStorageSystem*>(this));
  }
  std::uint32_t AddRef() override { return 1; }
  std::uint32_t Release() override { return 1; }
  StorageSystem::IStorageSystem* GetStorageSystem() override { return this; }
  StorageSystem::IStore* GetParent() override { return nullptr; }
  std::uint32_t GetFlags() override { return flags; }
  const char16_t* GetName() override { return u"/"; }
  const char16_t* GetPath() override { return nullptr; }
  ErrorCode QueryAllocAbsolutePath(char16_t**) override { return ErrorNotImplemented; }
  ErrorCode EnumStores(StorageSystem::IEnumTarget*) override { return ErrorNone; }
  ErrorCode OpenStore(const char16_t*, StorageSystem::IStore**, std::uint32_t) override { return ErrorNotImplemented; }
  ErrorCode DeleteStore(const char16_t*) override { return ErrorNotImplemented; }
  ErrorCode EnumValues(StorageSystem::IEnumTarget*) override { return ErrorNone; }
  ErrorCode OpenValue(const char16_t*, StorageSystem::Registry::IRegistryValue**, std::uint32_t,
                      const ITypeDescription*, const void*, std::uint32_t) override {
    return ErrorNotImplemented;
  }
  ErrorCode DeleteValue(const char16_t*) override { return ErrorNotImplemented; }
  bool IsEmpty() override { return true; }
  ErrorCode RegisterMonitor(StorageSystem::IStoreMonitor*) override { return ErrorNotImplemented; }
  ErrorCode UnregisterMonitor(StorageSystem::IStoreMonitor*) override { return ErrorNotImplemented; }
  StorageSystem::IProperties* GetProperties() override { return &properties; }
  ErrorCode Open(const void*, std::uint32_t) override { return ErrorNone; }
  void Close() override {}

  FakeProperties properties;
  std::uint32_t flags = 0;
};

// A store or a value under a parent store; it answers for IStore only when `isStore`.
class FakeItem : public Common::CExtensible<StorageSystem::IStore> {
public:
  FakeItem(StorageSystem::IStorageSystem* root, StorageSystem::IStore* parent, bool isStore)
      : m_root(root), m_parent(parent) {
    RegisterInterfaceBase(StorageSystem::IID_IStorageItem, static_cast<StorageSystem::IStorageItem*>(this));
    if (isStore) RegisterInterfaceBase(StorageSystem::IID_IStore, static_cast<StorageSystem::IStore*>(this));
  }
  std::uint32_t AddRef() override { return 1; }
  std::uint32_t Release() override { return 1; }
  StorageSystem::IStorageSystem* GetStorageSystem() override { return m_root; }
  StorageSystem::IStore* GetParent() override { return m_parent; }
  std::uint32_t GetFlags() override { return flags; }
  const char16_t* GetName() override { return name.empty() ? nullptr : name.c_str(); }
  const char16_t* GetPath() override { return path.empty() ? nullptr : path.c_str(); }
  ErrorCode QueryAllocAbsolutePath(char16_t**) override { return ErrorNotImplemented; }
  ErrorCode EnumStores(StorageSystem::IEnumTarget*) override { return ErrorNone; }
  ErrorCode OpenStore(const char16_t*, StorageSystem::IStore**, std::uint32_t) override { return ErrorNotImplemented; }
  ErrorCode DeleteStore(const char16_t*) override { return ErrorNotImplemented; }
  ErrorCode EnumValues(StorageSystem::IEnumTarget*) override { return ErrorNone; }
  ErrorCode OpenValue(const char16_t*, StorageSystem::Registry::IRegistryValue**, std::uint32_t,
                      const ITypeDescription*, const void*, std::uint32_t) override {
    return ErrorNotImplemented;
  }
  ErrorCode DeleteValue(const char16_t*) override { return ErrorNotImplemented; }
  bool IsEmpty() override { return true; }
  ErrorCode RegisterMonitor(StorageSystem::IStoreMonitor*) override { return ErrorNotImplemented; }
  ErrorCode UnregisterMonitor(StorageSystem::IStoreMonitor*) override { return ErrorNotImplemented; }
  ErrorCode Open(const void*, std::uint32_t) override { return ErrorNone; }
  void Close() override {}

  std::uint32_t flags = 0;
  std::u16string name;
  std::u16string path;

private:
  StorageSystem::IStorageSystem* m_root;
  StorageSystem::IStore* m_parent;
};

}  // namespace Testing
