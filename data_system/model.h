// The schema of a data system: immutable models with a GUID and a name.
//
// Models are singletons built on first use under a thread-safe one-time initialization and kept
// until the process ends; nothing counts references to them. A model is reached through its item or
// through the function that makes it, never through a registry. The order of the virtual operations
// is part of the contract.
#pragma once

#include <cstdint>

#include "foundation/extensible.h"
#include "foundation/type_description.h"

namespace DataSystem {

class IModel : public Common::IExtensible {
public:
  virtual const Common::GUID* GetGuid() = 0;
  // A static wide string.
  virtual const char16_t* GetName() = 0;
};

class IStoreModel : public IModel {
public:
  // StoreModelFlags.
  virtual std::uint32_t GetFlags() = 0;
};

class IValueModel : public IModel {
public:
  // The singleton description of the value's type.
  virtual const ITypeDescription* GetTypeDescription() = 0;
  // The default of the item with the logical index `index` and its size in bytes. For a wide string
  // the pointer is the string itself. A computed default lives in the model until the next call.
  virtual const void* GetDefaultValue(std::uint64_t index, std::uint32_t* size) = 0;
  // The lowest and highest legal values with their size; null for a type without bounds.
  virtual const void* GetMinimum(std::uint32_t* size) = 0;
  virtual const void* GetMaximum(std::uint32_t* size) = 0;
};

}  // namespace DataSystem

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IStoreModel> =
    "Common::CExtensible<class DataSystem::IStoreModel>::RegisterInterfaceBase";
template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<DataSystem::IValueModel> =
    "Common::CExtensible<class DataSystem::IValueModel>::RegisterInterfaceBase";
