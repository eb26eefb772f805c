#include "audio_service/product_info.h"

#include <exception>

#include "audio_service/product_library_cache.h"
#include "platform/com.h"
#include "platform/module.h"
#include "platform/prop_variant.h"

using namespace Platform;

namespace {

using TextExport = const char16_t* (*)();
using ProductInfoExport = HRESULT (*)(const PROPERTYKEY* key, DWORD flags, PROPVARIANT* value);

constexpr const char16_t* kCompanyUnknown = u"COMPANY_NAME_UNKNOWN";
constexpr const char16_t* kProductUnknown = u"PRODUCT_NAME_UNKNOWN";
constexpr const char16_t* kMajorUnknown = u"PRODUCT_VERSION_MAJOR_UNKNOWN";
constexpr const char16_t* kMinorUnknown = u"PRODUCT_VERSION_MINOR_UNKNOWN";

// DELIBERATE: compiler-made lambda names as report labels, the names under which these failures
// have always been reported, so that searches of the log keep finding them.
constexpr const char* kWrongTypeName =
    "Quillon::GetProductInfo::<lambda_8d7fd92c3cfc436300b86d54bc0558e7>::operator ()";
constexpr const char* kFailedCallName =
    "Quillon::GetProductInfoT::<lambda_537042dc0381da82ad019bbd547556e2>::operator ()";

constexpr HRESULT E_BOUNDS = static_cast<HRESULT>(0x8000000Bu);

FARPROC FindExport(const char* name) {
  HMODULE library = CProductLibraryCache::Instance().Load(kProductInfoLibrary);
  return library != nullptr ? GetProcAddress(library, name) : nullptr;
}

// The text of a text export, or `fallback` when the library or the export is missing. A null
// answer reads as empty.
std::u16string FetchText(const char* exportName, const char16_t* fallback) {
  auto function = reinterpret_cast<TextExport>(FindExport(exportName));
  if (function == nullptr) return fallback;
  const char16_t* text = function();
  return text != nullptr ? std::u16string(text) : std::u16string();
}

}  // namespace

namespace DataSystem {

ErrorCode GetProductDesc(ProductDesc& desc) {
  try {
    std::u16string company = FetchText("GetCompanyNameDll", kCompanyUnknown);
    std::u16string product = FetchText("GetProductNameDll", kProductUnknown);
    if (company.empty() || company == kCompanyUnknown || product.empty() || product == kProductUnknown) {
      return RaiseError("DataSystem::GetProductDesc", ErrorNotFound, u"Product infos not found");
    }
    std::u16string major = FetchText("GetProductVersionMajorDll", kMajorUnknown);
    std::u16string minor = FetchText("GetProductVersionMinorDll", kMinorUnknown);
    desc = ProductDesc{std::move(company), std::move(product), std::move(major), std::move(minor), 0};
    return ErrorNone;
  } catch (const std::exception& e) {
    return RaiseStlException("DataSystem::GetProductDesc", e.what());
  }
}

}  // namespace DataSystem

namespace Quillon {

ProductInfoText GetProductInfo(const Common::GUID& key, const char16_t* fallback) {
  const PROPERTYKEY propertyKey{key, 0};
  PROPVARIANT value{};
  auto function = reinterpret_cast<ProductInfoExport>(FindExport("GetQuillonProductInfo"));
  const HRESULT result = function != nullptr ? function(&propertyKey, 0, &value) : E_FAIL;
  ProductInfoText answer{fallback, ErrorNone};
  if (SUCCEEDED(result)) {
    if (value.vt == VT_LPWSTR) {
      answer.text = value.pwszVal != nullptr ? value.pwszVal : u"";
    } else {
      answer.status = RaiseError(kWrongTypeName, ErrorInvalidParameter, nullptr);
    }
  } else if (result == E_BOUNDS) {
    answer.status = RaiseError(kFailedCallName, ErrorOutOfBounds, nullptr);
  } else if (result == E_NOTIMPL) {
    answer.status = ErrorNotImplemented;
  } else if (result == E_INVALIDARG) {
    answer.status = RaiseError(kFailedCallName, ErrorInvalidParameter, nullptr);
  } else {
    answer.status = RaiseError(kFailedCallName, ErrorSystem, nullptr);
  }
  PropVariantClear(&value);
  return answer;
}

}  // namespace Quillon
