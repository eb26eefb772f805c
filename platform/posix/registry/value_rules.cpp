#include "platform/posix/registry/value_rules.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "platform/environment.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

std::u16string AsText(const std::vector<BYTE>& data) {
  std::u16string text(data.size() / sizeof(char16_t), u'\0');
  if (!text.empty()) std::memcpy(text.data(), data.data(), text.size() * sizeof(char16_t));
  std::size_t end = text.find(u'\0');
  if (end != std::u16string::npos) text.resize(end);
  return text;
}

bool Variable(const std::u16string& name, std::u16string& value) {
  DWORD needed = GetEnvironmentVariableW(name.c_str(), nullptr, 0);
  if (needed == 0) return false;
  value.assign(needed, u'\0');
  DWORD length = GetEnvironmentVariableW(name.c_str(), value.data(), needed);
  if (length >= needed || (length == 0 && needed != 1)) return false;
  value.resize(length);
  return true;
}

// Addresses below this lie in the null page.
constexpr std::uintptr_t kNullPageEnd = 0x10000;

bool IsStringType(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

constexpr std::uintptr_t kPageSize = 4096;

// Whether the code unit right after the `size` bytes at `data` is a terminator. DELIBERATE: read
// past the caller's data, as Windows does: only within the page of the data's last byte, which is
// mapped, and without the address and thread sanitizers' checks of the caller's bounds.
[[gnu::no_sanitize_address, gnu::no_sanitize("thread")]] bool TerminatorFollows(const BYTE* data, std::size_t size) {
  auto next = reinterpret_cast<std::uintptr_t>(data + size);
  if ((next + 1) / kPageSize != (next - 1) / kPageSize) return false;
  const volatile BYTE* at = data + size;
  return at[0] == 0 && at[1] == 0;
}

}  // namespace

LSTATUS CheckValueToSet(std::u16string_view name, DWORD type, const BYTE* data, DWORD size, DWORD& storedSize) {
  if (name.size() > MAX_VALUE_NAME_LENGTH) return ERROR_INVALID_PARAMETER;
  if (data == nullptr && size != 0) return ERROR_NOACCESS;
  if (data != nullptr && reinterpret_cast<std::uintptr_t>(data) < kNullPageEnd) return ERROR_NOACCESS;
  storedSize = size;
  if (data == nullptr || !IsStringType(type) || size < sizeof(char16_t)) return ERROR_SUCCESS;
  std::size_t characters = size / sizeof(char16_t);
  char16_t last = 0;
  std::memcpy(&last, data + (characters - 1) * sizeof(char16_t), sizeof(char16_t));
  if (last != 0 && TerminatorFollows(data, characters * sizeof(char16_t))) {
    storedSize = static_cast<DWORD>((characters + 1) * sizeof(char16_t));
  }
  return ERROR_SUCCESS;
}

void ExpandEnvironmentText(std::vector<BYTE>& data) {
  std::u16string text = AsText(data);
  std::u16string expanded;
  std::size_t position = 0;
  while (position < text.size()) {
    std::size_t open = text.find(u'%', position);
    std::size_t close = open == std::u16string::npos ? std::u16string::npos : text.find(u'%', open + 1);
    if (close == std::u16string::npos) {
      expanded.append(text, position);
      break;
    }
    expanded.append(text, position, open - position);
    std::u16string value;
    if (close > open + 1 && Variable(text.substr(open + 1, close - open - 1), value)) {
      expanded += value;
      position = close + 1;
    } else {
      // Not a known variable: the first % stays, and the second may open the next name.
      expanded += u'%';
      position = open + 1;
    }
  }
  expanded += u'\0';
  data.resize(expanded.size() * sizeof(char16_t));
  std::memcpy(data.data(), expanded.data(), data.size());
}

void TerminateStrings(DWORD type, std::vector<BYTE>& data) {
  if (!IsStringType(type)) return;
  if (data.empty()) return;
  if (data.size() % 2 != 0) data.push_back(0);
  auto unitAt = [&](std::size_t fromEnd) {
    std::size_t at = data.size() - 2 * fromEnd;
    return static_cast<char16_t>(data[at] | (data[at + 1] << 8));
  };
  std::size_t units = data.size() / 2;
  std::size_t wanted = type == REG_MULTI_SZ ? 2 : 1;
  std::size_t present = 0;
  while (present < wanted && present < units && unitAt(present + 1) == 0) ++present;
  // A multi-string that is a lone terminator is the empty list, which needs its second one too.
  data.resize(data.size() + 2 * (wanted - present), 0);
}

LSTATUS CheckTypeRestriction(DWORD flags, DWORD type, std::size_t size) {
  DWORD restriction = flags & RRF_RT_ANY;
  if (restriction == RRF_RT_ANY) return ERROR_SUCCESS;
  DWORD bit = 0;
  switch (type) {
    case REG_NONE:
      bit = RRF_RT_REG_NONE;
      break;
    case REG_SZ:
      bit = RRF_RT_REG_SZ;
      break;
    case REG_EXPAND_SZ:
      bit = RRF_RT_REG_EXPAND_SZ;
      break;
    case REG_BINARY:
      bit = RRF_RT_REG_BINARY;
      break;
    case REG_DWORD:
      bit = RRF_RT_REG_DWORD;
      break;
    case REG_MULTI_SZ:
      bit = RRF_RT_REG_MULTI_SZ;
      break;
    case REG_QWORD:
      bit = RRF_RT_REG_QWORD;
      break;
    default:
      return ERROR_UNSUPPORTED_TYPE;
  }
  if ((restriction & bit) == 0) return ERROR_UNSUPPORTED_TYPE;
  if (type == REG_BINARY) {
    if (restriction == RRF_RT_DWORD && size != 4) return ERROR_DATATYPE_MISMATCH;
    if (restriction == RRF_RT_QWORD && size != 8) return ERROR_DATATYPE_MISMATCH;
  }
  return ERROR_SUCCESS;
}

}  // namespace Platform::Posix
