#include "tests/data_system/faulty_storage.h"

#include <memory>

#include "storage_system/interface_ids.h"
#include "storage_system/storage_system.h"

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<StorageSystem::IProperties> =
    "Testing::MaskedProperties::RegisterInterfaceBase";

namespace Testing {

namespace {

std::u16string LeafName(const char16_t* path) {
  std::u16string text = path != nullptr ? path : u"";
  std::size_t slash = text.rfind(u'/');
  return slash == std::u16string::npos ? text : text.substr(slash + 1);
}

// A value that passes everything on, but fails its reads while the faults say so.
class FaultyValue : public Common::CExtensible<StorageSystem::Registry::IRegistryValue> {
public:
  FaultyValue(StorageSystem::Registry::IRegistryValue* inner, StorageFaults& faults, std::u16string name)
      : m_inner(inner), m_faults(faults), m_name(std::move(name)) {
    RegisterInterfaceBase(StorageSystem::IID_IStorageItem, static_cast<StorageSystem::IStorageItem*>(this));
    RegisterInterfaceBase(StorageSystem::Registry::IID_IRegistryValue,
                          static_cast<StorageSystem::Registry::IRegistryValue*>(this));
  }
  ~FaultyValue() override { m_inner->Release(); }

  std::uint32_t AddRef() override { return ++m_count; }
  std::uint32_t Release() override {
    std::uint32_t count = --m_count;
    if (count == 0) delete this;
    return count;
  }
  StorageSystem::IStorageSystem* GetStorageSystem() override { return m_inner->GetStorageSystem(); }
  StorageSystem::IStore* GetParent() override { return m_inner->GetParent(); }
  std::uint32_t GetFlags() override { return m_inner->GetFlags(); }
  const char16_t* GetName() override { return m_inner->GetName(); }
  const char16_t* GetPath() override { return m_inner->GetPath(); }
  ErrorCode QueryAllocAbsolutePath(char16_t** path) override { return m_inner->QueryAllocAbsolutePath(path); }
  const ITypeDescription* GetDataType() override { return m_inner->GetDataType(); }
  bool MatchType(const ITypeDescription* type) override { return m_inner->MatchType(type); }
  const ITypeDescription* GetNativeType() override { return m_inner->GetNativeType(); }
  ErrorCode Read(void* destination, std::uint32_t capacity) override {
    if (ReadFails()) return RaiseError("Testing::FaultyValue::Read", ErrorCannotRead, nullptr);
    return m_inner->Read(destination, capacity);
  }
  ErrorCode ReadRealloc(void** buffer, std::uint32_t* capacity, std::uint32_t* size) override {
    if (ReadFails()) return RaiseError("Testing::FaultyValue::ReadRealloc", ErrorCannotRead, nullptr);
    return m_inner->ReadRealloc(buffer, capacity, size);
  }
  ErrorCode Write(const void* data, std::uint32_t size) override { return m_inner->Write(data, size); }
  ErrorCode Initialize(const StorageSystem::Registry::ValueParameters* parameters, std::uint32_t flags) override {
    return m_inner->Initialize(parameters, flags);
  }
  void Uninitialize() override { m_inner->Uninitialize(); }

private:
  bool ReadFails() {
    std::lock_guard<std::mutex> guard(m_faults.mutex);
    ++m_faults.reads[m_name];
    if (m_name != m_faults.failReadOf || m_faults.readFailuresLeft == 0) return false;
    --m_faults.readFailuresLeft;
    return true;
  }

  StorageSystem::Registry::IRegistryValue* m_inner;
  StorageFaults& m_faults;
  std::u16string m_name;
  std::atomic<std::uint32_t> m_count{1};
};

// Properties that pass everything on but answer with fewer capabilities.
class MaskedProperties : public Common::CExtensible<StorageSystem::IProperties> {
public:
  MaskedProperties(StorageSystem::IProperties* inner, std::uint32_t masked) : m_inner(inner), m_masked(masked) {
    RegisterInterfaceBase(StorageSystem::IID_IProperties, static_cast<StorageSystem::IProperties*>(this));
  }
  std::uint32_t GetCapabilities() override { return m_inner->GetCapabilities() & ~m_masked; }
  StorageSystem::IAllocator* GetAllocator() override { return m_inner->GetAllocator(); }
  StorageSystem::ILock* GetLock() override { return m_inner->GetLock(); }
  ErrorCode EnumTypes(StorageSystem::IEnumTarget* target) override { return m_inner->EnumTypes(target); }
  std::uint32_t GetTypeMatchFlags() override { return m_inner->GetTypeMatchFlags(); }
  char16_t GetSeparator() override { return m_inner->GetSeparator(); }

private:
  StorageSystem::IProperties* m_inner;
  std::uint32_t m_masked;
};

// The one operation the data system asks of a storage system is its properties; this stand-in
// answers with masked ones and is never counted or opened.
class MaskedStorageSystem : public Common::CExtensible<StorageSystem::IStorageSystem> {
public:
  MaskedStorageSystem(StorageSystem::IStorageSystem* inner, std::uint32_t masked)
      : m_inner(inner), m_properties(inner->GetProperties(), masked) {}
  std::uint32_t AddRef() override { return 1; }
  std::uint32_t Release() override { return 1; }
  StorageSystem::IStorageSystem* GetStorageSystem() override { return this; }
  StorageSystem::IStore* GetParent() override { return nullptr; }
  std::uint32_t GetFlags() override { return m_inner->GetFlags(); }
  const char16_t* GetName() override { return m_inner->GetName(); }
  const char16_t* GetPath() override { return m_inner->GetPath(); }
  ErrorCode QueryAllocAbsolutePath(char16_t** path) override { return m_inner->QueryAllocAbsolutePath(path); }
  ErrorCode EnumStores(StorageSystem::IEnumTarget* target) override { return m_inner->EnumStores(target); }
  ErrorCode OpenStore(const char16_t* path, StorageSystem::IStore** result, std::uint32_t flags) override {
    return m_inner->OpenStore(path, result, flags);
  }
  ErrorCode DeleteStore(const char16_t* path) override { return m_inner->DeleteStore(path); }
  ErrorCode EnumValues(StorageSystem::IEnumTarget* target) override { return m_inner->EnumValues(target); }
  ErrorCode OpenValue(const char16_t* path, StorageSystem::Registry::IRegistryValue** result, std::uint32_t flags,
                      const ITypeDescription* type, const void* defaultData, std::uint32_t defaultSize) override {
    return m_inner->OpenValue(path, result, flags, type, defaultData, defaultSize);
  }
  ErrorCode DeleteValue(const char16_t* path) override { return m_inner->DeleteValue(path); }
  bool IsEmpty() override { return m_inner->IsEmpty(); }
  ErrorCode RegisterMonitor(StorageSystem::IStoreMonitor* monitor) override {
    return m_inner->RegisterMonitor(monitor);
  }
  ErrorCode UnregisterMonitor(StorageSystem::IStoreMonitor* monitor) override {
    return m_inner->UnregisterMonitor(monitor);
  }
  StorageSystem::IProperties* GetProperties() override { return &m_properties; }
  ErrorCode Open(const void* parameters, std::uint32_t flags) override { return m_inner->Open(parameters, flags); }
  void Close() override { m_inner->Close(); }

private:
  StorageSystem::IStorageSystem* m_inner;
  MaskedProperties m_properties;
};

}  // namespace

StorageSystem::IStorageSystem* FaultyStore::GetStorageSystem() {
  if (m_faults.maskedCapabilities == 0) return m_inner->GetStorageSystem();
  std::lock_guard<std::mutex> guard(m_faults.mutex);
  if (!m_faults.maskedStorageSystem) {
    m_faults.maskedStorageSystem.reset(
        new MaskedStorageSystem(m_inner->GetStorageSystem(), m_faults.maskedCapabilities));
  }
  return m_faults.maskedStorageSystem.get();
}

FaultyStore::FaultyStore(StorageSystem::IStore* inner, StorageFaults& faults) : m_inner(inner), m_faults(faults) {
  RegisterInterfaceBase(StorageSystem::IID_IStorageItem, static_cast<StorageSystem::IStorageItem*>(this));
  RegisterInterfaceBase(StorageSystem::IID_IStore, static_cast<StorageSystem::IStore*>(this));
}

FaultyStore::~FaultyStore() { m_inner->Release(); }

std::uint32_t FaultyStore::AddRef() { return ++m_count; }

std::uint32_t FaultyStore::Release() {
  std::uint32_t count = --m_count;
  if (count == 0) delete this;
  return count;
}

ErrorCode FaultyStore::OpenStore(const char16_t* path, StorageSystem::IStore** result, std::uint32_t flags) {
  StorageSystem::IStore* inner = nullptr;
  ErrorCode status = m_inner->OpenStore(path, &inner, flags);
  if (status != ErrorNone) return status;
  *result = new FaultyStore(inner, m_faults);
  return ErrorNone;
}

ErrorCode FaultyStore::OpenValue(const char16_t* path, StorageSystem::Registry::IRegistryValue** result,
                                 std::uint32_t flags, const ITypeDescription* type, const void* defaultData,
                                 std::uint32_t defaultSize) {
  std::u16string name = LeafName(path);
  {
    std::lock_guard<std::mutex> guard(m_faults.mutex);
    ++m_faults.opens[name];
    if (name == m_faults.failOpenValue) return RaiseError("Testing::FaultyStore::OpenValue", ErrorCannotOpen, nullptr);
  }
  StorageSystem::Registry::IRegistryValue* inner = nullptr;
  ErrorCode status = m_inner->OpenValue(path, &inner, flags, type, defaultData, defaultSize);
  if (status != ErrorNone) return status;
  *result = new FaultyValue(inner, m_faults, std::move(name));
  return ErrorNone;
}

}  // namespace Testing
