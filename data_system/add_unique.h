// Adding an element to a container of the tree only when it is not there yet.
#pragma once

#include <algorithm>
#include <exception>
#include <list>
#include <map>
#include <utility>
#include <vector>

#include "foundation/error.h"

namespace DataSystem {

namespace Detail {
inline constexpr const char* kAddUniqueName = "DataSystem::AddUnique";

// Runs `insert` unless `present`; ErrorAlreadyExists (reported, nothing changed) when present, and
// ErrorStlException when the container cannot grow.
template <class Insert>
[[nodiscard]] ErrorCode AddUniqueCore(bool present, Insert insert) {
  if (present) return RaiseError(kAddUniqueName, ErrorAlreadyExists, nullptr);
  try {
    insert();
  } catch (const std::exception& e) {
    return RaiseStlException(kAddUniqueName, e.what());
  }
  return ErrorNone;
}
}  // namespace Detail

// Appends `element` to a list of pointers.
template <class T>
[[nodiscard]] ErrorCode AddUnique(std::list<T*>& list, T* element) {
  bool present = std::find(list.begin(), list.end(), element) != list.end();
  return Detail::AddUniqueCore(present, [&] { list.push_back(element); });
}

// Inserts `key` with `value` into a map of pointers; only the key is compared.
template <class K, class V>
[[nodiscard]] ErrorCode AddUnique(std::map<K*, V*>& map, K* key, V* value) {
  return Detail::AddUniqueCore(map.count(key) != 0, [&] { map.emplace(key, value); });
}

// Appends `element` to a vector of pairs; only the first members are compared.
template <class A, class B>
[[nodiscard]] ErrorCode AddUnique(std::vector<std::pair<A*, B*>>& vector, const std::pair<A*, B*>& element) {
  bool present =
      std::any_of(vector.begin(), vector.end(), [&](const auto& entry) { return entry.first == element.first; });
  return Detail::AddUniqueCore(present, [&] { vector.push_back(element); });
}

// Removes the first pair whose first member is `first`, closing the gap; nothing when there is none.
template <class A, class B>
void EraseFirst(std::vector<std::pair<A*, B*>>& vector, const A* first) {
  auto found = std::find_if(vector.begin(), vector.end(), [&](const auto& entry) { return entry.first == first; });
  if (found != vector.end()) vector.erase(found);
}

}  // namespace DataSystem
