#include "storage_system/registry/storage_system.h"

#include <new>

#include "foundation/log.h"
#include "platform/com_ptr.h"
#include "storage_system/prepare_access_mask.h"
#include "storage_system/storage_flags.h"

namespace StorageSystem::Registry {

CStorageSystem::~CStorageSystem() {
  if (m_isOpen) {
    m_isOpen = false;
    m_delegate.Close();
  }
  if (m_releaseHandler != nullptr) {
    m_releaseHandler->OnFinalRelease(static_cast<Common::IExtensible*>(static_cast<IStorageSystem*>(this)));
  }
}

ErrorCode CStorageSystem::Open(const void* parameters, std::uint32_t flags) {
  const auto& open = *static_cast<const StorageSystemParameters*>(parameters);
  m_properties.Configure(open);
  if (ErrorCode code = PrepareAccessMask(static_cast<IStorageSystem*>(this), &flags); code != ErrorNone) return code;
  if (ErrorCode code = m_delegate.Open(open.key, open.path, flags); code != ErrorNone) return code;
  if (ErrorCode code = m_properties.SetPath(open); code != ErrorNone) {
    m_delegate.Close();
    return code;
  }
  m_isOpen = true;
  return ErrorNone;
}

void CStorageSystem::Close() {
  m_isOpen = false;
  m_delegate.Close();
  m_properties.ResetPath();
}

ErrorCode OpenStorageSystem(const StorageSystemParameters& parameters, IStorageSystem** result, std::uint32_t flags,
                            IReleaseHandler* releaseHandler, bool applySecurity) {
  StorageSystemParameters open = parameters;
  if ((flags & SF_FLOAT_AS_STRING) != 0) {
    open.optionFlags |= kOptionFloatAsString;
    LogWrite(LogLevelInfo, kLogTag, u"Note: floating-point values will be stored as strings in the registry");
  }

  Platform::ComPtr<CStorageSystem> storageSystem(new (std::nothrow) CStorageSystem());
  if (!storageSystem) return RaiseError("StorageSystem::Registry::OpenStorageSystem", ErrorOutOfMemory, nullptr);
  if (ErrorCode code = storageSystem->Open(&open, flags); code != ErrorNone) return code;

  if (applySecurity) {
    // Security information 32, as the product has always passed it.
    Platform::RegSetKeySecurity(
        open.key, 32, open.securityAttributes != nullptr ? open.securityAttributes->lpSecurityDescriptor : nullptr);
  }
  storageSystem->SetReleaseHandler(releaseHandler);
  *result = storageSystem.Detach();
  return ErrorNone;
}

}  // namespace StorageSystem::Registry
