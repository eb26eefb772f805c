// Bounded printf-style formatting into fixed buffers, with the Windows conventions.
//
// In a wide (UTF-16) format `%s` takes a `const char16_t*` and `%S` a narrow `const char*`; in a
// narrow format the other way round (`%hs` is always narrow, `%ls` and `%ws` always wide; `%c`/`%C`
// likewise, with the character passed as an int). Narrow strings are UTF-8 and are widened (or UTF-16
// narrowed) on the way; a malformed sequence or a lone surrogate becomes U+FFFD. Length modifiers
// follow Windows' LLP64 model: `l` and `I32` are 32 bits (`long` there), `ll`, `I64` and `j` 64, `h`
// 16, `hh` 8, `z`, `I` and `t` the size of a pointer. `%p` prints all 16 upper-case hexadecimal digits
// of a pointer with no prefix. A null string prints "(null)". Supported: flags `-`, `0`, `+`, space,
// `#`; field width and precision (also `*`); conversions `d i u x X o c C s S p f F e E g G %`. As on
// Windows, `0` pads strings and characters with zeros too. Widths and precisions count code units of
// the output; a re-encoded character is never split by a precision. Floating-point digits are those
// of printf in the "C" locale, whatever the current locale; `%Lf` takes a long double and, as on
// Windows, prints it as a double. Anything else, `%n` included, is a malformed format.
//
// No heap is touched, so these are safe on out-of-memory paths; any thread may call.
#pragma once

#include <cstdarg>
#include <cstddef>

// Prints at most `capacity - 1` characters of `format` with its arguments into `destination` and
// always terminates it (nothing is written when `capacity` is 0). Returns the number of characters
// written without the terminator, or -1 when the text was cut off or the format is malformed; the
// destination then holds the text as far as it fitted.
int FormatBounded(char16_t* destination, std::size_t capacity, const char16_t* format, ...);
int FormatBoundedV(char16_t* destination, std::size_t capacity, const char16_t* format, va_list arguments);

// The same with a narrow format and a narrow destination.
int FormatBoundedA(char* destination, std::size_t capacity, const char* format, ...);
int FormatBoundedVA(char* destination, std::size_t capacity, const char* format, va_list arguments);
