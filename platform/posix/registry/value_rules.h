// The rules of values: the checks of a value to set, and the rules by which RegGetValueW shapes
// what it returns: expansion of REG_EXPAND_SZ, the terminators it guarantees for strings, and its
// type restrictions.
#pragma once

#include <string_view>
#include <vector>

#include "platform/types.h"

namespace Platform::Posix {

// The checks RegSetValueExW and RegSetKeyValueW make of the value `name` of `type` with `size`
// bytes of `data`, and the number of bytes to store. ERROR_INVALID_PARAMETER for a name longer
// than MAX_VALUE_NAME_LENGTH; ERROR_NOACCESS for a size without data and for data in the null page,
// which no process maps (Windows answers there instead of faulting). A string whose size left out
// its terminator (the last character given is not 0, the one after it is) is stored with that
// terminator, as Windows does: the character after the given bytes is read when it lies in the
// same page as the last of them.
LSTATUS CheckValueToSet(std::u16string_view name, DWORD type, const BYTE* data, DWORD size, DWORD& storedSize);

// Replaces each %NAME% of the UTF-16 text in `data` by the variable's value (unknown names stay as
// they are) and ends the result with one terminator.
void ExpandEnvironmentText(std::vector<BYTE>& data);

// Adds what a string value lacks of its terminators: one for REG_SZ and REG_EXPAND_SZ, two for
// REG_MULTI_SZ. Empty data stays empty; other types are left alone.
void TerminateStrings(DWORD type, std::vector<BYTE>& data);

// ERROR_SUCCESS when `flags` let a value of `type` and `size` bytes through; ERROR_UNSUPPORTED_TYPE
// for a type outside the restriction; ERROR_DATATYPE_MISMATCH for REG_BINARY of another size than
// 4 under exactly RRF_RT_DWORD (8 under RRF_RT_QWORD).
LSTATUS CheckTypeRestriction(DWORD flags, DWORD type, std::size_t size);

}  // namespace Platform::Posix
