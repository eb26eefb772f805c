// The digits of the formatter's floating-point conversions (%f, %e, %g) as text, without the sign,
// padding or field width that the formatter adds. Internal to format.cpp.
//
// Digits come from std::to_chars, which gives those of printf in the "C" locale without looking at
// the current locale and without touching the heap. Pure functions; any thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace FormatFloat {

// 309 integer digits, the point and 1074 fraction digits, with room to spare.
inline constexpr std::size_t kFloatTextCapacity = 1536;

// Text of one floating-point conversion, without its sign. `extraZeros` zeros belong at `zerosAt`:
// digits asked for by the precision beyond what a double can carry.
struct FloatText {
  char text[kFloatTextCapacity];
  std::size_t length = 0;
  std::size_t zerosAt = 0;
  std::uint64_t extraZeros = 0;
};

// %f of `magnitude` (not negative) with `precision` fraction digits; `alternate` (#) keeps the point
// when the precision is 0.
void FixedText(double magnitude, std::int64_t precision, bool alternate, FloatText& body);

// %e of `magnitude` (not negative) with `precision` fraction digits; `alternate` as for FixedText.
void ScientificText(double magnitude, std::int64_t precision, bool alternate, FloatText& body);

// %g: the style of %e when the exponent is below -4 or not below the precision, else that of %f;
// trailing zeros of the fraction go unless `alternate` (#) keeps them, and then the point is always
// there.
void GeneralText(double magnitude, std::int64_t precision, bool alternate, FloatText& body);

}  // namespace FormatFloat
