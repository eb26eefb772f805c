// The identities of the data system's interfaces.
#pragma once

#include "foundation/guid.h"

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
inline constexpr Common::GUID IID_IStorageSystemItemVector =
    Common::GuidLiteral("3E077F26-9A57-40CF-A418-82AAC5079439");
}  // namespace DataSystem
