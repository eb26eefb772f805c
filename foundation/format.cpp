// Bounded printf-style formatting with the Windows conventions (see format.h).
//
// One engine, a template over the character type of the format (which is also that of the output),
// walks the format and writes into a bounded output. Strings of the other width are re-encoded on the
// way, UTF-8 to UTF-16 or back. Integers are converted by hand; floating-point digits come from
// std::to_chars, which gives the digits printf gives in the "C" locale without looking at the
// current locale and without touching the heap. Once the output is full, formatting stops: the
// result is -1 whatever follows, and huge widths or precisions cost no more than the capacity.
#include "foundation/format.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "foundation/float_text.h"
#include "foundation/format_conversion.h"
#include "platform/utf.h"

namespace {

using FormatConversion::Arguments;
using FormatConversion::Length;
using FormatConversion::ReadLength;
using FormatFloat::FixedText;
using FormatFloat::FloatText;
using FormatFloat::GeneralText;
using FormatFloat::ScientificText;

constexpr char32_t kReplacementCharacter = 0xFFFD;

// The part of a destination buffer that formatting may fill. It keeps one element for the terminator,
// counts what was written, and remembers when a code unit did not fit; from then on nothing more is
// written.
template <typename Char>
class BoundedOutput {
public:
  BoundedOutput(Char* destination, std::size_t capacity) : m_destination(destination), m_limit(capacity - 1) {}

  // Appends one code unit; false once the text no longer fits.
  bool Put(Char unit) {
    if (m_count >= m_limit) {
      m_cutOff = true;
      return false;
    }
    m_destination[m_count++] = unit;
    return true;
  }

  bool PutRepeated(Char unit, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
      if (!Put(unit)) {
        return false;
      }
    }
    return true;
  }

  // Appends ASCII text, which is the same in either encoding.
  bool PutAscii(const char* text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
      if (!Put(static_cast<Char>(text[i]))) {
        return false;
      }
    }
    return true;
  }

  bool IsCutOff() const { return m_cutOff; }
  std::size_t Count() const { return m_count; }
  void Terminate() { m_destination[m_count] = 0; }

private:
  Char* m_destination;
  std::size_t m_limit;
  std::size_t m_count = 0;
  bool m_cutOff = false;
};

// Reads one code point of NUL-terminated UTF-8 and moves past it. A byte that does not start a
// well-formed sequence (overlong forms and surrogates included) gives U+FFFD and is passed alone;
// this is stricter than Platform::Utf8ToUtf16, which lets overlong forms through.
char32_t DecodeNext(const char*& text) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  const unsigned lead = bytes[0];
  int length = 0;
  char32_t codePoint = 0;
  char32_t minimum = 0;
  if (lead < 0x80) {
    ++text;
    return lead;
  } else if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2, codePoint = lead & 0x1F, minimum = 0x80;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3, codePoint = lead & 0x0F, minimum = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4, codePoint = lead & 0x07, minimum = 0x10000;
  } else {
    ++text;
    return kReplacementCharacter;
  }
  // A terminator is no continuation byte, so this never reads past the end of the string.
  for (int i = 1; i < length; ++i) {
    if ((bytes[i] & 0xC0) != 0x80) {
      ++text;
      return kReplacementCharacter;
    }
    codePoint = (codePoint << 6) | (bytes[i] & 0x3F);
  }
  if (codePoint < minimum || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
    ++text;
    return kReplacementCharacter;
  }
  text += length;
  return codePoint;
}

// Reads one code point of NUL-terminated UTF-16 and moves past it; a lone surrogate gives U+FFFD.
char32_t DecodeNext(const char16_t*& text) {
  std::size_t read = 0;
  const char32_t codePoint = Platform::DecodeUtf16(text, read);
  text += read;
  return codePoint;
}

int Encode(char32_t codePoint, char16_t* units) {
  if (codePoint < 0x10000) {
    units[0] = static_cast<char16_t>(codePoint);
    return 1;
  }
  codePoint -= 0x10000;
  units[0] = static_cast<char16_t>(0xD800 + (codePoint >> 10));
  units[1] = static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
  return 2;
}

int Encode(char32_t codePoint, char* units) { return Platform::EncodeUtf8(codePoint, units); }

// Gives the output code units of the next character of a NUL-terminated string, or 0 at its end.
// A string of the output's own width is copied unit by unit, as it stands; one of the other width is
// re-encoded a whole character at a time.
template <typename Char, typename Source>
int NextChunk(const Source*& source, Char (&chunk)[4]) {
  if (*source == 0) {
    return 0;
  }
  if constexpr (std::is_same_v<Char, Source>) {
    chunk[0] = *source++;
    return 1;
  } else {
    return Encode(DecodeNext(source), chunk);
  }
}

// One conversion directive as the format gives it; a precision of -1 means none was given.
struct Directive {
  bool leftAlign = false;
  bool forceSign = false;
  bool spaceSign = false;
  bool alternate = false;
  bool zeroPad = false;
  std::int64_t width = 0;
  std::int64_t precision = -1;
  Length length = Length::None;
};

// The formatting of one call: walks the format, reads the arguments and writes the output. Lives on
// the caller's stack for the one call.
template <typename Char>
class Formatter {
public:
  using OtherChar = std::conditional_t<std::is_same_v<Char, char16_t>, char, char16_t>;

  Formatter(Char* destination, std::size_t capacity, va_list arguments) : m_output(destination, capacity) {
    va_copy(m_arguments.list, arguments);
  }
  ~Formatter() { va_end(m_arguments.list); }
  Formatter(const Formatter&) = delete;
  Formatter& operator=(const Formatter&) = delete;

  // Formats all of `format`; returns the count of characters written, or -1 when cut off or malformed.
  int Run(const Char* format) {
    bool wellFormed = true;
    while (*format != 0 && !m_output.IsCutOff()) {
      if (*format != '%') {
        m_output.Put(*format++);
        continue;
      }
      ++format;
      if (!Conversion(format)) {
        wellFormed = false;
        break;
      }
    }
    m_output.Terminate();
    if (!wellFormed || m_output.IsCutOff() || m_output.Count() > static_cast<std::size_t>(INT_MAX)) {
      return -1;
    }
    return static_cast<int>(m_output.Count());
  }

private:
  static unsigned Unit(Char character) { return static_cast<std::make_unsigned_t<Char>>(character); }
  static bool IsDigit(Char character) { return character >= '0' && character <= '9'; }

  // A field width or precision written in digits, saturated well below overflow.
  static std::int64_t ReadNumber(const Char*& format) {
    std::int64_t value = 0;
    while (IsDigit(*format)) {
      value = std::min<std::int64_t>(value * 10 + (*format++ - '0'), INT_MAX);
    }
    return value;
  }

  // Reads one conversion directive after its '%' and writes it; false when it is malformed.
  bool Conversion(const Char*& format) {
    Directive directive = ReadDirective(format);
    const unsigned conversion = Unit(*format);
    if (conversion == 0) {
      return false;
    }
    ++format;
    return Convert(directive, conversion);
  }

  // Reads the flags, width, precision and length of a directive, taking `*` widths and precisions
  // from the arguments, and leaves `format` at the conversion character.
  Directive ReadDirective(const Char*& format) {
    Directive directive;
    for (;; ++format) {
      const unsigned flag = Unit(*format);
      if (flag == '-') {
        directive.leftAlign = true;
      } else if (flag == '+') {
        directive.forceSign = true;
      } else if (flag == ' ') {
        directive.spaceSign = true;
      } else if (flag == '#') {
        directive.alternate = true;
      } else if (flag == '0') {
        directive.zeroPad = true;
      } else {
        break;
      }
    }
    if (*format == '*') {
      ++format;
      const int width = va_arg(m_arguments.list, int);
      if (width < 0) {
        directive.leftAlign = true;
        directive.width = -static_cast<std::int64_t>(width);
      } else {
        directive.width = width;
      }
    } else {
      directive.width = ReadNumber(format);
    }
    if (*format == '.') {
      ++format;
      if (*format == '*') {
        ++format;
        const int precision = va_arg(m_arguments.list, int);
        directive.precision = precision < 0 ? -1 : precision;
      } else {
        directive.precision = ReadNumber(format);
      }
    }
    directive.length = ReadLength(format);
    return directive;
  }

  // Writes the conversion `conversion` of `directive`; false when the conversion is unknown.
  bool Convert(const Directive& directive, unsigned conversion) {
    switch (conversion) {
      case 'd':
      case 'i':
        return Integer(directive, 10, false, true);
      case 'u':
        return Integer(directive, 10, false, false);
      case 'x':
        return Integer(directive, 16, false, false);
      case 'X':
        return Integer(directive, 16, true, false);
      case 'o':
        return Integer(directive, 8, false, false);
      case 'p':
        return Pointer(directive);
      case 'c':
        return Character(directive, false);
      case 'C':
        return Character(directive, true);
      case 's':
        return String(directive, false);
      case 'S':
        return String(directive, true);
      case 'f':
      case 'F':
      case 'e':
      case 'E':
      case 'g':
      case 'G':
        return Floating(directive, static_cast<char>(conversion));
      case '%':
        m_output.Put('%');
        return true;
      default:
        return false;
    }
  }

  // Writes `count` padding characters unless the field is left-aligned, in which case the caller
  // pads after the text.
  void PadBefore(const Directive& directive, std::uint64_t count, Char padding) {
    if (!directive.leftAlign) {
      m_output.PutRepeated(padding, count);
    }
  }

  void PadAfter(const Directive& directive, std::uint64_t count) {
    if (directive.leftAlign) {
      m_output.PutRepeated(' ', count);
    }
  }

  static std::uint64_t PaddingFor(const Directive& directive, std::uint64_t length) {
    const auto width = static_cast<std::uint64_t>(directive.width);
    return width > length ? width - length : 0;
  }

  bool Integer(const Directive& directive, unsigned base, bool upper, bool isSigned) {
    std::uint64_t magnitude = 0;
    bool negative = false;
    if (isSigned) {
      std::int64_t value = 0;
      switch (directive.length) {
        case Length::None:
        case Length::Long32:
          value = va_arg(m_arguments.list, int);
          break;
        case Length::Char:
          value = static_cast<signed char>(va_arg(m_arguments.list, int));
          break;
        case Length::Short:
          value = static_cast<short>(va_arg(m_arguments.list, int));
          break;
        case Length::Long64:
          value = va_arg(m_arguments.list, long long);
          break;
        case Length::Size:
          value = static_cast<std::int64_t>(va_arg(m_arguments.list, std::size_t));
          break;
        default:
          return false;
      }
      negative = value < 0;
      magnitude = negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    } else {
      switch (directive.length) {
        case Length::None:
        case Length::Long32:
          magnitude = va_arg(m_arguments.list, unsigned);
          break;
        case Length::Char:
          magnitude = static_cast<unsigned char>(va_arg(m_arguments.list, unsigned));
          break;
        case Length::Short:
          magnitude = static_cast<unsigned short>(va_arg(m_arguments.list, unsigned));
          break;
        case Length::Long64:
          magnitude = va_arg(m_arguments.list, unsigned long long);
          break;
        case Length::Size:
          magnitude = va_arg(m_arguments.list, std::size_t);
          break;
        default:
          return false;
      }
    }
    char prefix[2];
    std::size_t prefixLength = 0;
    if (negative) {
      prefix[prefixLength++] = '-';
    } else if (isSigned && directive.forceSign) {
      prefix[prefixLength++] = '+';
    } else if (isSigned && directive.spaceSign) {
      prefix[prefixLength++] = ' ';
    }
    if (directive.alternate && base == 16 && magnitude != 0) {
      prefix[prefixLength++] = '0';
      prefix[prefixLength++] = upper ? 'X' : 'x';
    }
    WriteDigits(directive, magnitude, base, upper, prefix, prefixLength, directive.precision);
    return true;
  }

  // Writes a sign or prefix, then at least `precision` digits of `magnitude` (none for a zero with
  // precision 0), padded to the field width.
  void WriteDigits(const Directive& directive, std::uint64_t magnitude, unsigned base, bool upper, const char* prefix,
                   std::size_t prefixLength, std::int64_t precision) {
    const char* digitSet = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    char reversed[64];
    std::size_t digitCount = 0;
    for (std::uint64_t rest = magnitude; rest != 0; rest /= base) {
      reversed[digitCount++] = digitSet[rest % base];
    }
    if (magnitude == 0 && precision != 0) {
      reversed[digitCount++] = '0';
    }
    std::uint64_t leadingZeros =
        precision > static_cast<std::int64_t>(digitCount) ? static_cast<std::uint64_t>(precision) - digitCount : 0;
    if (directive.alternate && base == 8 && leadingZeros == 0 && (digitCount == 0 || reversed[digitCount - 1] != '0')) {
      leadingZeros = 1;
    }
    const std::uint64_t padding = PaddingFor(directive, prefixLength + leadingZeros + digitCount);
    const bool zeroFill = directive.zeroPad && !directive.leftAlign && precision < 0;
    if (!zeroFill) {
      PadBefore(directive, padding, ' ');
    }
    m_output.PutAscii(prefix, prefixLength);
    if (zeroFill) {
      m_output.PutRepeated('0', padding);
    }
    m_output.PutRepeated('0', leadingZeros);
    while (digitCount > 0) {
      m_output.Put(static_cast<Char>(reversed[--digitCount]));
    }
    PadAfter(directive, padding);
  }

  // %p: every hexadecimal digit of the address in capitals, with no prefix, as Windows prints it.
  bool Pointer(const Directive& directive) {
    if (directive.length != Length::None) {
      return false;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(va_arg(m_arguments.list, void*));
    Directive plain = directive;
    plain.alternate = false;
    WriteDigits(plain, address, 16, true, nullptr, 0, static_cast<std::int64_t>(2 * sizeof(void*)));
    return true;
  }

  // Whether a %c or %s conversion (or %C, %S when `swapped`) takes the other width than the format's.
  static bool IsForeign(Length length, bool swapped, bool& valid) {
    valid = true;
    switch (length) {
      case Length::None:
        return swapped;
      case Length::Short:
        return std::is_same_v<Char, char16_t>;
      case Length::Long32:
      case Length::Wide:
        return std::is_same_v<Char, char>;
      default:
        valid = false;
        return false;
    }
  }

  // Windows pads strings and characters with zeros, too, when the flag asks for it.
  void WriteField(const Directive& directive, const Char* units, std::size_t count) {
    const std::uint64_t padding = PaddingFor(directive, count);
    PadBefore(directive, padding, directive.zeroPad ? '0' : ' ');
    for (std::size_t i = 0; i < count; ++i) {
      m_output.Put(units[i]);
    }
    PadAfter(directive, padding);
  }

  bool Character(const Directive& directive, bool swapped) {
    bool valid = false;
    const bool foreign = IsForeign(directive.length, swapped, valid);
    if (!valid) {
      return false;
    }
    const int argument = va_arg(m_arguments.list, int);
    Char units[4];
    std::size_t count = 1;
    if (!foreign) {
      units[0] = static_cast<Char>(argument);
    } else if constexpr (std::is_same_v<Char, char16_t>) {
      // A lone byte is a character of its own only when it is ASCII.
      const auto byte = static_cast<unsigned char>(argument);
      units[0] = byte < 0x80 ? byte : static_cast<char16_t>(kReplacementCharacter);
    } else {
      const auto unit = static_cast<char16_t>(argument);
      const bool surrogate = unit >= 0xD800 && unit <= 0xDFFF;
      count = static_cast<std::size_t>(Encode(surrogate ? kReplacementCharacter : unit, units));
    }
    WriteField(directive, units, count);
    return true;
  }

  bool String(const Directive& directive, bool swapped) {
    bool valid = false;
    const bool foreign = IsForeign(directive.length, swapped, valid);
    if (!valid) {
      return false;
    }
    const void* argument = va_arg(m_arguments.list, const void*);
    if (argument == nullptr) {
      WriteString(directive, "(null)");
    } else if (foreign) {
      WriteString(directive, static_cast<const OtherChar*>(argument));
    } else {
      WriteString(directive, static_cast<const Char*>(argument));
    }
    return true;
  }

  // The precision limits the code units written; a re-encoded character is written whole or not at
  // all. A string of the output's width is not read beyond the precision.
  template <typename Source>
  void WriteString(const Directive& directive, const Source* text) {
    const auto limit = directive.precision < 0 ? UINT64_MAX : static_cast<std::uint64_t>(directive.precision);
    Char chunk[4];
    std::uint64_t length = 0;
    const Source* cursor = text;
    for (int count = 0; length < limit && (count = NextChunk(cursor, chunk)) != 0 && length + count <= limit;) {
      length += static_cast<std::uint64_t>(count);
    }
    const std::uint64_t padding = PaddingFor(directive, length);
    PadBefore(directive, padding, directive.zeroPad ? '0' : ' ');
    cursor = text;
    for (std::uint64_t written = 0; written < length && !m_output.IsCutOff();) {
      const int count = NextChunk(cursor, chunk);
      for (int i = 0; i < count; ++i) {
        m_output.Put(chunk[i]);
      }
      written += static_cast<std::uint64_t>(count);
    }
    PadAfter(directive, padding);
  }

  bool Floating(const Directive& directive, char conversion) {
    double value = 0;
    switch (directive.length) {
      case Length::None:
      case Length::Long32:
        value = va_arg(m_arguments.list, double);
        break;
      case Length::LongDouble:
        // Windows' long double is a double; the digits printed are those of a double.
        value = static_cast<double>(va_arg(m_arguments.list, long double));
        break;
      default:
        return false;
    }
    const bool upper = conversion == 'F' || conversion == 'E' || conversion == 'G';
    char sign = 0;
    if (std::signbit(value)) {
      sign = '-';
    } else if (directive.forceSign) {
      sign = '+';
    } else if (directive.spaceSign) {
      sign = ' ';
    }
    FloatText body;
    const bool finite = std::isfinite(value);
    if (!finite) {
      const char* word = std::isnan(value) ? (upper ? "NAN" : "nan") : (upper ? "INF" : "inf");
      std::copy(word, word + 3, body.text);
      body.length = body.zerosAt = 3;
    } else {
      const double magnitude = std::fabs(value);
      const std::int64_t precision = directive.precision < 0 ? 6 : directive.precision;
      if (conversion == 'f' || conversion == 'F') {
        FixedText(magnitude, precision, directive.alternate, body);
      } else if (conversion == 'e' || conversion == 'E') {
        ScientificText(magnitude, precision, directive.alternate, body);
      } else {
        GeneralText(magnitude, precision, directive.alternate, body);
      }
      if (upper) {
        std::replace(body.text, body.text + body.length, 'e', 'E');
      }
    }
    const std::uint64_t padding = PaddingFor(directive, (sign != 0 ? 1 : 0) + body.length + body.extraZeros);
    const bool zeroFill = directive.zeroPad && !directive.leftAlign && finite;
    if (!zeroFill) {
      PadBefore(directive, padding, ' ');
    }
    if (sign != 0) {
      m_output.Put(sign);
    }
    if (zeroFill) {
      m_output.PutRepeated('0', padding);
    }
    m_output.PutAscii(body.text, body.zerosAt);
    m_output.PutRepeated('0', body.extraZeros);
    m_output.PutAscii(body.text + body.zerosAt, body.length - body.zerosAt);
    PadAfter(directive, padding);
    return true;
  }

  BoundedOutput<Char> m_output;
  Arguments m_arguments;
};

template <typename Char>
int FormatInto(Char* destination, std::size_t capacity, const Char* format, va_list arguments) {
  if (destination == nullptr || capacity == 0) {
    return -1;
  }
  if (format == nullptr) {
    destination[0] = 0;
    return -1;
  }
  Formatter<Char> formatter(destination, capacity, arguments);
  return formatter.Run(format);
}

}  // namespace

int FormatBoundedV(char16_t* destination, std::size_t capacity, const char16_t* format, va_list arguments) {
  return FormatInto(destination, capacity, format, arguments);
}

int FormatBounded(char16_t* destination, std::size_t capacity, const char16_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = FormatBoundedV(destination, capacity, format, arguments);
  va_end(arguments);
  return result;
}

int FormatBoundedVA(char* destination, std::size_t capacity, const char* format, va_list arguments) {
  return FormatInto(destination, capacity, format, arguments);
}

int FormatBoundedA(char* destination, std::size_t capacity, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = FormatBoundedVA(destination, capacity, format, arguments);
  va_end(arguments);
  return result;
}
