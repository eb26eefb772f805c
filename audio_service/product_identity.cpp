#include "audio_service/product_identity.h"

#include <exception>
#include <string>
#include <vector>

#include "audio_service/product_info.h"
#include "platform/shell_string.h"
#include "storage_system/product_storage_system.h"
#include "storage_system/shared_storage_system_handler.h"
#include "storage_system/storage_flags.h"

using namespace Platform;

namespace {

constexpr const char16_t* kCohabitationKey = u"SOFTWARE\\Velorin";
constexpr const char16_t* kCohabitationValue = u"ProductCohabitation";
constexpr const char16_t* kAppIsReadyValue = u"AppIsReady";
// Read in the 64-bit view of the registry.
constexpr REGSAM kReadAccess = Platform::kKeyRead64;
constexpr const char16_t* kDefaultProductName = u"VelorinV3";

// Bits of the data system's flag word that choose the storage.
constexpr std::uint32_t kReadOnlyDataSystem = 0x1;
constexpr std::uint32_t kFloatAsStringDataSystem = 0x400;
constexpr std::uint32_t kSharedStorageDataSystem = 0x1000;
constexpr std::uint32_t kPerUserDataSystem = 0x2000;

// Reads a 32-bit value of `key`; false when it cannot be read.
bool ReadNumber(HKEY key, const char16_t* name, DWORD& value) {
  DWORD size = sizeof(value);
  return RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size) == ERROR_SUCCESS;
}

// "ProductCohabitation" of the open root key, 0 when it cannot be read.
DWORD CohabitationOf(HKEY root) {
  DWORD cohabitation = 0;
  static_cast<void>(ReadNumber(root, kCohabitationValue, cohabitation));
  return cohabitation;
}

bool EqualsIgnoringCase(const std::u16string& text, const char16_t* other) {
  std::u16string a = text;
  std::u16string b = other;
  CharUpperW(a.data());
  CharUpperW(b.data());
  return a == b;
}

// The storage flags with which the product's tree is opened for a data system of `flags`.
// TODO(#15): the data system's own computation from its root model replaces this when the data
// system and the routing schema land.
std::uint32_t StorageAccessMask(std::uint32_t flags) {
  using namespace StorageSystem;
  std::uint32_t mask =
      (flags & kReadOnlyDataSystem) != 0 ? SF_READ : SF_READ | SF_WRITE | SF_CREATE | SF_RESET_ON_TYPE_MISMATCH;
  if ((flags & kFloatAsStringDataSystem) != 0) mask |= SF_FLOAT_AS_STRING;
  return mask;
}

}  // namespace

bool IsCohabitingProductReady(const DataSystem::ProductDesc& desc) {
  // DELIBERATE: none of the keys opened here is closed.
  HKEY root = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kCohabitationKey, 0, kReadAccess, &root) != ERROR_SUCCESS) return false;
  if (CohabitationOf(root) < 2) return false;
  DWORD subkeys = 0;
  DWORD longestName = 0;
  if (RegQueryInfoKeyW(root, nullptr, nullptr, nullptr, &subkeys, &longestName, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr) != ERROR_SUCCESS) {
    return false;
  }
  std::vector<char16_t> name(longestName + 1);
  for (DWORD index = 0; index < subkeys; ++index) {
    if (RegEnumKeyW(root, index, name.data(), static_cast<DWORD>(name.size())) != ERROR_SUCCESS) continue;
    HKEY subkey = nullptr;
    if (RegOpenKeyExW(root, name.data(), 0, kReadAccess, &subkey) != ERROR_SUCCESS) continue;
    HKEY productKey = nullptr;
    if (RegOpenKeyExW(subkey, desc.product.c_str(), 0, kReadAccess, &productKey) != ERROR_SUCCESS) continue;
    DWORD ready = 0;
    if (!ReadNumber(productKey, kAppIsReadyValue, ready)) continue;
    // The first product that answers decides, whatever it answers.
    return ready == 1;
  }
  return false;
}

DataSystem::ProductDesc ResolveProductDesc(DataSystem::ProductDesc desc) {
  if (IsCohabitingProductReady(desc)) {
    if (!desc.company.empty()) return desc;
    DataSystem::ProductDesc fromLibrary = DataSystem::DefaultProductDesc();
    static_cast<void>(DataSystem::GetProductDesc(fromLibrary));
    return fromLibrary;
  }
  DataSystem::ProductDesc fromLibrary = DataSystem::DefaultProductDesc();
  static_cast<void>(DataSystem::GetProductDesc(fromLibrary));
  // The company that the library gave is dropped; its versions stay.
  Quillon::ProductInfoText product = Quillon::GetProductInfo(kProductNameProperty, kDefaultProductName);
  return DataSystem::ProductDesc{u"Velorin", std::move(product.text), std::move(fromLibrary.versionMajor),
                                 std::move(fromLibrary.versionMinor), 0};
}

DataSystem::ProductDesc ChooseStorageProduct(const DataSystem::ProductDesc& desc) {
  HKEY root = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kCohabitationKey, 0, kReadAccess, &root) == ERROR_SUCCESS) {
    const DWORD cohabitation = CohabitationOf(root);
    RegCloseKey(root);
    if (cohabitation >= 2) return desc;
  }
  if (EqualsIgnoringCase(desc.company, u"Quillon") && EqualsIgnoringCase(desc.product, u"Velorin")) return desc;
  return DataSystem::ProductDesc{u"Velorin", u"VelorinV3", desc.versionMajor, desc.versionMinor, desc.pathFlags};
}

ErrorCode OpenProductStorage(StorageSystem::IStorageSystem** storage, std::uint32_t flags,
                             const SECURITY_ATTRIBUTES* attributes, const DataSystem::ProductDesc& desc) {
  // The caller has put the flags through the friendly storage switch and builds the routing data
  // system on what opens here (CreateDeviceRoutingDataSystem).
  try {
    const DataSystem::ProductDesc product = ChooseStorageProduct(desc);
    const std::uint32_t mask = StorageAccessMask(flags);
    const std::int32_t rootSelector =
        (flags & kPerUserDataSystem) != 0 ? 0 : ProductStorageSystem::kMachineRootSelector;
    if ((flags & kSharedStorageDataSystem) != 0) {
      if (attributes != nullptr) return RaiseError("OpenProductStorage", ErrorInvalidOperation, nullptr);
      return ProductStorageSystem::QuerySharedStorageSystem(rootSelector, storage, product, mask);
    }
    return ProductStorageSystem::OpenProductStorageSystem(rootSelector, storage, product, mask, nullptr, attributes,
                                                          false);
  } catch (const std::exception& e) {
    return RaiseStlException("OpenProductStorage", e.what());
  }
}
