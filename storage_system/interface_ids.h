// The identities of the storage system's interfaces, those of its registry backend included.
#pragma once

#include "foundation/guid.h"

namespace StorageSystem {
inline constexpr Common::GUID IID_IStorageItem = Common::GuidLiteral("2932E3C7-1C54-4795-B3CC-9A6A72B1A20B");
inline constexpr Common::GUID IID_IStore = Common::GuidLiteral("5621150E-8418-4968-9E0B-43507600A7D1");
inline constexpr Common::GUID IID_IStorageSystem = Common::GuidLiteral("89850AC3-23AE-4460-9985-770C77D6CC7C");
inline constexpr Common::GUID IID_IProperties = Common::GuidLiteral("B85AF94E-D2D1-4ABB-ABF9-E43D8676D8B7");
inline constexpr Common::GUID IID_ISerializer = Common::GuidLiteral("361034AA-9D64-49E2-991D-6228148133C0");
inline constexpr Common::GUID IID_ITypeEnumItem = Common::GuidLiteral("D799BA0B-778F-49FC-AC43-9E6760CFDA50");
inline constexpr Common::GUID IID_IStoreEnumItem = Common::GuidLiteral("B1BC339F-71AB-44B6-BB2A-F5AD2FD23F15");
inline constexpr Common::GUID IID_IValueEnumItem = Common::GuidLiteral("2BBC49FE-05CB-4A1A-81AC-5B3E6199DA9E");
namespace Registry {
inline constexpr Common::GUID IID_IRegistryStore = Common::GuidLiteral("B340A26D-74C2-4538-BA1B-8E57D79F7122");
inline constexpr Common::GUID IID_IRegistryValue = Common::GuidLiteral("7C311C24-7A93-418E-B9DD-63AC16694862");
inline constexpr Common::GUID IID_IRegistryProperties = Common::GuidLiteral("5E2CF091-9C4D-40C0-B820-5EC68EAAB37A");
inline constexpr Common::GUID IID_IRegistryValueEnumItem = Common::GuidLiteral("703F56DB-DBD2-47E8-90E3-6FBBFC984F36");
}  // namespace Registry
}  // namespace StorageSystem
