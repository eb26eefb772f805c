// Security descriptors as data: the parsed form of a descriptor text, its self-relative binary
// layout, and the conversions between text, parsed form and layout.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

namespace Platform::Posix {

// A SID: revision 1, a 48-bit authority and up to 15 sub-authorities.
struct Sid {
  std::uint64_t authority = 0;
  std::vector<DWORD> subAuthorities;

  bool operator==(const Sid&) const = default;
};

struct Ace {
  BYTE type = 0;
  BYTE flags = 0;
  DWORD mask = 0;
  Sid trustee;
};

// An access list; `null` is a present but null DACL ("NO_ACCESS_CONTROL"), which admits everyone,
// unlike an empty list, which admits nobody.
struct Acl {
  bool null = false;
  std::vector<Ace> entries;
};

// A security descriptor with the parts it has. `control` holds the SE_*_PROTECTED and
// SE_*_AUTO_INHERIT* bits; the presence bits follow from the optional parts.
struct SecurityDescriptor {
  WORD control = 0;
  std::optional<Sid> owner;
  std::optional<Sid> group;
  std::optional<Acl> dacl;
  std::optional<Acl> sacl;
};

// Parses a descriptor text. Returns nothing for a text that does not parse.
std::optional<SecurityDescriptor> ParseSecurityDescriptor(std::u16string_view text);

// Writes the text of the parts chosen by `information` (the *_SECURITY_INFORMATION bits).
std::u16string FormatSecurityDescriptor(const SecurityDescriptor& descriptor, DWORD information);

// The self-relative binary layout of Windows: a 20-byte header with offsets, then the SACL, the
// DACL, the owner and the group. Multi-byte fields are little-endian; SID authorities big-endian.
std::vector<BYTE> EncodeSecurityDescriptor(const SecurityDescriptor& descriptor);

// Reads and checks a self-relative layout. `size` bounds the reading when known; a descriptor
// handed in by pointer only is read as far as its own offsets and sizes say. Returns nothing for
// a layout that is not valid. `length` receives the number of bytes the descriptor spans.
std::optional<SecurityDescriptor> DecodeSecurityDescriptor(const BYTE* data, std::size_t size, DWORD* length);

// The binary layout of a SID (8 bytes plus 4 per sub-authority).
std::vector<BYTE> EncodeSid(const Sid& sid);

}  // namespace Platform::Posix
