// Security identifiers and descriptors.
//
// Windows builds real descriptors. Off Windows they are kept as data: a descriptor text is parsed,
// checked and stored, so that keys carry what was asked for and a bad text fails as it would there.
#pragma once

#include "platform/types.h"

namespace Platform {

struct SID_IDENTIFIER_AUTHORITY {
  BYTE Value[6];
};

constexpr DWORD SDDL_REVISION_1 = 1;

// Builds a SID from an authority and up to eight sub-authorities (the first `subAuthorityCount` of
// them count). The caller frees it with FreeSid. Returns FALSE with the last error on failure.
BOOL AllocateAndInitializeSid(const SID_IDENTIFIER_AUTHORITY* authority, BYTE subAuthorityCount,
                              DWORD subAuthority0, DWORD subAuthority1, DWORD subAuthority2,
                              DWORD subAuthority3, DWORD subAuthority4, DWORD subAuthority5,
                              DWORD subAuthority6, DWORD subAuthority7, PSID* sid);
BOOL IsValidSid(PSID sid);
void* FreeSid(PSID sid);

// Parses a security descriptor text ("D:(A;OICI;GA;;;BA)..."). The descriptor is written to
// `descriptor` and freed by the caller with LocalFree; its size goes to `descriptorSize` when not
// null. Returns FALSE with ERROR_INVALID_PARAMETER for a text that does not parse, or
// ERROR_UNKNOWN_REVISION (1305) for another revision.
BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor,
                                                          ULONG* descriptorSize);

// Frees a block that the system allocated for the caller. Returns null on success.
HLOCAL LocalFree(HLOCAL block);

}  // namespace Platform
