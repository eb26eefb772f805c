#include "foundation/float_text.h"

#include <algorithm>
#include <charconv>

namespace FormatFloat {

namespace {

// A double has no non-zero digit further than 1074 places right of the point, and no more than 767
// significant decimal digits, so precisions beyond these only add zeros, which are written without
// asking std::to_chars.
constexpr int kMaxFixedPrecision = 1074;
constexpr int kMaxScientificPrecision = 800;

void InsertAt(FloatText& body, std::size_t position, char character) {
  std::copy_backward(body.text + position, body.text + body.length, body.text + body.length + 1);
  body.text[position] = character;
  ++body.length;
}

std::size_t ExponentPosition(const FloatText& body) {
  return static_cast<std::size_t>(std::find(body.text, body.text + body.length, 'e') - body.text);
}

int ExponentOf(const FloatText& body) {
  int exponent = 0;
  const std::size_t position = ExponentPosition(body);
  std::from_chars(body.text + position + (body.text[position + 1] == '+' ? 2 : 1), body.text + body.length, exponent);
  return exponent;
}

// Writes `magnitude` in `format` with at most `maxPrecision` digits of the `precision` asked for;
// the digits beyond it are counted as zeros still to come.
void DigitsText(double magnitude, std::chars_format format, std::int64_t precision, std::int64_t maxPrecision,
                FloatText& body) {
  const int capped = static_cast<int>(std::min<std::int64_t>(precision, maxPrecision));
  const auto result = std::to_chars(body.text, body.text + kFloatTextCapacity - 2, magnitude, format, capped);
  body.length = static_cast<std::size_t>(result.ptr - body.text);
  body.extraZeros = static_cast<std::uint64_t>(precision - capped);
}

}  // namespace

void FixedText(double magnitude, std::int64_t precision, bool alternate, FloatText& body) {
  DigitsText(magnitude, std::chars_format::fixed, precision, kMaxFixedPrecision, body);
  if (alternate && precision == 0) {
    body.text[body.length++] = '.';
  }
  body.zerosAt = body.length;
}

void ScientificText(double magnitude, std::int64_t precision, bool alternate, FloatText& body) {
  DigitsText(magnitude, std::chars_format::scientific, precision, kMaxScientificPrecision, body);
  body.zerosAt = ExponentPosition(body);
  if (alternate && precision == 0) {
    InsertAt(body, body.zerosAt, '.');
    ++body.zerosAt;
  }
}

void GeneralText(double magnitude, std::int64_t precision, bool alternate, FloatText& body) {
  const std::int64_t significant = precision == 0 ? 1 : precision;
  ScientificText(magnitude, significant - 1, false, body);
  const int exponent = ExponentOf(body);
  if (significant > exponent && exponent >= -4) {
    FixedText(magnitude, significant - 1 - exponent, false, body);
  }
  const std::size_t mantissaEnd = body.zerosAt;
  const bool hasPoint = std::find(body.text, body.text + mantissaEnd, '.') != body.text + mantissaEnd;
  if (alternate) {
    if (!hasPoint) {
      InsertAt(body, mantissaEnd, '.');
      ++body.zerosAt;
    }
    return;
  }
  body.extraZeros = 0;
  if (!hasPoint) {
    return;
  }
  std::size_t end = mantissaEnd;
  while (body.text[end - 1] == '0') {
    --end;
  }
  if (body.text[end - 1] == '.') {
    --end;
  }
  std::copy(body.text + mantissaEnd, body.text + body.length, body.text + end);
  body.length -= mantissaEnd - end;
  body.zerosAt = end;
}

}  // namespace FormatFloat
