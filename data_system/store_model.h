// The model of a store.
#pragma once

#include <cstdint>

#include "data_system/interface_ids.h"
#include "data_system/model.h"

namespace DataSystem {

// A store's identity, name and StoreModelFlags: an immutable singleton of a schema, made by a
// function-local static and never counted.
class CStoreModel : public Common::CExtensible<IStoreModel> {
public:
  // `name` is a static string, borrowed for the process's life.
  CStoreModel(const Common::GUID& guid, const char16_t* name, std::uint32_t flags)
      : guid(guid), name(name), flags(flags) {
    RegisterInterfaceBase(IID_IModel, static_cast<IModel*>(this));
    RegisterInterfaceBase(IID_IStoreModel, static_cast<IStoreModel*>(this));
  }
  CStoreModel(const CStoreModel&) = delete;
  CStoreModel& operator=(const CStoreModel&) = delete;

  const Common::GUID* GetGuid() override { return &guid; }
  const char16_t* GetName() override { return name; }
  std::uint32_t GetFlags() override { return flags; }

  const Common::GUID guid;
  const char16_t* const name;
  const std::uint32_t flags;
};

}  // namespace DataSystem
