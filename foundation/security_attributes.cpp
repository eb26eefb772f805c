#include "foundation/security_attributes.h"

#include "foundation/error.h"
#include "foundation/format.h"
#include "foundation/windows_version.h"
#include "platform/security.h"

namespace Common {
namespace {

constexpr std::size_t kEntryCapacity = 32;
constexpr std::size_t kDescriptorCapacity = 256;

// The rights text of one group; null for no entry.
const char16_t* RightsText(Platform::DWORD rights) {
  if ((rights & 8) != 0) return u"GA";
  switch (rights) {
    case 0:
      return nullptr;
    case 1:
      return u"GR";
    case 2:
      return u"GW";
    case 3:
      return u"GRGW";
    default:
      return u"";
  }
}

// Writes the access entry of one group into `entry`, or an empty string for no entry.
void FormatEntry(char16_t (&entry)[kEntryCapacity], Platform::DWORD rights, const char16_t* trustee) {
  entry[0] = 0;
  if (const char16_t* text = RightsText(rights)) {
    FormatBounded(entry, kEntryCapacity, u"(A;OICI;%s;;;%s)", text, trustee);
  }
}

// The SID of all application packages (S-1-15-2-1), or null when it cannot be made. It is only
// looked at, so one made at first need serves the whole process and is never freed.
Platform::PSID ApplicationPackagesSid() {
  static const Platform::PSID sid = [] {
    const Platform::SID_IDENTIFIER_AUTHORITY packageAuthority = {{0, 0, 0, 0, 0, 15}};
    Platform::PSID made = nullptr;
    if (!Platform::AllocateAndInitializeSid(&packageAuthority, 2, 2, 1, 0, 0, 0, 0, 0, 0, &made)) {
      return Platform::PSID{};
    }
    return made;
  }();
  return sid;
}

}  // namespace

CSecurityAttributes::CSecurityAttributes(Platform::DWORD users, Platform::DWORD administrators,
                                         Platform::DWORD localService, Platform::DWORD localSystem,
                                         Platform::DWORD applicationPackages)
    : Platform::SECURITY_ATTRIBUTES{sizeof(Platform::SECURITY_ATTRIBUTES), nullptr, 0}, attributes(nullptr) {
  const Platform::PSID packagesSid = ApplicationPackagesSid();
  char16_t usersEntry[kEntryCapacity];
  char16_t administratorsEntry[kEntryCapacity];
  char16_t localServiceEntry[kEntryCapacity];
  char16_t localSystemEntry[kEntryCapacity];
  char16_t packagesEntry[kEntryCapacity];
  FormatEntry(usersEntry, users, u"IU");
  FormatEntry(administratorsEntry, administrators, u"BA");
  FormatEntry(localServiceEntry, localService, u"LS");
  FormatEntry(localSystemEntry, localSystem, u"SY");
  FormatEntry(packagesEntry, applicationPackages, u"AC");

  // Windows 7 and Server 2008 R2 know no application packages and refuse the "AC" trustee.
  const bool windows61 = IsWindowsVersionOrGreater6(1) && !IsWindowsVersionOrGreater6(2);
  if (applicationPackages == 0 || packagesSid == nullptr || !Platform::IsValidSid(packagesSid) || windows61) {
    packagesEntry[0] = 0;
  }

  char16_t descriptor[kDescriptorCapacity];
  FormatBounded(descriptor, kDescriptorCapacity, u"D:%s%s%s%s%s", usersEntry, administratorsEntry, localServiceEntry,
                localSystemEntry, packagesEntry);
  if (Platform::ConvertStringSecurityDescriptorToSecurityDescriptorW(descriptor, Platform::SDDL_REVISION_1,
                                                                     &lpSecurityDescriptor, nullptr)) {
    attributes = this;
  } else {
    static_cast<void>(RaiseError("Common::CSecurityAttributes::CSecurityAttributes", ErrorSystem, nullptr));
  }
}

CSecurityAttributes::~CSecurityAttributes() {
  if (attributes != nullptr) Platform::LocalFree(lpSecurityDescriptor);
}

}  // namespace Common
