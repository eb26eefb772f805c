// The model of a value of one of the four value types.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include "data_system/interface_ids.h"
#include "data_system/model.h"
#include "data_system/value.h"

namespace DataSystem {

// The C++ type in which a model keeps a default and bounds of T.
template <class T>
struct ModelValue {
  using Type = T;
};
template <>
struct ModelValue<WideString> {
  using Type = const char16_t*;
};

// Only bool and unsigned int have bounds.
template <class T>
inline constexpr bool kIsBounded = std::is_same_v<T, bool> || std::is_same_v<T, std::uint32_t>;

// A value's identity, name, type, default and bounds: an immutable singleton of a schema, made by a
// function-local static and never counted. The default is a literal, or a function of the item's
// logical index whose last result the model keeps; that result is shared by every item of the
// model, so a computed default is meant to be read under the tree's lock, as the tree does.
template <class T>
class CValueModelT : public Common::CExtensible<IValueModel> {
public:
  using Value = typename ModelValue<T>::Type;
  using DefaultFunction = Value (*)(std::uint64_t index);

  // A literal default; for a wide string a static string (null: the empty string).
  CValueModelT(const Common::GUID& guid, const char16_t* name, Value defaultValue, Value minimum = DefaultMinimum(),
               Value maximum = DefaultMaximum())
      : guid(guid), name(name), type(ValueTypeDescription<T>()), defaultIsLiteral(1), minimum(minimum),
        maximum(maximum) {
    m_literal = defaultValue;
    if constexpr (std::is_same_v<T, WideString>) {
      if (defaultValue == nullptr) m_literal = u"";
      m_literalSize = ByteSize(m_literal);
    }
    Register();
  }

  // A default computed from the item's logical index.
  CValueModelT(const Common::GUID& guid, const char16_t* name, DefaultFunction function,
               Value minimum = DefaultMinimum(), Value maximum = DefaultMaximum())
      : guid(guid), name(name), type(ValueTypeDescription<T>()), defaultIsLiteral(0), minimum(minimum),
        maximum(maximum) {
    m_function = function;
    Register();
  }
  CValueModelT(const CValueModelT&) = delete;
  CValueModelT& operator=(const CValueModelT&) = delete;

  const Common::GUID* GetGuid() override { return &guid; }
  const char16_t* GetName() override { return name; }
  const ITypeDescription* GetTypeDescription() override { return type; }

  const void* GetDefaultValue(std::uint64_t index, std::uint32_t* size) override {
    if constexpr (std::is_same_v<T, WideString>) {
      const char16_t* text = defaultIsLiteral ? m_literal : (computedDefault = m_function(index));
      if (size != nullptr) *size = defaultIsLiteral ? m_literalSize : ByteSize(text);
      return text;
    } else {
      if (size != nullptr) *size = sizeof(T);
      if (defaultIsLiteral) return &m_literal;
      computedDefault = m_function(index);
      return &computedDefault;
    }
  }

  const void* GetMinimum(std::uint32_t* size) override { return Bound(&minimum, size); }
  const void* GetMaximum(std::uint32_t* size) override { return Bound(&maximum, size); }

  const Common::GUID guid;
  const char16_t* const name;
  const ITypeDescription* const type;
  const unsigned char defaultIsLiteral;
  Value computedDefault{};
  const Value minimum;
  const Value maximum;

private:
  static constexpr Value DefaultMinimum() {
    if constexpr (kIsBounded<T>)
      return std::numeric_limits<T>::min();
    else
      return Value{};
  }
  static constexpr Value DefaultMaximum() {
    if constexpr (kIsBounded<T>)
      return std::numeric_limits<T>::max();
    else
      return Value{};
  }
  // Twice the length and the terminator; 0 for a null string.
  static std::uint32_t ByteSize(const char16_t* text) {
    return text == nullptr ? 0 : static_cast<std::uint32_t>(2 * std::char_traits<char16_t>::length(text) + 2);
  }
  const void* Bound(const Value* bound, std::uint32_t* size) const {
    if constexpr (kIsBounded<T>) {
      if (size != nullptr) *size = sizeof(T);
      return bound;
    } else {
      return nullptr;
    }
  }
  void Register() {
    RegisterInterfaceBase(IID_IModel, static_cast<IModel*>(this));
    RegisterInterfaceBase(IID_IValueModel, static_cast<IValueModel*>(this));
  }

  // The literal default, or the function that computes it.
  Value m_literal{};
  DefaultFunction m_function = nullptr;
  std::uint32_t m_literalSize = 0;
};

}  // namespace DataSystem
