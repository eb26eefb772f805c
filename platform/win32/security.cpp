// Security identifiers and descriptors: forwarded to the system.
#include "platform/security.h"

#include "platform/win32/windows_api.h"

namespace Platform {

BOOL AllocateAndInitializeSid(const SID_IDENTIFIER_AUTHORITY* authority, BYTE subAuthorityCount, DWORD subAuthority0,
                              DWORD subAuthority1, DWORD subAuthority2, DWORD subAuthority3, DWORD subAuthority4,
                              DWORD subAuthority5, DWORD subAuthority6, DWORD subAuthority7, PSID* sid) {
  return ::AllocateAndInitializeSid(Win32::ToNative(authority), subAuthorityCount, subAuthority0, subAuthority1,
                                    subAuthority2, subAuthority3, subAuthority4, subAuthority5, subAuthority6,
                                    subAuthority7, sid);
}

BOOL IsValidSid(PSID sid) { return ::IsValidSid(sid); }

void* FreeSid(PSID sid) { return ::FreeSid(sid); }

BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor, ULONG* descriptorSize) {
  return ::ConvertStringSecurityDescriptorToSecurityDescriptorW(Win32::ToWide(text), revision, descriptor,
                                                                Win32::ToNativeUlong(descriptorSize));
}

BOOL ConvertSecurityDescriptorToStringSecurityDescriptorW(PSECURITY_DESCRIPTOR descriptor, DWORD revision,
                                                          SECURITY_INFORMATION information, LPWSTR* text,
                                                          ULONG* textSize) {
  return ::ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, revision, information, Win32::ToWide(text),
                                                                Win32::ToNativeUlong(textSize));
}

BOOL IsValidSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor) { return ::IsValidSecurityDescriptor(descriptor); }

DWORD GetSecurityDescriptorLength(PSECURITY_DESCRIPTOR descriptor) { return ::GetSecurityDescriptorLength(descriptor); }

HLOCAL LocalFree(HLOCAL block) { return ::LocalFree(block); }

}  // namespace Platform
