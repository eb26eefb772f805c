// Common::CSecurityAttributes: security attributes whose access list gives chosen rights to five
// groups, for the registry keys that the product storage creates.
//
// A per-machine key must be reachable by the user's processes, by the services and by sandboxed
// applications; the caller says which rights each group gets. The object presents itself as the
// platform's security attributes through `attributes`, which is null when the descriptor could not
// be built, so that a failed construction hands the platform its default security.
#pragma once

#include "platform/registry.h"

namespace Common {

class CSecurityAttributes : public Platform::SECURITY_ATTRIBUTES {
public:
  // Rights values for each group: 0 no entry, 1 read, 2 write, 3 read and write, any value with the
  // bit of 8 set all rights; other values make an entry with no rights. The groups in order:
  // interactive users, administrators, local service, local system, all application packages (the
  // last left out on the 6.1 line of the system). Reports a failed conversion. Any thread.
  CSecurityAttributes(Platform::DWORD users, Platform::DWORD administrators, Platform::DWORD localService,
                      Platform::DWORD localSystem, Platform::DWORD applicationPackages);
  // Frees the descriptor when it was built.
  ~CSecurityAttributes();
  CSecurityAttributes(const CSecurityAttributes&) = delete;
  CSecurityAttributes& operator=(const CSecurityAttributes&) = delete;

  // This object as the platform's attributes, or null when the descriptor was not built. Borrowed.
  Platform::SECURITY_ATTRIBUTES* attributes;
};

}  // namespace Common
