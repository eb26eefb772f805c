// The identities of every interface that the system's extensible objects answer for.
#pragma once

#include "foundation/guid.h"

namespace Common {
inline constexpr GUID IID_IExtensible = GuidLiteral("076AA9D6-96C6-49E8-9525-AE5BEC6BA03F");
}  // namespace Common

namespace Daemon {
inline constexpr Common::GUID IID_IModule = Common::GuidLiteral("8E335B81-9F5F-490B-A521-97E31A3BD135");
// Not registered by this library: an object answering it is taken to be the daemon's manager.
inline constexpr Common::GUID IID_IDaemonManager = Common::GuidLiteral("132D536B-C701-4544-838C-90B5E2CD39FA");
}  // namespace Daemon

namespace DataSystem {
inline constexpr Common::GUID IID_IModel = Common::GuidLiteral("737293FB-4E7B-47E8-A064-4C80E2CC9E96");
inline constexpr Common::GUID IID_IStoreModel = Common::GuidLiteral("7DF262F9-BF61-4FF7-AB0F-2E60EF504515");
inline constexpr Common::GUID IID_IValueModel = Common::GuidLiteral("E5E53B6F-73C0-48A4-AD08-00E52F413D4C");
inline constexpr Common::GUID IID_IItem = Common::GuidLiteral("00BBCDA2-D926-4033-B980-375EC93F383D");
inline constexpr Common::GUID IID_IItemInternal = Common::GuidLiteral("EB550B49-0E3A-4941-B005-666AEAC0B14D");
inline constexpr Common::GUID IID_IInitializable = Common::GuidLiteral("D55B102C-6DF5-4C80-A955-00794CB38504");
inline constexpr Common::GUID IID_IItemIndexer = Common::GuidLiteral("19A5F29E-E973-43DF-9D38-49335CB4E653");
inline constexpr Common::GUID IID_IStore = Common::GuidLiteral("36AD4D7D-5A26-456F-B8C4-5C7E8D82DDF4");
inline constexpr Common::GUID IID_IStoreInternal = Common::GuidLiteral("8973A422-5880-4DB4-99FB-34ACAD78D0A8");
inline constexpr Common::GUID IID_IDataSystem = Common::GuidLiteral("F2D04F0A-0BAB-4D85-9CDC-67B2A798754B");
inline constexpr Common::GUID IID_IValue = Common::GuidLiteral("4F8DF03D-4D96-421E-B46E-2CD3B253DD64");
inline constexpr Common::GUID IID_IValueBool = Common::GuidLiteral("7DF7E761-3D00-11E5-9A26-50E549C4ED27");
inline constexpr Common::GUID IID_IValueUInt = Common::GuidLiteral("7DF7E769-3D00-11E5-9A26-50E549C4ED27");
inline constexpr Common::GUID IID_IValueString = Common::GuidLiteral("7DF7E771-3D00-11E5-9A26-50E549C4ED27");
inline constexpr Common::GUID IID_IValueGuid = Common::GuidLiteral("7DF7E773-3D00-11E5-9A26-50E549C4ED27");
inline constexpr Common::GUID IID_IStorageSystemItem = Common::GuidLiteral("7610AA25-A8E7-475A-B633-D54C3A1D9399");
inline constexpr Common::GUID IID_IStorageSystemStore = Common::GuidLiteral("7D9AA5B8-CFA0-4D10-A321-C69737913D53");
inline constexpr Common::GUID IID_IStorageSystemValue = Common::GuidLiteral("EDC263A5-2E81-4146-AF27-BE3ED9748AA9");
inline constexpr Common::GUID IID_IStorageSystemItemVector = Common::GuidLiteral("3E077F26-9A57-40CF-A418-82AAC5079439");
}  // namespace DataSystem

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
