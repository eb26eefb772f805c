// The record of one change to a hive: what happened to which key, under the number that orders
// it among all the hive's changes. Records are announced to every process that watches the hive
// (announcements.h) and matched against its armed watches (notifier.h).
#pragma once

#include <cstdint>
#include <string>

namespace Platform::Posix {

enum class ChangeKind : int {
  None = 0,         // a withdrawn record: its transaction did not commit
  ValueSet = 1,     // a value of the key was set or deleted
  KeyCreated = 2,   // the key was created
  KeyDeleted = 3,   // the key and all of its subtree were deleted
  SecuritySet = 4,  // the key's security descriptor was replaced
};

struct ChangeRecord {
  std::int64_t sequence = 0;  // from 1, one more for each change of the hive
  ChangeKind kind = ChangeKind::ValueSet;
  std::u16string path;  // folded path of the key within its hive
};

}  // namespace Platform::Posix
