// The two string helpers of the Windows shell and user libraries that the system uses.
//
// Case is compared and changed by the simple one-to-one mappings of the letters of Latin-1, Latin
// Extended-A, Greek and Cyrillic, which is what Windows does for them; other characters stay as
// they are off Windows.
#pragma once

#include "platform/types.h"

namespace Platform {

// The first place in `text` where `search` stands, ignoring case, or null when it does not stand
// there, when either is null, or when `search` is empty. Any thread.
LPWSTR StrStrIW(LPCWSTR text, LPCWSTR search);

// Turns `text` to upper case in place and returns it. When the pointer's value is below 0x10000 it
// is a single character instead, and the upper-case character comes back in the same form. Any
// thread.
LPWSTR CharUpperW(LPWSTR text);

}  // namespace Platform
