// Key and value names of the Linux registry: case folding and the parsing of key paths.
//
// Names compare without regard to case, as on Windows: two names are the same name when their
// upper-case forms are equal, code unit by code unit. The upper-case form is also the order in
// which sub-keys are enumerated. Names keep the case they were created with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

namespace Platform::Posix {

// The upper-case form of one UTF-16 code unit (surrogates map to themselves).
char16_t FoldCase(char16_t c);

// Appends the upper-case form of `name` to `out`.
void AppendFolded(std::u16string& out, std::u16string_view name);

// The upper-case form of `name`.
std::u16string Folded(std::u16string_view name);

// Length of a terminated string, or 0 for null.
std::size_t TerminatedLength(const char16_t* text);

// A relative key path split into its components, as a caller gave it.
struct KeyPath {
  std::vector<std::u16string_view> components;  // point into the caller's text
  std::u16string folded;                        // upper-case components joined by '\'
};

// Splits `subKey` (null or empty: no components). Trailing backslashes are ignored, an empty
// component inside the path is skipped. Returns ERROR_BAD_PATHNAME for a path that starts with a
// backslash and ERROR_INVALID_PARAMETER for a component longer than MAX_KEY_NAME_LENGTH.
LSTATUS ParseKeyPath(const char16_t* subKey, KeyPath& path);

// The full folded path of a key below the key at `basePath` ("" for a hive's root).
std::u16string JoinFolded(std::u16string_view basePath, std::u16string_view relative);

}  // namespace Platform::Posix
