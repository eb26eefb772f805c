// Bounded scanf-style parsing of UTF-16 text with the Windows conventions (see scan.h).
//
// The text is a NUL-terminated string, so the scanner can look ahead freely and never needs to push a
// character back: a field is the longest complete match, as the C library's conversion functions
// take it. Integers accumulate modulo 2^64 and are stored cut to the width of their target, as the
// Windows scanner does with values that do not fit. Floating-point fields are reduced to a short
// ASCII text and converted by std::from_chars, which rounds correctly, ignores the locale and
// touches no heap.
#include "foundation/scan.h"

#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <system_error>

#include "foundation/format_conversion.h"

namespace {

using FormatConversion::Arguments;
using FormatConversion::Length;
using FormatConversion::ReadLength;

// A double needs at most 767 significant decimal digits to round correctly; any further digits only
// tell whether something non-zero follows, which one more digit 1 stands for.
constexpr std::size_t kMaxSignificantDigits = 800;
// Beyond this decimal exponent every value is infinite or zero.
constexpr std::int64_t kExponentLimit = 100000;

bool IsDecimalDigit(char16_t character) { return character >= '0' && character <= '9'; }

// Whether `word` (lower case ASCII) starts at `text`, in either case, within `remaining` characters.
bool MatchesWord(const char16_t* text, std::size_t remaining, const char* word) {
  for (; *word != 0; ++word, ++text, --remaining) {
    const char16_t lower = *text >= 'A' && *text <= 'Z' ? static_cast<char16_t>(*text + ('a' - 'A')) : *text;
    if (remaining == 0 || lower != static_cast<char16_t>(*word)) {
      return false;
    }
  }
  return true;
}

// The significant digits of a decimal field and the power of ten that scales them, gathered digit by
// digit without bound on the field's length.
class DecimalDigits {
public:
  void Add(char16_t digit, bool inFraction) {
    if (m_count == 0 && digit == '0') {
      m_exponent -= inFraction ? 1 : 0;
    } else if (m_count < kMaxSignificantDigits) {
      m_digits[m_count++] = static_cast<char>(digit);
      m_exponent -= inFraction ? 1 : 0;
    } else {
      m_sticky = m_sticky || digit != '0';
      m_exponent += inFraction ? 0 : 1;
    }
  }

  void Scale(std::int64_t powerOfTen) { m_exponent += powerOfTen; }

  // The value, correctly rounded to `Value`; a value too large for it is infinite, one too small zero.
  template <typename Value>
  Value Convert() {
    if (m_count == 0) {
      return 0;
    }
    const std::int64_t magnitude = m_exponent + static_cast<std::int64_t>(m_count) - 1;
    if (m_sticky) {
      m_digits[m_count++] = '1';
      --m_exponent;
    }
    const std::int64_t exponent = m_exponent < -kExponentLimit  ? -kExponentLimit
                                  : m_exponent > kExponentLimit ? kExponentLimit
                                                                : m_exponent;
    char* end = m_digits + m_count;
    *end++ = 'e';
    end = std::to_chars(end, m_digits + sizeof m_digits, exponent).ptr;
    Value value = 0;
    if (std::from_chars(m_digits, end, value).ec == std::errc::result_out_of_range) {
      return magnitude > 0 ? std::numeric_limits<Value>::infinity() : 0;
    }
    return value;
  }

private:
  char m_digits[kMaxSignificantDigits + 32];
  std::size_t m_count = 0;
  std::int64_t m_exponent = 0;
  bool m_sticky = false;
};

// The white space of the "C" locale.
bool IsSpace(char16_t character) { return character == ' ' || (character >= '\t' && character <= '\r'); }

// Reads the sign a number or an exponent may open with and moves past it; the sign counts in the
// field's `remaining` width, which has room for it. True for '-'.
bool ReadSign(const char16_t*& cursor, std::size_t& remaining) {
  if (*cursor != '+' && *cursor != '-') {
    return false;
  }
  --remaining;
  return *cursor++ == '-';
}

int DigitValue(char16_t character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  if (character >= 'a' && character <= 'f') {
    return character - 'a' + 10;
  }
  if (character >= 'A' && character <= 'F') {
    return character - 'A' + 10;
  }
  return INT_MAX;
}

// Why a scan ended before the end of its format: a malformed format and a mismatch end it alike;
// running out of text before the first conversion is what makes the result -1.
enum class Outcome { Continue, Mismatch, EndOfText };

// The scanning of one call: walks the format over the text, reads the target pointers and stores.
// Lives on the caller's stack for the one call.
class Scanner {
public:
  Scanner(const char16_t* text, va_list arguments) : m_start(text), m_position(text) {
    va_copy(m_arguments.list, arguments);
  }
  ~Scanner() { va_end(m_arguments.list); }
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  // Scans the text by all of `format`; returns the fields assigned, or -1 when the text ended before
  // the first conversion.
  int Run(const char16_t* format) {
    Outcome outcome = Outcome::Continue;
    while (*format != 0 && outcome == Outcome::Continue) {
      if (IsSpace(*format)) {
        while (IsSpace(*format)) {
          ++format;
        }
        SkipSpace();
      } else if (*format != '%') {
        outcome = MatchLiteral(*format++);
      } else {
        ++format;
        outcome = Conversion(format);
      }
    }
    return outcome == Outcome::EndOfText && !m_converted ? -1 : m_assigned;
  }

private:
  void SkipSpace() {
    while (IsSpace(*m_position)) {
      ++m_position;
    }
  }

  Outcome MatchLiteral(char16_t expected) {
    if (*m_position == 0) {
      return Outcome::EndOfText;
    }
    if (*m_position != expected) {
      return Outcome::Mismatch;
    }
    ++m_position;
    return Outcome::Continue;
  }

  // Reads one conversion directive after its '%' and carries it out.
  Outcome Conversion(const char16_t*& format) {
    bool suppress = false;
    if (*format == '*') {
      suppress = true;
      ++format;
    }
    std::size_t width = 0;
    while (*format >= '0' && *format <= '9') {
      width = width < SIZE_MAX / 20 ? width * 10 + (*format - '0') : SIZE_MAX / 2;
      ++format;
    }
    if (width == 0) {
      width = SIZE_MAX;
    }
    const Length length = ReadLength(format);
    const char16_t conversion = *format;
    if (conversion == 0) {
      return Outcome::Mismatch;
    }
    ++format;
    switch (conversion) {
      case 'd':
        return Integer(10, width, length, suppress);
      case 'i':
        return Integer(0, width, length, suppress);
      case 'u':
        return Integer(10, width, length, suppress);
      case 'x':
      case 'X':
        return Integer(16, width, length, suppress);
      case 'o':
        return Integer(8, width, length, suppress);
      case 'e':
      case 'E':
      case 'f':
      case 'F':
      case 'g':
      case 'G':
      case 'a':
      case 'A':
        return Floating(width, length, suppress);
      case 'c':
        return Characters(width == SIZE_MAX ? 1 : width, length, suppress);
      case 's':
        return Word(width, length, suppress);
      case '[':
        return Set(format, width, length, suppress);
      case 'n':
        return Count(length, suppress);
      case '%':
        SkipSpace();
        return MatchLiteral('%');
      default:
        return Outcome::Mismatch;
    }
  }

  void Assigned(bool suppress) {
    m_converted = true;
    if (!suppress) {
      ++m_assigned;
    }
  }

  // Stores `value` cut to the width of the target the modifier names; false for a modifier that
  // does not go with an integer.
  bool StoreInteger(Length length, std::uint64_t value) {
    switch (length) {
      case Length::None:
      case Length::Long32:
        *va_arg(m_arguments.list, std::int32_t*) = static_cast<std::int32_t>(value);
        return true;
      case Length::Char:
        *va_arg(m_arguments.list, std::int8_t*) = static_cast<std::int8_t>(value);
        return true;
      case Length::Short:
        *va_arg(m_arguments.list, std::int16_t*) = static_cast<std::int16_t>(value);
        return true;
      case Length::Long64:
        *va_arg(m_arguments.list, std::int64_t*) = static_cast<std::int64_t>(value);
        return true;
      case Length::Size:
        *va_arg(m_arguments.list, std::size_t*) = static_cast<std::size_t>(value);
        return true;
      default:
        return false;
    }
  }

  // `base` 0 takes the base from the prefix as %i does. A 0x prefix is also accepted in base 16 and
  // counts in the width; a "0x" followed by no hexadecimal digit reads as the number 0.
  Outcome Integer(int base, std::size_t width, Length length, bool suppress) {
    if (length == Length::Wide || length == Length::LongDouble) {
      return Outcome::Mismatch;
    }
    SkipSpace();
    if (*m_position == 0) {
      return Outcome::EndOfText;
    }
    const char16_t* cursor = m_position;
    std::size_t remaining = width;
    const bool negative = ReadSign(cursor, remaining);
    bool sawDigit = false;
    if ((base == 0 || base == 16) && remaining > 0 && *cursor == '0') {
      ++cursor;
      --remaining;
      sawDigit = true;
      if (remaining > 0 && (*cursor == 'x' || *cursor == 'X')) {
        ++cursor;
        --remaining;
        base = 16;
      } else if (base == 0) {
        base = 8;
      }
    }
    if (base == 0) {
      base = 10;
    }
    std::uint64_t value = 0;
    for (; remaining > 0 && DigitValue(*cursor) < base; ++cursor, --remaining) {
      value = value * static_cast<unsigned>(base) + static_cast<unsigned>(DigitValue(*cursor));
      sawDigit = true;
    }
    if (!sawDigit) {
      return Outcome::Mismatch;
    }
    m_position = cursor;
    if (!suppress && !StoreInteger(length, negative ? 0 - value : value)) {
      return Outcome::Mismatch;
    }
    Assigned(suppress);
    return Outcome::Continue;
  }

  // Reads "inf", "infinity", "nan" or "nan(...)" in any case into `special` and moves past it; false
  // (nothing moved) when the field holds none of them.
  bool ReadSpecial(const char16_t*& cursor, std::size_t& remaining, double& special) {
    if (MatchesWord(cursor, remaining, "infinity")) {
      cursor += 8;
      special = std::numeric_limits<double>::infinity();
    } else if (MatchesWord(cursor, remaining, "inf")) {
      cursor += 3;
      special = std::numeric_limits<double>::infinity();
    } else if (MatchesWord(cursor, remaining, "nan")) {
      cursor += 3;
      remaining -= 3;
      special = std::numeric_limits<double>::quiet_NaN();
      const char16_t* tail = cursor;
      if (remaining > 0 && *tail == '(') {
        for (++tail, --remaining; remaining > 0 && *tail != 0 && *tail != ')'; ++tail, --remaining) {
        }
        if (remaining > 0 && *tail == ')') {
          cursor = tail + 1;
        }
      }
    } else {
      return false;
    }
    return true;
  }

  // Reads the digits, point and exponent of a decimal number into `digits` and moves past them; an
  // exponent mark with no digit after it is left. False when the field has no digit.
  bool ReadDecimal(const char16_t*& cursor, std::size_t& remaining, DecimalDigits& digits) {
    bool sawDigit = false;
    for (; remaining > 0 && IsDecimalDigit(*cursor); ++cursor, --remaining) {
      digits.Add(*cursor, false);
      sawDigit = true;
    }
    if (remaining > 0 && *cursor == '.') {
      for (++cursor, --remaining; remaining > 0 && IsDecimalDigit(*cursor); ++cursor, --remaining) {
        digits.Add(*cursor, true);
        sawDigit = true;
      }
    }
    if (!sawDigit) {
      return false;
    }
    if (remaining > 1 && (*cursor == 'e' || *cursor == 'E')) {
      const char16_t* exponentCursor = cursor + 1;
      std::size_t exponentRemaining = remaining - 1;
      const bool negativeExponent = ReadSign(exponentCursor, exponentRemaining);
      if (exponentRemaining > 0 && IsDecimalDigit(*exponentCursor)) {
        std::int64_t exponent = 0;
        for (; exponentRemaining > 0 && IsDecimalDigit(*exponentCursor); ++exponentCursor, --exponentRemaining) {
          exponent = exponent < kExponentLimit ? exponent * 10 + (*exponentCursor - '0') : exponent;
        }
        digits.Scale(negativeExponent ? -exponent : exponent);
        cursor = exponentCursor;
      }
    }
    return true;
  }

  // A decimal number with optional sign, point and exponent, or "inf", "infinity", "nan" or
  // "nan(...)" in any case. An exponent mark with no digit after it is not part of the field. The
  // target is a float, with `l` a double, with `L` a long double, which gets the value of a double,
  // as Windows' long double is one.
  Outcome Floating(std::size_t width, Length length, bool suppress) {
    if (length != Length::None && length != Length::Long32 && length != Length::LongDouble) {
      return Outcome::Mismatch;
    }
    SkipSpace();
    if (*m_position == 0) {
      return Outcome::EndOfText;
    }
    const char16_t* cursor = m_position;
    std::size_t remaining = width;
    const bool negative = ReadSign(cursor, remaining);
    double special = 0;
    const bool isSpecial = ReadSpecial(cursor, remaining, special);
    DecimalDigits digits;
    if (!isSpecial && !ReadDecimal(cursor, remaining, digits)) {
      return Outcome::Mismatch;
    }
    m_position = cursor;
    if (!suppress) {
      switch (length) {
        case Length::None: {
          const float value = isSpecial ? static_cast<float>(special) : digits.Convert<float>();
          *va_arg(m_arguments.list, float*) = negative ? -value : value;
          break;
        }
        case Length::Long32: {
          const double value = isSpecial ? special : digits.Convert<double>();
          *va_arg(m_arguments.list, double*) = negative ? -value : value;
          break;
        }
        default: {
          const double value = isSpecial ? special : digits.Convert<double>();
          *va_arg(m_arguments.list, long double*) = negative ? -value : value;
          break;
        }
      }
    }
    Assigned(suppress);
    return Outcome::Continue;
  }

  // Text targets are char16_t buffers; `l` and `w` say so again, `h` (narrow) is not supported.
  static bool IsTextLength(Length length) {
    return length == Length::None || length == Length::Long32 || length == Length::Wide;
  }

  // %c: exactly `width` characters, white space included, without a terminator. A field that the end
  // of the text cuts short is stored as far as it goes.
  Outcome Characters(std::size_t width, Length length, bool suppress) {
    if (!IsTextLength(length)) {
      return Outcome::Mismatch;
    }
    if (*m_position == 0) {
      return Outcome::EndOfText;
    }
    char16_t* target = suppress ? nullptr : va_arg(m_arguments.list, char16_t*);
    for (std::size_t i = 0; i < width && *m_position != 0; ++i) {
      const char16_t character = *m_position++;
      if (target != nullptr) {
        *target++ = character;
      }
    }
    Assigned(suppress);
    return Outcome::Continue;
  }

  // %s: a run of characters other than white space, stored with a terminator.
  Outcome Word(std::size_t width, Length length, bool suppress) {
    if (!IsTextLength(length)) {
      return Outcome::Mismatch;
    }
    SkipSpace();
    if (*m_position == 0) {
      return Outcome::EndOfText;
    }
    char16_t* target = suppress ? nullptr : va_arg(m_arguments.list, char16_t*);
    for (std::size_t i = 0; i < width && *m_position != 0 && !IsSpace(*m_position); ++i) {
      const char16_t character = *m_position++;
      if (target != nullptr) {
        *target++ = character;
      }
    }
    if (target != nullptr) {
      *target = 0;
    }
    Assigned(suppress);
    return Outcome::Continue;
  }

  // Whether `character` is in the scan set between `first` and `last` (exclusive). A ']' right at the
  // start is a member, and a '-' between two characters gives the range between them.
  static bool InSet(const char16_t* first, const char16_t* last, char16_t character) {
    for (const char16_t* member = first; member < last; ++member) {
      if (member + 2 < last && member[1] == '-') {
        const char16_t low = member[0] < member[2] ? member[0] : member[2];
        const char16_t high = member[0] < member[2] ? member[2] : member[0];
        if (character >= low && character <= high) {
          return true;
        }
        member += 2;
      } else if (*member == character) {
        return true;
      }
    }
    return false;
  }

  // %[...]: a non-empty run of characters in (or with '^', outside) the set, with a terminator.
  Outcome Set(const char16_t*& format, std::size_t width, Length length, bool suppress) {
    bool negated = false;
    if (*format == '^') {
      negated = true;
      ++format;
    }
    const char16_t* first = format;
    if (*format == ']') {
      ++format;
    }
    while (*format != 0 && *format != ']') {
      ++format;
    }
    if (*format == 0 || !IsTextLength(length)) {
      return Outcome::Mismatch;
    }
    const char16_t* last = format++;
    if (*m_position == 0) {
      return Outcome::EndOfText;
    }
    const char16_t* cursor = m_position;
    for (std::size_t i = 0; i < width && *cursor != 0 && InSet(first, last, *cursor) != negated; ++i) {
      ++cursor;
    }
    if (cursor == m_position) {
      return Outcome::Mismatch;
    }
    if (!suppress) {
      char16_t* target = va_arg(m_arguments.list, char16_t*);
      for (const char16_t* character = m_position; character < cursor; ++character) {
        *target++ = *character;
      }
      *target = 0;
    }
    m_position = cursor;
    Assigned(suppress);
    return Outcome::Continue;
  }

  // %n: the count of characters read so far; it assigns no field.
  Outcome Count(Length length, bool suppress) {
    if (!suppress && !StoreInteger(length, static_cast<std::uint64_t>(m_position - m_start))) {
      return Outcome::Mismatch;
    }
    return Outcome::Continue;
  }

  const char16_t* m_start;
  const char16_t* m_position;
  Arguments m_arguments;
  int m_assigned = 0;
  // Whether a conversion, stored or suppressed, has completed.
  bool m_converted = false;
};

}  // namespace

int ScanBoundedV(const char16_t* text, const char16_t* format, va_list arguments) {
  if (text == nullptr || format == nullptr) {
    return -1;
  }
  Scanner scanner(text, arguments);
  return scanner.Run(format);
}

int ScanBounded(const char16_t* text, const char16_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = ScanBoundedV(text, format, arguments);
  va_end(arguments);
  return result;
}
