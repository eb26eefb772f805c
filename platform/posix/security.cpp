#include "platform/security.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "platform/posix/security_descriptor.h"
#include "platform/system_error.h"

namespace Platform {
namespace {

constexpr BYTE kMaxAllocatedSubAuthorities = 8;
constexpr BYTE kMaxSubAuthorities = 15;

// Copies `bytes` into a block that LocalFree releases; null when memory runs out.
void* AllocateLocal(const void* bytes, std::size_t size) {
  void* block = std::malloc(size);
  if (block != nullptr) std::memcpy(block, bytes, size);
  return block;
}

}  // namespace

BOOL AllocateAndInitializeSid(const SID_IDENTIFIER_AUTHORITY* authority, BYTE subAuthorityCount, DWORD subAuthority0,
                              DWORD subAuthority1, DWORD subAuthority2, DWORD subAuthority3, DWORD subAuthority4,
                              DWORD subAuthority5, DWORD subAuthority6, DWORD subAuthority7, PSID* sid) {
  if (authority == nullptr || sid == nullptr || subAuthorityCount > kMaxAllocatedSubAuthorities) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const DWORD all[kMaxAllocatedSubAuthorities] = {subAuthority0, subAuthority1, subAuthority2, subAuthority3,
                                                  subAuthority4, subAuthority5, subAuthority6, subAuthority7};
  Posix::Sid value;
  for (BYTE byte : authority->Value) value.authority = (value.authority << 8) | byte;
  value.subAuthorities.assign(all, all + subAuthorityCount);
  const std::vector<BYTE> bytes = Posix::EncodeSid(value);
  *sid = AllocateLocal(bytes.data(), bytes.size());
  if (*sid == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  return TRUE;
}

BOOL IsValidSid(PSID sid) {
  if (sid == nullptr) return FALSE;
  const auto* bytes = static_cast<const BYTE*>(sid);
  return bytes[0] == 1 && bytes[1] <= kMaxSubAuthorities ? TRUE : FALSE;
}

void* FreeSid(PSID sid) {
  std::free(sid);
  return nullptr;
}

BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor, ULONG* descriptorSize) {
  if (text == nullptr || descriptor == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (revision != SDDL_REVISION_1) {
    SetLastError(ERROR_UNKNOWN_REVISION);
    return FALSE;
  }
  try {
    const std::optional<Posix::SecurityDescriptor> parsed = Posix::ParseSecurityDescriptor(text);
    if (!parsed) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return FALSE;
    }
    const std::vector<BYTE> bytes = Posix::EncodeSecurityDescriptor(*parsed);
    void* block = AllocateLocal(bytes.data(), bytes.size());
    if (block == nullptr) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
      return FALSE;
    }
    *descriptor = block;
    if (descriptorSize != nullptr) *descriptorSize = static_cast<ULONG>(bytes.size());
    return TRUE;
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
}

BOOL ConvertSecurityDescriptorToStringSecurityDescriptorW(PSECURITY_DESCRIPTOR descriptor, DWORD revision,
                                                          SECURITY_INFORMATION information, LPWSTR* text,
                                                          ULONG* textSize) {
  if (text == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (revision != SDDL_REVISION_1) {
    SetLastError(ERROR_UNKNOWN_REVISION);
    return FALSE;
  }
  try {
    const std::optional<Posix::SecurityDescriptor> decoded = Posix::DecodeSecurityDescriptor(
        static_cast<const BYTE*>(descriptor), std::numeric_limits<std::size_t>::max(), nullptr);
    if (!decoded) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return FALSE;
    }
    const std::u16string formatted = Posix::FormatSecurityDescriptor(*decoded, information);
    void* block = AllocateLocal(formatted.c_str(), (formatted.size() + 1) * sizeof(char16_t));
    if (block == nullptr) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
      return FALSE;
    }
    *text = static_cast<LPWSTR>(block);
    if (textSize != nullptr) *textSize = static_cast<ULONG>(formatted.size() + 1);
    return TRUE;
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
}

BOOL IsValidSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor) {
  try {
    return Posix::DecodeSecurityDescriptor(static_cast<const BYTE*>(descriptor),
                                           std::numeric_limits<std::size_t>::max(), nullptr)
               ? TRUE
               : FALSE;
  } catch (const std::bad_alloc&) {
    return FALSE;
  }
}

DWORD GetSecurityDescriptorLength(PSECURITY_DESCRIPTOR descriptor) {
  DWORD length = 0;
  try {
    Posix::DecodeSecurityDescriptor(static_cast<const BYTE*>(descriptor), std::numeric_limits<std::size_t>::max(),
                                    &length);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return length;
}

HLOCAL LocalFree(HLOCAL block) {
  std::free(block);
  return nullptr;
}

}  // namespace Platform
