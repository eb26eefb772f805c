// What "ProductInfo.dll", a library of the product's other files, says about the product.
//
// The library stands in this library's directory or above it (CProductLibraryCache). Its five
// exports are looked up by name at each use; a missing library or export gives the fallback of
// each. A machine without the library is a normal case.
#pragma once

#include <string>

#include "foundation/error.h"
#include "foundation/guid.h"
#include "storage_system/product_desc.h"

// The file name of the library.
inline constexpr const char16_t* kProductInfoLibrary = u"ProductInfo.dll";

namespace DataSystem {

// Fills `desc` wholly from the library: company, product name, both versions, path flags 0.
// Returns ErrorNone; or ErrorNotFound ("Product infos not found", reported under
// "DataSystem::GetProductDesc") when the company or the product is empty or the library's unknown
// text, with `desc` unchanged; or ErrorStlException. Versions are taken as they come, fallback texts
// included. The caller's thread.
[[nodiscard]] ErrorCode GetProductDesc(ProductDesc& desc);

}  // namespace DataSystem

namespace Quillon {

// A text of the library and how it was had.
struct ProductInfoText {
  std::u16string text;
  // 0 when the text came from the library; otherwise the code of the failure, and the text is the
  // fallback.
  ErrorCode status;
};

// Asks the library's "GetQuillonProductInfo" for the property `key` with property id 0. A string
// comes back as it is with status 0; anything else gives `fallback` with the status of the failure:
// 11 for a value that is not a string or an invalid argument, 10 for an out-of-bounds answer, 20
// for "not implemented" (the one status without a report), and for any other failure, a missing
// library among them, the report of the thread's last system error (2). Throws std::bad_alloc. The
// caller's thread.
ProductInfoText GetProductInfo(const Common::GUID& key, const char16_t* fallback);

}  // namespace Quillon
