// A probe between the storage code and the platform's registry, standing in the platform's test
// seam (probe_installation.cpp installs it for the whole suite): it passes every call on, except that it can stand in
// for the registry in two corners that a real registry cannot show safely or at all.
#pragma once

#include "platform/registry.h"
#include "platform/test_seam.h"

namespace Testing::RegistryProbe {

// Puts the probe's stand-ins into `hooks`.
void AddHooks(Platform::TestSeam::Hooks& hooks);

// The predefined key number 8 (0x80000008), which every registry refuses already when it is opened:
// the calling thread's RegOpenKeyExW calls on it open `standIn` instead, so that the steps after
// the open can be seen. Null ends it.
void OpenKey8As(Platform::HKEY standIn);
// The handle that the last open of key 8 gave out, or null; and whether RegCloseKey closed it since.
Platform::HKEY Key8Handle();
bool Key8HandleClosed();

// The calling thread's next RegSetKeyValueW of more than `limit` bytes returns ERROR_NOACCESS without
// reading its data, as Windows answers for data it cannot read. A real registry would read that many
// bytes from the caller's buffer, and under Wine that runs off the buffer and faults.
void RefuseNextWriteAbove(Platform::DWORD limit);
// The size of the write that was refused last, or 0.
Platform::DWORD RefusedWriteSize();

}  // namespace Testing::RegistryProbe
