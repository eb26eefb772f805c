#include "data_system/access_flags.h"

#include "data_system/flags.h"
#include "storage_system/storage_flags.h"

namespace DataSystem {

using namespace StorageSystem;

namespace {
constexpr std::uint32_t kReadWriteCreate = SF_READ | SF_WRITE | SF_CREATE | SF_RESET_ON_TYPE_MISMATCH;

std::uint32_t ModelStorageFlags(std::uint32_t modelFlags) {
  std::uint32_t flags = 0;
  if ((modelFlags & SM_VOLATILE) != 0) flags |= SF_VOLATILE;
  if ((modelFlags & SM_KEEP_OPEN) != 0) flags |= SF_KEEP_OPEN;
  return flags;
}
}  // namespace

std::uint32_t AccessMaskFromModel(std::uint32_t modelFlags, std::uint32_t dataSystemFlags) {
  std::uint32_t mask = 0;
  if ((modelFlags & SM_WRITE) != 0) {
    mask = kReadWriteCreate;
  } else if ((modelFlags & SM_READ) != 0) {
    mask = SF_READ;
  }
  mask |= ModelStorageFlags(modelFlags);
  if ((dataSystemFlags & DS_READ_ONLY) != 0) mask &= ~static_cast<std::uint32_t>(SF_WRITE | SF_CREATE);
  return mask;
}

std::uint32_t AccessFromFlags(IStoreModel* storeModel, std::uint32_t dataSystemFlags) {
  std::uint32_t access = (dataSystemFlags & DS_READ_ONLY) != 0 ? SF_READ : kReadWriteCreate;
  if ((dataSystemFlags & DS_FLOAT_AS_STRING) != 0) access |= SF_FLOAT_AS_STRING;
  return access | ModelStorageFlags(storeModel->GetFlags());
}

}  // namespace DataSystem
