#include "tests/data_system/faulty_storage.h"

#include "foundation/interface_ids.h"

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

}  // namespace

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
