#include "platform/posix/security_descriptor.h"

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>
#include <utility>

#include "platform/security.h"

namespace Platform::Posix {
namespace {

// Control bits of a descriptor.
constexpr WORD SE_DACL_PRESENT = 0x0004;
constexpr WORD SE_SACL_PRESENT = 0x0010;
constexpr WORD SE_DACL_AUTO_INHERIT_REQ = 0x0100;
constexpr WORD SE_SACL_AUTO_INHERIT_REQ = 0x0200;
constexpr WORD SE_DACL_AUTO_INHERITED = 0x0400;
constexpr WORD SE_SACL_AUTO_INHERITED = 0x0800;
constexpr WORD SE_DACL_PROTECTED = 0x1000;
constexpr WORD SE_SACL_PROTECTED = 0x2000;
constexpr WORD SE_SELF_RELATIVE = 0x8000;
// The bits that the text's ACL flags carry; the others follow from the parts present.
constexpr WORD kKeptControl = SE_DACL_AUTO_INHERIT_REQ | SE_SACL_AUTO_INHERIT_REQ | SE_DACL_AUTO_INHERITED |
                              SE_SACL_AUTO_INHERITED | SE_DACL_PROTECTED | SE_SACL_PROTECTED;

constexpr BYTE kSidRevision = 1;
constexpr std::size_t kMaxSubAuthorities = 15;
constexpr BYTE kAclRevision = 2;
constexpr BYTE kAclRevisionMax = 4;
constexpr std::size_t kHeaderSize = 20;
constexpr std::size_t kAclHeaderSize = 8;
constexpr std::size_t kAceFixedSize = 8;

constexpr BYTE kMandatoryLabelAce = 0x11;

struct Code {
  char16_t text[3];
  DWORD value;
};

constexpr std::array<Code, 5> kAceTypes{{
    {u"A", 0x00},
    {u"D", 0x01},
    {u"AU", 0x02},
    {u"AL", 0x03},
    {u"ML", kMandatoryLabelAce},
}};

// In the order in which they are written.
constexpr std::array<Code, 7> kAceFlags{{
    {u"OI", 0x01},
    {u"CI", 0x02},
    {u"NP", 0x04},
    {u"IO", 0x08},
    {u"ID", 0x10},
    {u"SA", 0x40},
    {u"FA", 0x80},
}};

// Whole masks written as one code when a mask is exactly one of them.
constexpr std::array<Code, 7> kCompositeRights{{
    {u"KA", 0x000F003F},
    {u"KR", 0x00020019},
    {u"KW", 0x00020006},
    {u"FA", 0x001F01FF},
    {u"FR", 0x00120089},
    {u"FW", 0x00120116},
    {u"FX", 0x001200A0},
}};

// Single rights, written in the order of their bits, as Windows writes them ("CCLCSWRPWPDTLOCRRC").
constexpr std::array<Code, 17> kSingleRights{{
    {u"CC", 0x00000001},
    {u"DC", 0x00000002},
    {u"LC", 0x00000004},
    {u"SW", 0x00000008},
    {u"RP", 0x00000010},
    {u"WP", 0x00000020},
    {u"DT", 0x00000040},
    {u"LO", 0x00000080},
    {u"CR", 0x00000100},
    {u"SD", 0x00010000},
    {u"RC", 0x00020000},
    {u"WD", 0x00040000},
    {u"WO", 0x00080000},
    {u"GA", 0x10000000},
    {u"GX", 0x20000000},
    {u"GW", 0x40000000},
    {u"GR", 0x80000000},
}};

// The policy bits of a mandatory label entry.
constexpr std::array<Code, 3> kLabelRights{{
    {u"NW", 0x1},
    {u"NR", 0x2},
    {u"NX", 0x4},
}};

struct WellKnownSid {
  char16_t alias[3];
  std::uint64_t authority;
  std::array<DWORD, 2> subAuthorities;
  std::size_t count;
};

// Abbreviations of the SIDs that are the same on every machine. The first entry for a SID is the
// one written back.
constexpr std::array<WellKnownSid, 29> kWellKnownSids{{
    {u"WD", 1, {0, 0}, 1},        // everyone
    {u"CO", 3, {0, 0}, 1},        // creator owner
    {u"CG", 3, {1, 0}, 1},        // creator group
    {u"OW", 3, {4, 0}, 1},        // owner rights
    {u"NU", 5, {2, 0}, 1},        // network logon
    {u"IU", 5, {4, 0}, 1},        // interactive logon
    {u"SU", 5, {6, 0}, 1},        // service logon
    {u"AN", 5, {7, 0}, 1},        // anonymous
    {u"ED", 5, {9, 0}, 1},        // enterprise domain controllers
    {u"PS", 5, {10, 0}, 1},       // principal self
    {u"AU", 5, {11, 0}, 1},       // authenticated users
    {u"RC", 5, {12, 0}, 1},       // restricted code
    {u"SY", 5, {18, 0}, 1},       // local system
    {u"LS", 5, {19, 0}, 1},       // local service
    {u"NS", 5, {20, 0}, 1},       // network service
    {u"BA", 5, {32, 544}, 2},     // administrators
    {u"BU", 5, {32, 545}, 2},     // users
    {u"BG", 5, {32, 546}, 2},     // guests
    {u"PU", 5, {32, 547}, 2},     // power users
    {u"AO", 5, {32, 548}, 2},     // account operators
    {u"SO", 5, {32, 549}, 2},     // server operators
    {u"PO", 5, {32, 550}, 2},     // print operators
    {u"BO", 5, {32, 551}, 2},     // backup operators
    {u"RE", 5, {32, 552}, 2},     // replicator
    {u"AC", 15, {2, 1}, 2},       // all application packages
    {u"LW", 16, {0x1000, 0}, 1},  // low integrity
    {u"ME", 16, {0x2000, 0}, 1},  // medium integrity
    {u"HI", 16, {0x3000, 0}, 1},  // high integrity
    {u"SI", 16, {0x4000, 0}, 1},  // system integrity
}};

Sid ToSid(const WellKnownSid& known) {
  return Sid{known.authority, std::vector<DWORD>(known.subAuthorities.begin(),
                                                 known.subAuthorities.begin() + static_cast<long>(known.count))};
}

template <std::size_t N>
const Code* FindCode(const std::array<Code, N>& table, std::u16string_view text) {
  for (const Code& code : table) {
    if (text == code.text) return &code;
  }
  return nullptr;
}

// ---- Reading the text ----

bool ParseNumber(std::u16string_view text, int base, std::uint64_t limit, std::uint64_t& value) {
  if (text.empty()) return false;
  value = 0;
  for (char16_t c : text) {
    unsigned digit;
    if (c >= u'0' && c <= u'9') {
      digit = c - u'0';
    } else if (base == 16 && c >= u'A' && c <= u'F') {
      digit = c - u'A' + 10;
    } else if (base == 16 && c >= u'a' && c <= u'f') {
      digit = c - u'a' + 10;
    } else {
      return false;
    }
    if (digit >= static_cast<unsigned>(base)) return false;
    value = value * static_cast<unsigned>(base) + digit;
    if (value > limit) return false;
  }
  return true;
}

bool IsSidCharacter(char16_t c) {
  return c == u'-' || c == u'x' || c == u'X' || (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'F') ||
         (c >= u'a' && c <= u'f');
}

// Reads a SID written as "S-1-<authority>-<sub>..." or as a well-known abbreviation, from the
// start of `text`, and advances `text` past it.
std::optional<Sid> ParseSid(std::u16string_view& text) {
  if (text.size() >= 2 && text[0] == u'S' && text[1] == u'-') {
    // A SID string runs over digits, dashes and the letters of a hexadecimal authority; a letter
    // followed by ':' opens the next part ("O:S-1-5-18D:...").
    std::size_t end = 2;
    while (end < text.size() && IsSidCharacter(text[end])) {
      if (end + 1 < text.size() && text[end + 1] == u':') break;
      ++end;
    }
    std::u16string_view body = text.substr(2, end - 2);
    std::vector<std::u16string_view> fields;
    while (true) {
      const std::size_t dash = body.find(u'-');
      fields.push_back(body.substr(0, dash));
      if (dash == std::u16string_view::npos) break;
      body.remove_prefix(dash + 1);
    }
    if (fields.size() < 2 || fields[0] != u"1" || fields.size() - 2 > kMaxSubAuthorities) return std::nullopt;
    Sid sid;
    std::u16string_view authority = fields[1];
    if (authority.size() == 14 && authority[0] == u'0' && (authority[1] == u'x' || authority[1] == u'X')) {
      if (!ParseNumber(authority.substr(2), 16, 0xFFFFFFFFFFFFull, sid.authority)) return std::nullopt;
    } else if (!ParseNumber(authority, 10, std::numeric_limits<DWORD>::max(), sid.authority)) {
      return std::nullopt;
    }
    for (std::size_t i = 2; i < fields.size(); ++i) {
      std::uint64_t value;
      if (!ParseNumber(fields[i], 10, std::numeric_limits<DWORD>::max(), value)) return std::nullopt;
      sid.subAuthorities.push_back(static_cast<DWORD>(value));
    }
    text.remove_prefix(end);
    return sid;
  }
  if (text.size() < 2) return std::nullopt;
  const std::u16string_view alias = text.substr(0, 2);
  for (const WellKnownSid& known : kWellKnownSids) {
    if (alias == known.alias) {
      text.remove_prefix(2);
      return ToSid(known);
    }
  }
  return std::nullopt;
}

// Reads a field made of two-letter codes of `table`, OR-ing their values.
template <std::size_t N>
bool ParseCodes(std::u16string_view text, const std::array<Code, N>& table, DWORD& value) {
  if (text.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const Code* code = FindCode(table, text.substr(i, 2));
    if (code == nullptr) return false;
    value |= code->value;
  }
  return true;
}

bool ParseRights(std::u16string_view text, DWORD& mask) {
  if (text.empty()) return false;
  std::uint64_t value;
  if (text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X')) {
    if (!ParseNumber(text.substr(2), 16, std::numeric_limits<DWORD>::max(), value)) return false;
    mask = static_cast<DWORD>(value);
    return true;
  }
  if (text[0] >= u'0' && text[0] <= u'9') {
    if (!ParseNumber(text, 10, std::numeric_limits<DWORD>::max(), value)) return false;
    mask = static_cast<DWORD>(value);
    return true;
  }
  mask = 0;
  if (text.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const std::u16string_view token = text.substr(i, 2);
    const Code* code = FindCode(kSingleRights, token);
    if (code == nullptr) code = FindCode(kCompositeRights, token);
    if (code == nullptr) code = FindCode(kLabelRights, token);
    if (code == nullptr && token == u"KX") code = FindCode(kCompositeRights, u"KR");
    if (code == nullptr) return false;
    mask |= code->value;
  }
  return true;
}

// Reads one "(type;flags;rights;object;inherited object;trustee)" entry; `text` starts after '('.
std::optional<Ace> ParseAce(std::u16string_view& text) {
  const std::size_t close = text.find(u')');
  if (close == std::u16string_view::npos) return std::nullopt;
  std::u16string_view body = text.substr(0, close);
  text.remove_prefix(close + 1);

  std::array<std::u16string_view, 6> fields;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::size_t semicolon = body.find(u';');
    if ((semicolon == std::u16string_view::npos) != (i + 1 == fields.size())) return std::nullopt;
    fields[i] = body.substr(0, semicolon);
    body.remove_prefix(semicolon == std::u16string_view::npos ? body.size() : semicolon + 1);
  }

  Ace ace;
  const Code* type = FindCode(kAceTypes, fields[0]);
  if (type == nullptr) return std::nullopt;
  ace.type = static_cast<BYTE>(type->value);
  DWORD flags = 0;
  if (!ParseCodes(fields[1], kAceFlags, flags)) return std::nullopt;
  ace.flags = static_cast<BYTE>(flags);
  if (!ParseRights(fields[2], ace.mask)) return std::nullopt;
  // Object types belong to object entries, which are not supported.
  if (!fields[3].empty() || !fields[4].empty()) return std::nullopt;
  std::u16string_view trustee = fields[5];
  std::optional<Sid> sid = ParseSid(trustee);
  if (!sid || !trustee.empty()) return std::nullopt;
  ace.trustee = std::move(*sid);
  return ace;
}

// Reads the flags and entries of a "D:" or "S:" part, up to the next part or the end.
std::optional<Acl> ParseAcl(std::u16string_view& text, WORD& control, bool dacl) {
  Acl acl;
  for (;;) {
    if (text.starts_with(u"NO_ACCESS_CONTROL")) {
      acl.null = true;
      text.remove_prefix(17);
    } else if (text.starts_with(u"AI")) {
      control |= dacl ? SE_DACL_AUTO_INHERITED : SE_SACL_AUTO_INHERITED;
      text.remove_prefix(2);
    } else if (text.starts_with(u"AR")) {
      control |= dacl ? SE_DACL_AUTO_INHERIT_REQ : SE_SACL_AUTO_INHERIT_REQ;
      text.remove_prefix(2);
    } else if (text.starts_with(u"P")) {
      control |= dacl ? SE_DACL_PROTECTED : SE_SACL_PROTECTED;
      text.remove_prefix(1);
    } else {
      break;
    }
  }
  // The binary list counts its bytes in 16 bits.
  std::size_t bytes = kAclHeaderSize;
  while (text.starts_with(u"(")) {
    if (acl.null) return std::nullopt;
    text.remove_prefix(1);
    std::optional<Ace> ace = ParseAce(text);
    if (!ace) return std::nullopt;
    bytes += kAceFixedSize + 8 + 4 * ace->trustee.subAuthorities.size();
    if (bytes > std::numeric_limits<WORD>::max()) return std::nullopt;
    acl.entries.push_back(std::move(*ace));
  }
  return acl;
}

// ---- Writing the text ----

void AppendNumber(std::u16string& out, std::uint64_t value, int base, int width = 0) {
  char buffer[24];
  int length = 0;
  do {
    const unsigned digit = static_cast<unsigned>(value % static_cast<unsigned>(base));
    buffer[length++] = static_cast<char>(digit < 10 ? '0' + digit : 'A' + digit - 10);
    value /= static_cast<unsigned>(base);
  } while (value != 0);
  while (length < width) buffer[length++] = '0';
  while (length > 0) out.push_back(static_cast<char16_t>(buffer[--length]));
}

void AppendSid(std::u16string& out, const Sid& sid) {
  for (const WellKnownSid& known : kWellKnownSids) {
    if (sid == ToSid(known)) {
      out += known.alias;
      return;
    }
  }
  out += u"S-1-";
  if (sid.authority > std::numeric_limits<DWORD>::max()) {
    out += u"0x";
    AppendNumber(out, sid.authority, 16, 12);
  } else {
    AppendNumber(out, sid.authority, 10);
  }
  for (DWORD sub : sid.subAuthorities) {
    out += u'-';
    AppendNumber(out, sub, 10);
  }
}

void AppendRights(std::u16string& out, const Ace& ace) {
  if (ace.type == kMandatoryLabelAce && ace.mask != 0 && (ace.mask & ~DWORD{0x7}) == 0) {
    for (const Code& code : kLabelRights) {
      if ((ace.mask & code.value) != 0) out += code.text;
    }
    return;
  }
  for (const Code& code : kCompositeRights) {
    if (ace.mask == code.value) {
      out += code.text;
      return;
    }
  }
  DWORD rest = ace.mask;
  std::u16string codes;
  for (const Code& code : kSingleRights) {
    if ((rest & code.value) != 0) {
      codes += code.text;
      rest &= ~code.value;
    }
  }
  if (ace.mask != 0 && rest == 0) {
    out += codes;
    return;
  }
  out += u"0x";
  std::u16string digits;
  AppendNumber(digits, ace.mask, 16);
  for (char16_t& c : digits) {
    if (c >= u'A' && c <= u'F') c = static_cast<char16_t>(c - u'A' + u'a');
  }
  out += digits;
}

void AppendAcl(std::u16string& out, const Acl& acl, WORD control, bool dacl) {
  if ((control & (dacl ? SE_DACL_PROTECTED : SE_SACL_PROTECTED)) != 0) out += u"P";
  if ((control & (dacl ? SE_DACL_AUTO_INHERIT_REQ : SE_SACL_AUTO_INHERIT_REQ)) != 0) out += u"AR";
  if ((control & (dacl ? SE_DACL_AUTO_INHERITED : SE_SACL_AUTO_INHERITED)) != 0) out += u"AI";
  if (acl.null) {
    out += u"NO_ACCESS_CONTROL";
    return;
  }
  for (const Ace& ace : acl.entries) {
    out += u'(';
    for (const Code& type : kAceTypes) {
      if (type.value == ace.type) out += type.text;
    }
    out += u';';
    for (const Code& flag : kAceFlags) {
      if ((ace.flags & flag.value) != 0) out += flag.text;
    }
    out += u';';
    AppendRights(out, ace);
    out += u";;;";
    AppendSid(out, ace.trustee);
    out += u')';
  }
}

// ---- The binary layout ----

void PutWord(std::vector<BYTE>& out, std::size_t at, WORD value) {
  out[at] = static_cast<BYTE>(value);
  out[at + 1] = static_cast<BYTE>(value >> 8);
}

void PutDword(std::vector<BYTE>& out, std::size_t at, DWORD value) {
  for (int i = 0; i < 4; ++i) out[at + i] = static_cast<BYTE>(value >> (8 * i));
}

WORD GetWord(const BYTE* data) { return static_cast<WORD>(data[0] | (data[1] << 8)); }

DWORD GetDword(const BYTE* data) {
  return static_cast<DWORD>(data[0]) | (static_cast<DWORD>(data[1]) << 8) | (static_cast<DWORD>(data[2]) << 16) |
         (static_cast<DWORD>(data[3]) << 24);
}

void AppendSidBytes(std::vector<BYTE>& out, const Sid& sid) {
  const std::size_t at = out.size();
  out.resize(at + 8 + 4 * sid.subAuthorities.size());
  out[at] = kSidRevision;
  out[at + 1] = static_cast<BYTE>(sid.subAuthorities.size());
  for (int i = 0; i < 6; ++i) out[at + 2 + i] = static_cast<BYTE>(sid.authority >> (8 * (5 - i)));
  for (std::size_t i = 0; i < sid.subAuthorities.size(); ++i) PutDword(out, at + 8 + 4 * i, sid.subAuthorities[i]);
}

void AppendAclBytes(std::vector<BYTE>& out, const Acl& acl) {
  const std::size_t at = out.size();
  out.resize(at + kAclHeaderSize);
  out[at] = kAclRevision;
  for (const Ace& ace : acl.entries) {
    const std::size_t aceAt = out.size();
    out.resize(aceAt + kAceFixedSize);
    out[aceAt] = ace.type;
    out[aceAt + 1] = ace.flags;
    PutDword(out, aceAt + 4, ace.mask);
    AppendSidBytes(out, ace.trustee);
    PutWord(out, aceAt + 2, static_cast<WORD>(out.size() - aceAt));
  }
  PutWord(out, at + 2, static_cast<WORD>(out.size() - at));
  PutWord(out, at + 4, static_cast<WORD>(acl.entries.size()));
}

// Reads a SID at `data` within `available` bytes; `length` receives its size.
std::optional<Sid> ReadSid(const BYTE* data, std::size_t available, std::size_t& length) {
  if (available < 8 || data[0] != kSidRevision || data[1] > kMaxSubAuthorities) return std::nullopt;
  length = 8 + 4 * static_cast<std::size_t>(data[1]);
  if (available < length) return std::nullopt;
  Sid sid;
  for (int i = 0; i < 6; ++i) sid.authority = (sid.authority << 8) | data[2 + i];
  for (std::size_t i = 0; i < data[1]; ++i) sid.subAuthorities.push_back(GetDword(data + 8 + 4 * i));
  return sid;
}

std::optional<Acl> ReadAcl(const BYTE* data, std::size_t available, std::size_t& length) {
  if (available < kAclHeaderSize || data[0] < kAclRevision || data[0] > kAclRevisionMax) return std::nullopt;
  length = GetWord(data + 2);
  const std::size_t count = GetWord(data + 4);
  if (length < kAclHeaderSize || length > available) return std::nullopt;
  Acl acl;
  std::size_t at = kAclHeaderSize;
  for (std::size_t i = 0; i < count; ++i) {
    if (length - at < kAceFixedSize) return std::nullopt;
    const BYTE* ace = data + at;
    const std::size_t aceSize = GetWord(ace + 2);
    if (aceSize < kAceFixedSize || aceSize > length - at) return std::nullopt;
    bool known = false;
    for (const Code& type : kAceTypes) known = known || type.value == ace[0];
    if (!known) return std::nullopt;
    std::size_t sidLength;
    std::optional<Sid> trustee = ReadSid(ace + kAceFixedSize, aceSize - kAceFixedSize, sidLength);
    if (!trustee) return std::nullopt;
    acl.entries.push_back(Ace{ace[0], ace[1], GetDword(ace + 4), std::move(*trustee)});
    at += aceSize;
  }
  return acl;
}

}  // namespace

std::optional<SecurityDescriptor> ParseSecurityDescriptor(std::u16string_view text) {
  SecurityDescriptor descriptor;
  while (!text.empty()) {
    if (text.size() < 2 || text[1] != u':') return std::nullopt;
    const char16_t part = text[0];
    text.remove_prefix(2);
    switch (part) {
      case u'O':
      case u'G': {
        std::optional<Sid>& slot = part == u'O' ? descriptor.owner : descriptor.group;
        if (slot) return std::nullopt;
        slot = ParseSid(text);
        if (!slot) return std::nullopt;
        break;
      }
      case u'D':
      case u'S': {
        std::optional<Acl>& slot = part == u'D' ? descriptor.dacl : descriptor.sacl;
        if (slot) return std::nullopt;
        slot = ParseAcl(text, descriptor.control, part == u'D');
        if (!slot) return std::nullopt;
        break;
      }
      default:
        return std::nullopt;
    }
  }
  return descriptor;
}

std::u16string FormatSecurityDescriptor(const SecurityDescriptor& descriptor, DWORD information) {
  std::u16string out;
  if ((information & OWNER_SECURITY_INFORMATION) != 0 && descriptor.owner) {
    out += u"O:";
    AppendSid(out, *descriptor.owner);
  }
  if ((information & GROUP_SECURITY_INFORMATION) != 0 && descriptor.group) {
    out += u"G:";
    AppendSid(out, *descriptor.group);
  }
  if ((information & DACL_SECURITY_INFORMATION) != 0 && descriptor.dacl) {
    out += u"D:";
    AppendAcl(out, *descriptor.dacl, descriptor.control, true);
  }
  if ((information & SACL_SECURITY_INFORMATION) != 0 && descriptor.sacl) {
    out += u"S:";
    AppendAcl(out, *descriptor.sacl, descriptor.control, false);
  }
  return out;
}

std::vector<BYTE> EncodeSecurityDescriptor(const SecurityDescriptor& descriptor) {
  std::vector<BYTE> out(kHeaderSize, 0);
  WORD control = static_cast<WORD>(SE_SELF_RELATIVE | (descriptor.control & kKeptControl));
  out[0] = 1;
  if (descriptor.sacl) {
    control |= SE_SACL_PRESENT;
    if (!descriptor.sacl->null) {
      PutDword(out, 12, static_cast<DWORD>(out.size()));
      AppendAclBytes(out, *descriptor.sacl);
    }
  }
  if (descriptor.dacl) {
    control |= SE_DACL_PRESENT;
    if (!descriptor.dacl->null) {
      PutDword(out, 16, static_cast<DWORD>(out.size()));
      AppendAclBytes(out, *descriptor.dacl);
    }
  }
  if (descriptor.owner) {
    PutDword(out, 4, static_cast<DWORD>(out.size()));
    AppendSidBytes(out, *descriptor.owner);
  }
  if (descriptor.group) {
    PutDword(out, 8, static_cast<DWORD>(out.size()));
    AppendSidBytes(out, *descriptor.group);
  }
  PutWord(out, 2, control);
  return out;
}

std::optional<SecurityDescriptor> DecodeSecurityDescriptor(const BYTE* data, std::size_t size, DWORD* length) {
  if (data == nullptr || size < kHeaderSize || data[0] != 1) return std::nullopt;
  const WORD control = GetWord(data + 2);
  if ((control & SE_SELF_RELATIVE) == 0) return std::nullopt;
  SecurityDescriptor descriptor;
  descriptor.control = control & kKeptControl;
  std::size_t end = kHeaderSize;

  // Each part lies after the header and inside the bound.
  auto place = [&](std::size_t headerAt, std::size_t& offset) {
    offset = GetDword(data + headerAt);
    return offset == 0 || (offset >= kHeaderSize && offset < size);
  };
  std::size_t ownerAt, groupAt, saclAt, daclAt;
  if (!place(4, ownerAt) || !place(8, groupAt) || !place(12, saclAt) || !place(16, daclAt)) return std::nullopt;

  for (auto [at, slot] : {std::pair{ownerAt, &descriptor.owner}, std::pair{groupAt, &descriptor.group}}) {
    if (at == 0) continue;
    std::size_t partLength;
    *slot = ReadSid(data + at, size - at, partLength);
    if (!*slot) return std::nullopt;
    end = std::max(end, at + partLength);
  }
  for (auto [at, present, slot] : {std::tuple{saclAt, (control & SE_SACL_PRESENT) != 0, &descriptor.sacl},
                                   std::tuple{daclAt, (control & SE_DACL_PRESENT) != 0, &descriptor.dacl}}) {
    if (!present) continue;
    if (at == 0) {
      *slot = Acl{true, {}};
      continue;
    }
    std::size_t partLength;
    *slot = ReadAcl(data + at, size - at, partLength);
    if (!*slot) return std::nullopt;
    end = std::max(end, at + partLength);
  }
  if (length != nullptr) *length = static_cast<DWORD>(end);
  return descriptor;
}

std::vector<BYTE> EncodeSid(const Sid& sid) {
  std::vector<BYTE> out;
  AppendSidBytes(out, sid);
  return out;
}

}  // namespace Platform::Posix
