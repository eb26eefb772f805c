// The identities of the module host's interfaces.
#pragma once

#include "foundation/guid.h"

namespace Daemon {
inline constexpr Common::GUID IID_IModule = Common::GuidLiteral("8E335B81-9F5F-490B-A521-97E31A3BD135");
// Not registered by this library: an object answering it is taken to be the daemon's manager.
inline constexpr Common::GUID IID_IDaemonManager = Common::GuidLiteral("132D536B-C701-4544-838C-90B5E2CD39FA");
}  // namespace Daemon
