// The rules by which RegGetValueW shapes what it returns: expansion of REG_EXPAND_SZ, the
// terminators it guarantees for strings, and its type restrictions.
#pragma once

#include <vector>

#include "platform/types.h"

namespace Platform::Posix {

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
