// Bounded scanf-style parsing of UTF-16 text, with the Windows conventions of the wide scanf
// family.
//
// Supported: `%d %i %u %x %X %o %c %s %[...] %n %%`, field widths, `*` suppression, and the length
// modifiers `hh h l ll` with `l` as 32 bits (LLP64). White space in the format matches any amount of
// white space; other characters must match exactly. Hexadecimal digits of either case are accepted.
// A `%s` or `%c` target is a `char16_t` buffer. Any thread may call.
#pragma once

#include <cstdarg>

// Scans `text` by `format`. Returns the number of fields assigned, or -1 when the text ended (or
// `text` or `format` was null) before the first conversion.
int ScanBounded(const char16_t* text, const char16_t* format, ...);
int ScanBoundedV(const char16_t* text, const char16_t* format, va_list arguments);
