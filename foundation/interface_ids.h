// The identity of the interface that every extensible object answers for. Each layer above declares
// the identities of its own interfaces beside them (module_host/, storage_system/, data_system/).
#pragma once

#include "foundation/guid.h"

namespace Common {
inline constexpr GUID IID_IExtensible = GuidLiteral("076AA9D6-96C6-49E8-9525-AE5BEC6BA03F");
}  // namespace Common
