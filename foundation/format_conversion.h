// What the bounded formatter and the bounded scanner read alike in a conversion directive: the
// length modifier, with the Windows forms among them. Internal to format.cpp and scan.cpp.
#pragma once

#include <cstdarg>
#include <type_traits>

namespace FormatConversion {

// The length modifier of one conversion; `l` is 32 bits as in Windows' LLP64 model. With `c` and `s`
// the formatter takes `h` for the narrow and `l`/`w` for the wide form whatever the format's own
// width; the scanner's text targets are always wide.
enum class Length { None, Char, Short, Long32, Long64, Size, Wide, LongDouble };

// va_list is an array type on some targets; wrapped in a struct it can be handed on by reference.
struct Arguments {
  va_list list;
};

// Reads the length modifier at `format`, if there is one, and moves past it. Every character that
// is no modifier leaves `format` where it is and gives Length::None. Pure; any thread.
template <typename Char>
Length ReadLength(const Char*& format) {
  switch (static_cast<std::make_unsigned_t<Char>>(*format)) {
    case 'h':
      ++format;
      if (*format == 'h') {
        ++format;
        return Length::Char;
      }
      return Length::Short;
    case 'l':
      ++format;
      if (*format == 'l') {
        ++format;
        return Length::Long64;
      }
      return Length::Long32;
    case 'I':
      ++format;
      if (format[0] == '6' && format[1] == '4') {
        format += 2;
        return Length::Long64;
      }
      if (format[0] == '3' && format[1] == '2') {
        format += 2;
        return Length::Long32;
      }
      return Length::Size;
    case 'j':
      ++format;
      return Length::Long64;
    case 'z':
    case 't':
      ++format;
      return Length::Size;
    case 'w':
      ++format;
      return Length::Wide;
    case 'L':
      ++format;
      return Length::LongDouble;
    default:
      return Length::None;
  }
}

}  // namespace FormatConversion
