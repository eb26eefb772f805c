// Names of the composed descriptions: pointers and arrays print through their pointee's or
// element's AppendTo.
#include "foundation/type_categories.h"

#include "foundation/format.h"

const char16_t* CPointerTypeDescription::DecorateName(const char16_t* baseName) const {
  m_pointee->AppendTo(baseName, NameBuffer(), kTypeNameCapacity, true);
  return NameBuffer();
}

CArrayTypeDescription::CArrayTypeDescription(const ITypeDescription* element, std::uint32_t count,
                                             const ITypeDescription* decayed)
    : CTypeDescription(0x21000400, 0x00000398), m_element(element), m_count(count), m_decayed(decayed) {
  if (count == 0) {
    FormatBounded(m_ownName, sizeof m_ownName / sizeof m_ownName[0], u"[]");
  } else {
    FormatBounded(m_ownName, sizeof m_ownName / sizeof m_ownName[0], u"[%u]", count);
  }
}

const char16_t* CArrayTypeDescription::DecorateName(const char16_t* baseName) const {
  m_element->AppendTo(baseName, NameBuffer(), kTypeNameCapacity, false);
  return NameBuffer();
}
