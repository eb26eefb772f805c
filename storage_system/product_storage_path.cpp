#include "storage_system/product_storage_path.h"

namespace ProductStorageSystem {

std::u16string BuildProductStoragePath(const DataSystem::ProductDesc& desc) {
  std::u16string suffix;
  if ((desc.pathFlags & PathFlagSuffix) != 0) {
    std::u16string minor;
    if ((desc.pathFlags & PathFlagMinorVersion) != 0) minor = u"." + desc.versionMinor;
    if ((desc.pathFlags & PathFlagSeparatorOnly) != 0) {
      suffix = u"\\";
    } else {
      suffix = u"_" + desc.versionMajor + minor;
    }
  }
  return u"Software\\" + desc.company + u"\\" + desc.product + suffix;
}

}  // namespace ProductStorageSystem
