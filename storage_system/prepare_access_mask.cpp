#include "storage_system/prepare_access_mask.h"

#include "storage_system/interface_ids.h"
#include "storage_system/storage_flags.h"
#include "storage_system/storage_system.h"

namespace StorageSystem {

ErrorCode PrepareAccessMask(IStorageItem* item, std::uint32_t* flags) {
  static constexpr const char* kName = "StorageSystem::PrepareAccessMask";
  IStore* parent = item->GetParent();
  if ((*flags & SF_INHERIT) != 0) {
    if (parent == nullptr) return RaiseError(kName, ErrorInvalidParameter, nullptr);
    *flags |= parent->GetFlags();
  }

  IStorageSystem* storageSystem = parent != nullptr
                                      ? parent->GetStorageSystem()
                                      : static_cast<IStorageSystem*>(item->GetInterface(&IID_IStorageSystem));
  const std::uint32_t capabilities = storageSystem->GetProperties()->GetCapabilities();

  if ((*flags & SF_VOLATILE) != 0) {
    if ((capabilities & StorageCapabilityVolatile) == 0) {
      return RaiseError(kName, ErrorNotSupported, u"Volatiles stores are not supported");
    }
  } else {
    if ((capabilities & StorageCapabilityPersistent) == 0) {
      return RaiseError(kName, ErrorNotSupported, u"Persistent stores are not supported");
    }
    if (parent != nullptr && (parent->GetFlags() & SF_VOLATILE) != 0) {
      return RaiseError(kName, ErrorInvalidParameter, u"Cannot create non volatile item in a volatile store");
    }
  }

  if ((*flags & SF_CREATE) != 0) *flags |= SF_WRITE;
  return ErrorNone;
}

}  // namespace StorageSystem
