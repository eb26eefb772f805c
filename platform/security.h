// Security identifiers and descriptors.
//
// Windows builds real descriptors. Off Windows they are kept as data in the same self-relative
// layout (header, ACLs, SIDs at offsets in one block): a descriptor text is parsed, checked and
// stored, so that keys carry what was asked for and a bad text fails as it would there. Nothing
// off Windows checks access against them. All functions may be called from any thread.
#pragma once

#include "platform/types.h"

namespace Platform {

struct SID_IDENTIFIER_AUTHORITY {
  BYTE Value[6];
};

using SECURITY_INFORMATION = DWORD;

constexpr DWORD SDDL_REVISION_1 = 1;
constexpr SECURITY_INFORMATION OWNER_SECURITY_INFORMATION = 0x00000001;
constexpr SECURITY_INFORMATION GROUP_SECURITY_INFORMATION = 0x00000002;
constexpr SECURITY_INFORMATION DACL_SECURITY_INFORMATION = 0x00000004;
constexpr SECURITY_INFORMATION SACL_SECURITY_INFORMATION = 0x00000008;

constexpr LONG ERROR_UNKNOWN_REVISION = 1305;

// Builds a SID from an authority and up to eight sub-authorities (the first `subAuthorityCount` of
// them count). The caller frees it with FreeSid. Returns FALSE with the last error on failure.
BOOL AllocateAndInitializeSid(const SID_IDENTIFIER_AUTHORITY* authority, BYTE subAuthorityCount, DWORD subAuthority0,
                              DWORD subAuthority1, DWORD subAuthority2, DWORD subAuthority3, DWORD subAuthority4,
                              DWORD subAuthority5, DWORD subAuthority6, DWORD subAuthority7, PSID* sid);
// Whether `sid` is a SID of revision 1 with at most 15 sub-authorities; FALSE for null.
BOOL IsValidSid(PSID sid);
// Frees a SID from AllocateAndInitializeSid. Returns null.
void* FreeSid(PSID sid);

// Parses a security descriptor text ("D:(A;OICI;GA;;;BA)..."). The descriptor is written to
// `descriptor`, self-relative, and freed by the caller with LocalFree; its size in bytes goes to
// `descriptorSize` when not null. Returns FALSE with ERROR_INVALID_PARAMETER for a text that does
// not parse, or ERROR_UNKNOWN_REVISION (1305) for another revision.
//
// Off Windows the texts understood are: the parts "O:", "G:" (a SID), "D:", "S:" (flags P, AI, AR
// or NO_ACCESS_CONTROL, then entries); entries "(type;flags;rights;;;trustee)" of the types A, D,
// AU, AL and ML, flags OI CI NP IO ID SA FA, rights as two-letter codes (GA GR GW GX, RC SD WD WO,
// RP WP CC DC LC SW LO DT CR, FA FR FW FX, KA KR KW KX, NR NW NX) or a number ("0x1F01FF"), and
// trustees as S-1-... strings or the abbreviations of well-known SIDs (IU BA LS SY AC WD BU AU NS
// CO CG AN BG PU SU NU RC OW ...). Codes are upper case. Domain-relative abbreviations (DA, DU,
// ...) and object entries are refused.
BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor, ULONG* descriptorSize);

// Writes the text of the parts of `descriptor` chosen by `information` (OWNER_, GROUP_, DACL_,
// SACL_SECURITY_INFORMATION) to `text`, freed by the caller with LocalFree; the buffer's size in
// characters with the terminator goes to `textSize` when not null. Well-known SIDs are written as
// their abbreviations and rights as codes where the mask has them. Returns FALSE with
// ERROR_INVALID_PARAMETER for a descriptor that is not valid, ERROR_UNKNOWN_REVISION for another
// revision.
BOOL ConvertSecurityDescriptorToStringSecurityDescriptorW(PSECURITY_DESCRIPTOR descriptor, DWORD revision,
                                                          SECURITY_INFORMATION information, LPWSTR* text,
                                                          ULONG* textSize);

// Whether `descriptor` is a well-formed self-relative descriptor; FALSE for null.
BOOL IsValidSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor);

// The size in bytes of a valid self-relative descriptor: copying that many bytes copies it.
DWORD GetSecurityDescriptorLength(PSECURITY_DESCRIPTOR descriptor);

// Frees a block that the system allocated for the caller. Returns null on success.
HLOCAL LocalFree(HLOCAL block);

}  // namespace Platform
