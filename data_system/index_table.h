// The next physical index of each vector model in this process.
#pragma once

#include <cstdint>
#include <map>

#include "foundation/guid.h"

namespace DataSystem {

// From a model's GUID to the next physical index for it: what keeps an erased index from being
// reused within one run. One map for the process, built on first use and destroyed at exit.
//
// DELIBERATE: the map has no lock of its own. Each store guards its own use of it with its
// indexLock, and a tree's stores share the tree's lock, so a model's entry is meant to be used from
// one tree; stores of two trees on two storage systems do not exclude each other here.
std::map<Common::GUID, std::uint64_t, Common::GuidLess>& GetIndexTable();

}  // namespace DataSystem
