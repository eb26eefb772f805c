#include "tools/halcyra-data/item_text.h"

#include <cstdint>

#include "data_system/interface_ids.h"
#include "data_system/value.h"
#include "foundation/format.h"
#include "foundation/guid.h"
#include "platform/utf.h"

namespace HalcyraData {

using namespace DataSystem;

namespace {

template <class T>
IValueT<T>* Typed(IItem* item) {
  return static_cast<IValueT<T>*>(item->GetInterface(&kValueInterfaceId<T>));
}

std::u16string Lower(const std::u16string& text) {
  std::u16string lower = text;
  for (char16_t& c : lower) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
  }
  return lower;
}

bool ParseUnsigned(const std::u16string& text, std::uint32_t& result) {
  std::size_t start = 0;
  unsigned base = 10;
  if (text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X')) {
    start = 2;
    base = 16;
  }
  if (start == text.size()) return false;
  std::uint64_t value = 0;
  for (std::size_t i = start; i < text.size(); ++i) {
    char16_t c = text[i];
    unsigned digit;
    if (c >= u'0' && c <= u'9')
      digit = c - u'0';
    else if (base == 16 && c >= u'a' && c <= u'f')
      digit = c - u'a' + 10;
    else if (base == 16 && c >= u'A' && c <= u'F')
      digit = c - u'A' + 10;
    else
      return false;
    if (digit >= base) return false;
    value = value * base + digit;
    if (value > 0xFFFFFFFFu) return false;
  }
  result = static_cast<std::uint32_t>(value);
  return true;
}

ErrorCode NotAValue(const std::u16string& text, ItemKind kind) {
  return RaiseError("halcyra-data", ErrorInvalidParameter, u"'%s' is not a value of type %s", text.c_str(),
                    KindName(kind));
}

}  // namespace

ItemKind KindOf(IItem* item) {
  if (Typed<bool>(item) != nullptr) return ItemKind::Bool;
  if (Typed<std::uint32_t>(item) != nullptr) return ItemKind::UnsignedInt;
  if (Typed<WideString>(item) != nullptr) return ItemKind::String;
  if (Typed<Common::GUID>(item) != nullptr) return ItemKind::Guid;
  return ItemKind::Store;
}

const char16_t* KindName(ItemKind kind) {
  switch (kind) {
    case ItemKind::Bool:
      return u"bool";
    case ItemKind::UnsignedInt:
      return u"unsigned int";
    case ItemKind::String:
      return u"string";
    case ItemKind::Guid:
      return u"GUID";
    case ItemKind::Store:
      break;
  }
  return u"store";
}

std::u16string DisplayPath(IItem* item) {
  std::u16string path = item->GetPath();
  std::size_t dot = path.find(u'.');
  // Only the root has no dot, and a deleted item's text has none either.
  return dot == std::u16string::npos ? path : path.substr(dot + 1);
}

std::u16string FormatValue(ItemKind kind, const void* data) {
  if (data == nullptr) return u"(null)";
  switch (kind) {
    case ItemKind::Bool:
      return *static_cast<const unsigned char*>(data) != 0 ? u"true" : u"false";
    case ItemKind::UnsignedInt: {
      char16_t text[16];
      FormatBounded(text, 16, u"%u", *static_cast<const std::uint32_t*>(data));
      return text;
    }
    case ItemKind::String:
      return static_cast<const char16_t*>(data);
    case ItemKind::Guid: {
      char16_t text[Common::GUID::kTextCapacity];
      return static_cast<const Common::GUID*>(data)->ToString(text);
    }
    case ItemKind::Store:
      break;
  }
  return u"";
}

std::u16string CurrentValue(IItem* item) {
  switch (KindOf(item)) {
    case ItemKind::Bool:
      return FormatValue(ItemKind::Bool, Typed<bool>(item)->Get());
    case ItemKind::UnsignedInt:
      return FormatValue(ItemKind::UnsignedInt, Typed<std::uint32_t>(item)->Get());
    case ItemKind::String:
      return FormatValue(ItemKind::String, Typed<WideString>(item)->Get());
    case ItemKind::Guid:
      return FormatValue(ItemKind::Guid, Typed<Common::GUID>(item)->Get());
    case ItemKind::Store:
      break;
  }
  return u"";
}

ErrorCode SetFromText(IItem* item, const std::u16string& text) {
  ItemKind kind = KindOf(item);
  switch (kind) {
    case ItemKind::Bool: {
      std::u16string lower = Lower(text);
      bool value;
      if (lower == u"true" || lower == u"1")
        value = true;
      else if (lower == u"false" || lower == u"0")
        value = false;
      else
        return NotAValue(text, kind);
      return Typed<bool>(item)->Set(&value);
    }
    case ItemKind::UnsignedInt: {
      std::uint32_t value = 0;
      if (!ParseUnsigned(text, value)) return NotAValue(text, kind);
      return Typed<std::uint32_t>(item)->Set(&value);
    }
    case ItemKind::String:
      return Typed<WideString>(item)->Set(text.c_str());
    case ItemKind::Guid: {
      Common::GUID value;
      // The parser reports a bad text itself.
      if (ErrorCode status = Common::GUID::StringToGuid(text.c_str(), value); status != ErrorNone) return status;
      return Typed<Common::GUID>(item)->Set(&value);
    }
    case ItemKind::Store:
      break;
  }
  return RaiseError("halcyra-data", ErrorInvalidOperation, u"'%s' is a store, not a value", DisplayPath(item).c_str());
}

}  // namespace HalcyraData
