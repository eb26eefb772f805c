// DataSystem::ProductDesc: the identity of a product, which names the registry tree where the
// product keeps its settings.
#pragma once

#include <cstdint>
#include <string>

namespace DataSystem {

struct ProductDesc {
  // The first path element of the product's storage.
  std::u16string company;
  // The second path element.
  std::u16string product;
  std::u16string versionMajor;
  std::u16string versionMinor;
  // Suffix bits of the storage path (ProductStorageSystem::ProductPathFlags); 0 in every record
  // this library makes.
  std::uint64_t pathFlags = 0;
};

// The record of the product when nothing else is known: "Quillon", "Velorin", version "1" "5", no
// path flags. Throws std::bad_alloc.
inline ProductDesc DefaultProductDesc() { return ProductDesc{u"Quillon", u"Velorin", u"1", u"5", 0}; }

}  // namespace DataSystem
