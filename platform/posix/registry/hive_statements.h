// The prepared statements of a hive's connection, shared by the files that implement the hive.
// Prepared once when the hive opens (RegistryHive::PrepareStatements), used under the hive's lock.
#pragma once

#include "platform/posix/registry/hive.h"
#include "platform/posix/registry/sqlite.h"

namespace Platform::Posix {

struct RegistryHive::Statements {
  SqliteStatement begin, commit, rollback;
  SqliteStatement keyById, keyByPath, insertKey, touchKey, touchParent, rootId;
  SqliteStatement readValue, upsertValue, deleteValue, valueCount;
  SqliteStatement childPaths, hasChildren, deleteKeyValues, deleteKeyRow;
  SqliteStatement deleteSubtreeValues, deleteSubtreeKeys, deleteAllValues, deleteAllKeysBut;
  SqliteStatement children, valuesOf, info, setSecurity;
};

}  // namespace Platform::Posix
