// Bounded scanf-style parsing of UTF-16 text, with the Windows conventions of the wide scanf
// family.
//
// Supported: `%d %i %u %x %X %o %c %s %[...] %n %%` and the floating-point `%e %E %f %F %g %G %a %A`,
// field widths, `*` suppression, and the length modifiers `hh h l ll` with `l` as 32 bits (LLP64),
// also `I64`, `I32`, `I`, `z`, `j`, `t`. White space in the format matches any amount of white space,
// none included; other characters must match exactly. Hexadecimal digits of either case are
// accepted, and so is a `0x` prefix, which counts in the field width. Integers that do not fit their
// target keep their low bits. A floating-point field is a decimal number or "inf", "infinity", "nan",
// "nan(...)" in any case (no hexadecimal form), read as the C library's conversion functions read it
// in the "C" locale, correctly rounded, into a float, with `l` a double, with `L` a long double that
// gets the value of a double (Windows' long double is one). A `%s`, `%c` or `%[` target is a
// `char16_t` buffer (`l` and `w` may say so again; narrow targets are not supported). An unknown
// conversion ends the scan as a mismatch does. No heap is touched; any thread may call.
#pragma once

#include <cstdarg>

// Scans `text` by `format`. Returns the number of fields assigned (%n and suppressed fields don't
// count), or -1 when `text` or `format` is null or the text ended before the first conversion,
// stored or suppressed, was complete.
int ScanBounded(const char16_t* text, const char16_t* format, ...);
int ScanBoundedV(const char16_t* text, const char16_t* format, va_list arguments);
