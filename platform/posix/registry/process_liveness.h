// Which processes of the machine run: the owners that the registry's shared memory records (a
// committer between its commit and its announcement, the holders of a hive's WAL-index locks)
// are looked up here when they seem to have died.
#pragma once

#include <cstdint>

namespace Platform::Posix {

// This process's id, asked of the kernel once (and again in a child after fork). Any thread.
std::uint32_t CurrentProcessId();

// Whether the process `id` still runs; a process that ended but was not reaped yet does not. Costs
// a few system calls: for the rare path where an owner seems to be gone. Any thread.
bool ProcessRuns(std::uint32_t id);

}  // namespace Platform::Posix
