// A value of bool or unsigned int with the bounds of its model.
#pragma once

#include <cstdint>
#include <cstring>

#include "data_system/flags.h"
#include "data_system/value_item.h"

namespace DataSystem {

// Clamps reads into the model's bounds (unless DS_UNCLAMPED_READ) and checks writes by the range
// field of the data system's flags: neither bit refuses a value out of bounds with
// ErrorOutOfBounds, not reported; DS_RANGE_UNCHECKED writes it; DS_RANGE_CLAMP writes the clamped
// value; both drop every write and succeed. The stored value itself is never changed by a read.
template <class T>
class CBoundedValueT final : public CValueT<T> {
public:
  using Pointer = typename CValueT<T>::Pointer;

  CBoundedValueT(IValueModel* model, IItem* parent) : CValueT<T>(model, parent) {}

  // A pointer to the cached value, or to the model's bound that it passes; valid until the next
  // operation on the value.
  Pointer Get() override {
    Pointer current = CValueT<T>::Get();
    if ((this->m_delegate.dataSystemFlags & DS_UNCLAMPED_READ) != 0) return current;
    return Clamp(current);
  }

  ErrorCode Set(Pointer value) override {
    switch (this->m_delegate.dataSystemFlags & kRangeFieldMask) {
      case 0:
        if (Less(value, this->GetMinimum()) || Less(this->GetMaximum(), value)) return ErrorOutOfBounds;
        return this->WriteFixed(value);
      case DS_RANGE_UNCHECKED:
        return this->WriteFixed(value);
      case DS_RANGE_CLAMP:
        return this->WriteFixed(Clamp(value));
      default:
        return ErrorNone;
    }
  }

private:
  // Compares as the stored bytes say, so that a bool byte of 2 is above the maximum 1.
  static bool Less(Pointer a, Pointer b) {
    CacheType<T> left, right;
    std::memcpy(&left, a, sizeof(left));
    std::memcpy(&right, b, sizeof(right));
    return left < right;
  }
  // The smaller of `value` and the maximum, then the greater of that and the minimum.
  Pointer Clamp(Pointer value) {
    Pointer maximum = this->GetMaximum();
    Pointer chosen = Less(maximum, value) ? maximum : value;
    Pointer minimum = this->GetMinimum();
    return Less(chosen, minimum) ? minimum : chosen;
  }
};

}  // namespace DataSystem
