// The commands of halcyra-data on an open routing data system. Each returns ErrorNone, or the code
// of the failure, which has been shown on standard error.
#pragma once

#include <string>

#include "data_system/store.h"

namespace HalcyraData {

// Every store and value below the root, one line each: path, type, value.
[[nodiscard]] ErrorCode List(DataSystem::IDataSystem* dataSystem);
[[nodiscard]] ErrorCode Get(DataSystem::IDataSystem* dataSystem, const std::u16string& path);
[[nodiscard]] ErrorCode Set(DataSystem::IDataSystem* dataSystem, const std::u16string& path,
                            const std::u16string& value);
// A value back to its default; a store's children back to theirs.
[[nodiscard]] ErrorCode Reset(DataSystem::IDataSystem* dataSystem, const std::u16string& path);
// A new instance of the vector named by the last part of `path` ("Profiles.Profile"); prints its path.
[[nodiscard]] ErrorCode Insert(DataSystem::IDataSystem* dataSystem, const std::u16string& path);
[[nodiscard]] ErrorCode Erase(DataSystem::IDataSystem* dataSystem, const std::u16string& path);
// The model's GUID and name, the type, default and bounds, and the place in storage.
[[nodiscard]] ErrorCode Describe(DataSystem::IDataSystem* dataSystem, const std::u16string& path);
// Prints one line for each notification of the store at `path` (the whole tree's first store,
// Profiles, when empty) until `seconds` passed (negative: until SIGINT or SIGTERM).
[[nodiscard]] ErrorCode Monitor(DataSystem::IDataSystem* dataSystem, const std::u16string& path, double seconds);

}  // namespace HalcyraData
