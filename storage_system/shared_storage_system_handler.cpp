#include "storage_system/shared_storage_system_handler.h"

#include <exception>

#include "foundation/log.h"
#include "platform/com_ptr.h"
#include "storage_system/interface_ids.h"
#include "storage_system/product_storage_system.h"

namespace ProductStorageSystem {

CSharedStorageSystemHandler::CSharedStorageSystemHandler() {
  Platform::InitializeCriticalSectionAndSpinCount(&m_lock, 0);
}

CSharedStorageSystemHandler::~CSharedStorageSystemHandler() { Platform::DeleteCriticalSection(&m_lock); }

CSharedStorageSystemHandler::Record CSharedStorageSystemHandler::NewRecord() {
  const DataSystem::ProductDesc defaults = DataSystem::DefaultProductDesc();
  Record record;
  record.company = defaults.company;
  record.product = defaults.product;
  record.versionMajor = defaults.versionMajor;
  record.versionMinor = defaults.versionMinor;
  return record;
}

bool CSharedStorageSystemHandler::Matches(const Record& record, std::int32_t rootSelector, std::uint32_t flags,
                                          const DataSystem::ProductDesc& desc) {
  return record.rootSelector == rootSelector && record.flags == flags && record.company == desc.company &&
         record.product == desc.product && record.versionMajor == desc.versionMajor &&
         record.versionMinor == desc.versionMinor;
}

void CSharedStorageSystemHandler::OnFinalRelease(Common::IExtensible* storageSystem) {
  Platform::CriticalSectionGuard guard(&m_lock);
  auto* key =
      static_cast<StorageSystem::IStorageSystem*>(storageSystem->GetInterface(&StorageSystem::IID_IStorageSystem));
  LogWrite(LogLevelInfo, kLogTag, u"Final release on the product StorageSystem, resetting shared pointer");
  m_storageSystems.erase(key);
}

ErrorCode CSharedStorageSystemHandler::QueryStorageSystem(std::int32_t rootSelector, std::uint32_t flags,
                                                          const DataSystem::ProductDesc& desc,
                                                          StorageSystem::IStorageSystem** result) {
  Platform::CriticalSectionGuard guard(&m_lock);
  for (const auto& [storageSystem, record] : m_storageSystems) {
    if (Matches(record, rootSelector, flags, desc)) {
      // A storage system whose count has reached 0 stays here until its final release has run;
      // a query in between finds it, and nothing guards against that.
      storageSystem->AddRef();
      *result = storageSystem;
      return ErrorNone;
    }
  }
  Platform::ComPtr<StorageSystem::IStorageSystem> opened;
  if (ErrorCode code = OpenProductStorageSystem(rootSelector, opened.Put(), desc, flags, this, nullptr, false);
      code != ErrorNone) {
    return code;
  }
  try {
    Record& record = m_storageSystems.emplace(opened.Get(), NewRecord()).first->second;
    record.rootSelector = rootSelector;
    record.flags = flags;
    record.company = desc.company;
    record.product = desc.product;
    record.versionMajor = desc.versionMajor;
    record.versionMinor = desc.versionMinor;
    record.pathFlags = desc.pathFlags;
  } catch (const std::exception& e) {
    return RaiseError("ProductStorageSystem::CSharedStorageSystemHandler::QueryStorageSystem", ErrorStlException,
                      u"STL exception: %S", e.what());
  }
  *result = opened.Detach();
  return ErrorNone;
}

std::size_t CSharedStorageSystemHandler::GetEntryCount() {
  Platform::CriticalSectionGuard guard(&m_lock);
  return m_storageSystems.size();
}

ErrorCode QuerySharedStorageSystem(std::int32_t rootSelector, StorageSystem::IStorageSystem** result,
                                   const DataSystem::ProductDesc& desc, std::uint32_t flags) {
  static CSharedStorageSystemHandler handler;
  return handler.QueryStorageSystem(rootSelector, flags, desc, result);
}

}  // namespace ProductStorageSystem
